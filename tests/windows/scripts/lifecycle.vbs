' The plug-in's life as a host drives it, through CVImpVelXMLCat.Manager created by its ProgID:
' Api, Init, PagesConfig, SelectedPageChanged (both messages of the file check, the save on "-1"),
' ExecuteImport with its status texts, Dispose, release.
'
' Arguments: CATALOG DATABASE PROJECT MISSING_FILE STATUS_OUT
'   CATALOG       an existing catalogue file          DATABASE  a shop database file (created when missing)
'   PROJECT       the shop project's folder           MISSING_FILE  a path where no file is
'   STATUS_OUT    where the status lines of the import go (UTF-16), for the runner to compare
' Ends with the line "LIFECYCLE PASSED" when every check held, else "LIFECYCLE FAILED (n)".

Dim catalogPath, databasePath, projectPath, missingPath, statusOut
catalogPath = WScript.Arguments(0)
databasePath = WScript.Arguments(1)
projectPath = WScript.Arguments(2)
missingPath = WScript.Arguments(3)
statusOut = WScript.Arguments(4)

Const kStyleExclamation = 48
Dim kChooseFile, kFileMissing
kChooseFile = TextOfXml("Bitte w&#228;hlen Sie eine Datei!")
kFileMissing = "Datei nicht gefunden!"

Dim connection
Set connection = CreateObject("CVImpTest.ShopConnection")
connection.Open databasePath

' A new session: the host's objects, the saved settings as a former session left them (Empty: none).
Function NewHost(savedText)
  Dim services, host
  Set services = New HostServices
  If Not IsEmpty(savedText) Then
    services.SavedSection = "SETTINGS"
    services.SavedText = savedText
  End If
  Set host = New HostApi
  Set host.ServicesObject = services
  host.ProjectFolder = projectPath
  Set host.ConnectionObject = connection
  Set NewHost = host
End Function

Function NewManager(host)
  Dim m
  Set m = CreateObject("CVImpVelXMLCat.Manager")
  Set m.Api = host
  m.Init "", "", ""
  Set NewManager = m
End Function

Dim texts
Set texts = CreateObject("CalvoraVel.TextCatalog")
texts.Load "de", 0

' ---- session 1: nothing saved; the page descriptor; the empty path ----------------------------------
WScript.Echo "session 1: page descriptor, empty path"
Dim host1, m1, pages, re, matches
Set host1 = NewHost(Empty)
Set m1 = NewManager(host1)
pages = m1.PagesConfig
Set re = New RegExp
re.Pattern = "^<Pages><Page hwnd=""([1-9][0-9]*)"" key=""PIC_MAIN""><TitleText>(.*)</TitleText><SubTitleText>(.*)</SubTitleText></Page>" & _
             "<Page hwnd=""([1-9][0-9]*)"" key=""PIC_ADVANCED""><TitleText>(.*)</TitleText><SubTitleText>(.*)</SubTitleText></Page></Pages>$"
Set matches = re.Execute(pages)
Check matches.Count = 1, "the page descriptor has the shape <Pages><Page hwnd=""N"" key=""PIC_MAIN"">...: " & pages
If matches.Count = 1 Then
  Dim g
  Set g = matches(0).SubMatches
  Check g(0) <> g(3), "the two pages have different window handles (" & g(0) & ", " & g(3) & ")"
  CheckEqual g(1), texts.GetText("impvelxml.page.1.title"), "page 1 title"
  CheckEqual g(2), texts.GetText("impvelxml.page.1.subtitle"), "page 1 subtitle"
  CheckEqual g(4), texts.GetText("impvelxml.page.2.title"), "page 2 title"
  CheckEqual g(5), texts.GetText("impvelxml.page.2.subtitle"), "page 2 subtitle"
