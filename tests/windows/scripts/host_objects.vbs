' The host side of the script tests: a HostApi and its HostServices written in the script, as a host
' application hands them to the plug-in. The services record every call; LoadSettings answers the
' element of an MSXML document holding what was saved (or Nothing). MSXML documents are made with
' WScript.CreateObject: the script engine's own CreateObject cannot make objects that want a site
' (IObjectWithSite) under this script host. Included by the test scripts
' (run-wine-tests concatenates this file in front of each of them).

Class HostServices
  Public ProgressCalls    ' every ShowProgress call: "maximum|position|text|reserved"
  Public StatusLines      ' the texts of the status lines (maximum 0, position 0)
  Public Messages         ' every ShowMessage call: "text|style|title"
  Public SavedSection
  Public SavedText        ' the settings text last saved (Empty when nothing was saved)
  Public SaveCount
  Public Source           ' what TextSource answers

  Private Sub Class_Initialize()
    Set ProgressCalls = New TextList
    Set StatusLines = New TextList
    Set Messages = New TextList
    SaveCount = 0
    Source = "de"
  End Sub

  Public Sub ShowProgress(maximum, position, text, reserved)
    ProgressCalls.Add CStr(maximum) & "|" & CStr(position) & "|" & text & "|" & CStr(reserved)
    If maximum = 0 And position = 0 Then StatusLines.Add text
  End Sub

  Public Function ShowMessage(text, style, title)
    Messages.Add text & "|" & CStr(style) & "|" & title
    ShowMessage = 1
  End Function

  Public Sub SaveSettings(section, text)
    SavedSection = section
    SavedText = text
    SaveCount = SaveCount + 1
  End Sub

  Public Function LoadSettings(section)
    Set LoadSettings = Nothing
    If IsEmpty(SavedText) Or section <> SavedSection Then Exit Function
    Dim doc
    Set doc = WScript.CreateObject("Msxml2.DOMDocument")
    doc.async = False
    If doc.loadXML("<" & section & ">" & SavedText & "</" & section & ">") Then Set LoadSettings = doc.documentElement
  End Function

  Public Function FormatProperty(name, value)
    FormatProperty = "<property name=""" & XmlEscape(name) & """ value=""" & XmlEscape(value) & """/>"
  End Function

  Public Function TextSource()
    TextSource = Source
  End Function
End Class

Class HostApi
  Public ServicesObject
  Public ProjectFolder
  Public ConnectionObject

  Public Property Get Services()
    Set Services = ServicesObject
  End Property

  Public Property Get ProjectPath()
    ProjectPath = ProjectFolder
  End Property

  Public Property Get Tools()
    Set Tools = CreateObject("CalvoraVel.Tools")
  End Property

  Public Property Get Connection()
    Set Connection = ConnectionObject
  End Property

  ' The shop connection of the test host library answers HostFolderPath on its database.
  Public Property Get FolderService()
    Set FolderService = ConnectionObject
  End Property
End Class

' A growing list of texts.
Class TextList
  Private items

  Private Sub Class_Initialize()
    Set items = CreateObject("Scripting.Dictionary")
  End Sub

  Public Property Get Count()
    Count = items.Count
  End Property

  Public Sub Add(text)
    items.Add items.Count, text
  End Sub

  Public Function Item(index)
    Item = items(index)
  End Function

  Public Function Joined(separator)
    Dim i, out
    out = ""
    For i = 0 To Count - 1
      If i > 0 Then out = out & separator
      out = out & items(i)
    Next
    Joined = out
  End Function
End Class

Function XmlEscape(text)
  XmlEscape = Replace(Replace(Replace(Replace(text, "&", "&amp;"), "<", "&lt;"), ">", "&gt;"), """", "&quot;")
End Function

'' The text of an XML character content with character references ("w&#228;hlen"): keeps the script files
' ASCII, whatever code page the script host reads them in.
Function TextOfXml(content)
  Dim doc
  Set doc = WScript.CreateObject("Msxml2.DOMDocument")
  doc.loadXML "<t>" & content & "</t>"
  TextOfXml = doc.documentElement.text
End Function

' ---- checks ----------------------------------------------------------------------------------------

Dim Failures
Failures = 0

Sub Check(condition, what)
  If condition Then
    WScript.Echo "  ok: " & what
  Else
    WScript.Echo "  FAILED: " & what
    Failures = Failures + 1
  End If
End Sub

Sub CheckEqual(actual, expected, what)
  If actual = expected Then
    WScript.Echo "  ok: " & what
  Else
    WScript.Echo "  FAILED: " & what & ": got [" & actual & "], expected [" & expected & "]"
    Failures = Failures + 1
  End If
End Sub

' Writes the lines as UTF-16 text (one per line), for the runner to compare.
Sub WriteLines(path, list)
  Dim fso, file, i
  Set fso = CreateObject("Scripting.FileSystemObject")
  Set file = fso.CreateTextFile(path, True, True)
  For i = 0 To list.Count - 1
    file.WriteLine list.Item(i)
  Next
  file.Close
End Sub
