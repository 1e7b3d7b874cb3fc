' Drives CVImpVelXMLCat.Manager as a host does, with a host written in VBScript; run by manager_smoke.sh.
' Wine's cscript reports script errors only on stderr and exits 0: the last line is the sentinel to look for.
Class Services
  Public Log
  Public Sub ShowProgress(max, pos, text, reserved)
    Log = Log & "P(" & TypeName(max) & ":" & max & "," & pos & "," & text & "," & reserved & ");"
  End Sub
  Public Function ShowMessage(text, style, title)
    Log = Log & "M(" & text & "," & style & "," & title & ");"
    ShowMessage = 1
  End Function
  Public Sub SaveSettings(section, settings)
    Log = Log & "S(" & section & "," & settings & ");"
  End Sub
  Public Function LoadSettings(section)
    Set LoadSettings = Nothing
  End Function
  Public Function FormatProperty(name, value)
    FormatProperty = "<property name=""" & name & """ value=""" & value & """/>"
  End Function
  Public Function TextSource()
    TextSource = "de"
  End Function
End Class

Class HostApi
  Public Svc
  Public Function Services()
    Set Services = Svc
  End Function
  Public Function ProjectPath()
    ProjectPath = "C:\Shop"
  End Function
  Public Function Tools()
    Set Tools = Nothing
  End Function
  Public Function Connection()
    Set Connection = Nothing
  End Function
  Public Function FolderService()
    Set FolderService = Nothing
  End Function
End Class

Dim svc, api, m, pages, r
Set svc = New Services
Set api = New HostApi
Set api.Svc = svc
Set m = CreateObject("CVImpVelXMLCat.Manager")
Set m.Api = api
m.Init "DS", "<cfg/>", ""
pages = m.PagesConfig
WScript.Echo "PAGES " & pages
r = m.SelectedPageChanged("PIC_MAIN")
WScript.Echo "MAIN " & TypeName(r) & " " & CStr(r) & " " & CInt(r)
r = m.SelectedPageChanged("PIC_ADVANCED")
WScript.Echo "ADVANCED " & TypeName(r) & " " & CStr(r)
WScript.Echo "USERCONFIG [" & m.UserConfig & "] " & TypeName(m.UserConfig)
m.CancelImport = True
r = m.SelectedPageChanged("-1")
WScript.Echo "END " & CStr(r)
WScript.Echo "UMLAUT " & CStr(InStr(svc.Log, "Bitte w" & Chr(228) & "hlen Sie eine Datei!") > 0)
svc.Log = ""
m.ExecuteImport
WScript.Echo "RUN " & svc.Log
m.Dispose
WScript.Echo "LOG " & svc.Log
Set m = Nothing
WScript.Echo "SCRIPT-DONE"