End If
CheckEqual m1.PagesConfig, pages, "PagesConfig read again gives the same text"
CheckEqual m1.UserConfig, "", "UserConfig is empty"
CheckEqual m1.SelectedPageChanged("PIC_MAIN"), True, "SelectedPageChanged(PIC_MAIN) answers True"
CheckEqual host1.Services.Messages.Count, 0, "no message for PIC_MAIN"
CheckEqual m1.SelectedPageChanged("PIC_ADVANCED"), False, "SelectedPageChanged(PIC_ADVANCED) with an empty path answers False"
CheckEqual host1.Services.Messages.Joined(" / "), kChooseFile & "|48|", "the one message for the empty path"
CheckEqual m1.SelectedPageChanged("pic_advanced"), True, "the key in lower case is any other key"
CheckEqual host1.Services.Messages.Count, 1, "no further message"
m1.Dispose
Set m1 = Nothing

' ---- session 2: a saved path to a missing file -------------------------------------------------------
WScript.Echo "session 2: saved path of a missing file"
Dim host2, m2
Set host2 = NewHost(host1.Services.FormatProperty("vel-xml-path", missingPath))
Set m2 = NewManager(host2)
Dim ignored
ignored = m2.PagesConfig
CheckEqual m2.SelectedPageChanged("PIC_ADVANCED"), False, "SelectedPageChanged(PIC_ADVANCED) with a missing file answers False"
CheckEqual host2.Services.Messages.Joined(" / "), kFileMissing & "|48|", "the one message for the missing file"
m2.Dispose
Set m2 = Nothing

' ---- session 3: the saved catalogue path; leave the pages; import -------------------------------------
WScript.Echo "session 3: saved catalogue path, import"
Dim host3, m3, services3
Set host3 = NewHost(host1.Services.FormatProperty("vel-xml-path", catalogPath))
Set services3 = host3.Services
Set m3 = NewManager(host3)
ignored = m3.PagesConfig
CheckEqual m3.SelectedPageChanged("PIC_ADVANCED"), True, "SelectedPageChanged(PIC_ADVANCED) with the saved catalogue answers True"
CheckEqual services3.Messages.Count, 0, "no message for an existing file"
services3.SavedText = Empty
CheckEqual m3.SelectedPageChanged("-1"), True, "SelectedPageChanged(-1) answers True"
CheckEqual services3.SavedSection, "SETTINGS", "the settings are saved in the section SETTINGS"
CheckEqual services3.SavedText, services3.FormatProperty("vel-xml-path", catalogPath), "the saved settings hold vel-xml-path"

Dim savesBefore
savesBefore = services3.SaveCount
m3.CancelImport = True
connection.BeginTrans
m3.ExecuteImport
connection.CommitTrans
CheckEqual services3.SaveCount, savesBefore + 1, "the import run saves the settings once"
WriteLines statusOut, services3.StatusLines
CheckEqual services3.StatusLines.Item(0), "Initialisiere Import...", "the first status line"
CheckEqual services3.StatusLines.Item(services3.StatusLines.Count - 1), "Der Import wurde erfolgreich abgeschlossen.", "the last status line"
Dim i, parts, badReserved, items
badReserved = 0
items = 0
For i = 0 To services3.ProgressCalls.Count - 1
  parts = Split(services3.ProgressCalls.Item(i), "|")
  If parts(UBound(parts)) <> "0" Then badReserved = badReserved + 1
  If parts(0) <> "0" Then items = items + 1
Next
CheckEqual badReserved, 0, "every ShowProgress call has reserved 0"
Check items > 0, "per-item progress calls came too (" & items & ")"
CheckEqual services3.Messages.Count, 0, "no message during the import"

' What the import wrote, read through the test host's record set.
Dim rs, count
Set rs = CreateObject("ADODB.Recordset")
rs.Open "SELECT * FROM Currencies WHERE PKID > 0", connection, 1, 3, -1
count = 0
Do While Not rs.EOF
  count = count + 1
  rs.MoveNext
Loop
rs.Close
CheckEqual count, 3, "the example's three currencies are in the shop database"

m3.Dispose
Set m3 = Nothing
connection.Close
texts.Close

If Failures = 0 Then
  WScript.Echo "LIFECYCLE PASSED"
Else
  WScript.Echo "LIFECYCLE FAILED (" & Failures & ")"
End If
