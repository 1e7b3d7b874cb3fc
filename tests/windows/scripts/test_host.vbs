' The test host library on its own, as the plug-in and a script use it: the shop connection, the record set
' over it (open, fields, add, update, move, the default member, the ADO errors), the text catalogue and the
' tools.
'
' Arguments: DATABASE FOLDER
'   DATABASE  where a new shop database is made      FOLDER  a folder that does not exist yet
' Ends with the line "TEST HOST PASSED" when every check held, else "TEST HOST FAILED (n)".

Dim databasePath, folderPath
databasePath = WScript.Arguments(0)
folderPath = WScript.Arguments(1)

' Checks the error that the statement before raised ("0" when none), and clears it. The statement runs
' under On Error Resume Next.
Sub CheckError(expected, what)
  Dim actual
  actual = "0"
  If Err.Number <> 0 Then actual = CStr(Err.Number) & " " & Err.Description
  Err.Clear
  CheckEqual actual, expected, what
End Sub

Dim c, rs
Set c = CreateObject("CVImpTest.ShopConnection")
CheckEqual c.State, 0, "a new connection is closed"
c.Open databasePath
CheckEqual c.State, 1, "Open creates and opens the shop database"

Set rs = CreateObject("ADODB.Recordset")
CheckEqual rs.State, 0, "a new record set is closed"
rs.Open "SELECT * FROM Currencies WHERE ISOCode='EUR'", c, 1, 3, -1
CheckEqual rs.State, 1, "Open on the shop connection"
CheckEqual rs.EOF, True, "no currency yet"
CheckEqual rs.Fields.Count, 5, "the Currencies table has five fields"
CheckEqual rs.Fields(0).Name & " " & rs.Fields.Item(0).Type, "PKID 3", "field 0 is PKID, adInteger"
CheckEqual rs.Fields("isocode").Name & " " & rs.Fields("ISOCode").Type & " " & rs.Fields("ISOCode").DefinedSize, _
           "ISOCode 202 10", "fields are found without regard to case; VARCHAR(10) is adVarWChar of size 10"
CheckEqual rs.Fields(4).Type, 5, "ExchangeRate is adDouble"

rs.AddNew "ISOCode", "EUR"
rs("Name") = "Euro"
rs.Fields("Symbol").Value = "E"
rs.Fields("ExchangeRate") = "1.5"
rs.Update
rs.MoveLast
CheckEqual rs("PKID").Value, 1, "Update inserts and reads the generated PKID back"
CheckEqual rs("Name") & "|" & rs.Fields("Symbol").Value & "|" & rs("ExchangeRate"), "Euro|E|1.5", "the values written"
CheckEqual TypeName(rs.Fields("ExchangeRate").Value), "Double", "a number read back is a number"
rs.AddNew
rs("ISOCode") = "USD"
rs.Update
CheckEqual IsNull(rs("Name").Value), True, "a field not set is Null"
rs.Close
CheckEqual rs.State, 0, "Close"

rs.Open "SELECT * FROM Currencies WHERE PKID > 0", c, 1, 3, -1
Dim n
n = 0
Do While Not rs.EOF
  n = n + 1
  rs.MoveNext
Loop
CheckEqual n, 2, "both records are read back"
On Error Resume Next
rs.Open "SELECT * FROM Currencies", c
CheckError "3705 Operation is not allowed when the object is open.", "Open while open"
On Error GoTo 0
On Error Resume Next
x = rs("Nope")
CheckError "3265 Item cannot be found in the collection corresponding to the requested name or ordinal.", _
           "an unknown field"
On Error GoTo 0
rs.Close
On Error Resume Next
rs.Close
CheckError "3704 Operation is not allowed when the object is closed.", "Close while closed"
On Error GoTo 0
On Error Resume Next
rs.Open "SELECT * FROM Currencies", CreateObject("Scripting.Dictionary")
CheckError "3001 Arguments are of the wrong type, are out of acceptable range, or are in conflict with one another.", _
           "a connection of another kind is refused"
On Error GoTo 0
On Error Resume Next
rs.Open "SELECT * FROM Nope", c
CheckEqual Err.Number & " " & Left(Err.Description, 19), "-2147467259 no such table: Nope", _
           "a statement the database refuses (with the database's message)"
Err.Clear
On Error GoTo 0
CheckEqual rs.State, 0, "a refused statement leaves the record set closed"
rs.Open "SELECT * FROM Currencies", c
On Error Resume Next
rs("Name") = "x"
CheckError "3251 Current Recordset does not support updating. This may be a limitation of the provider, or of " & _
           "the selected locktype.", "without cursor and lock the record set is read-only"
On Error GoTo 0
rs.Close

On Error Resume Next
x = c.HostFolderPath("1")
CheckError "3265 There is no folder with the key 1", "HostFolderPath of a missing folder"
On Error GoTo 0

Dim t, fs
Set t = CreateObject("CalvoraVel.Tools")
CheckEqual t.StringTools.SqlQuote("Zoll'"), "Zoll''", "SqlQuote doubles single quotes"
Set fs = t.FileSystem
CheckEqual fs.FileExists(databasePath), True, "FileExists of the database"
CheckEqual fs.FileExists(folderPath), False, "FileExists of nothing"
CheckEqual fs.FolderExists(folderPath), False, "FolderExists of nothing"
fs.CreateFolder folderPath & "\Media\images"
CheckEqual fs.FolderExists(folderPath & "\Media\images"), True, "CreateFolder makes the folders above too"
CheckEqual fs.FileExists(folderPath & "\Media"), False, "a folder is no file"

Dim texts
Set texts = CreateObject("CalvoraVel.TextCatalog")
texts.Load "de", 0
CheckEqual texts.GetText("impvelxml.page.2.title"), "Importoptionen", "GetText of the German texts"
CheckEqual texts.GetText("impvelxml.config.regions"), "False", "the regions switch is off"
texts.Load "de;regions", 0
CheckEqual texts.GetText("impvelxml.config.regions"), "True", "the source ""de;regions"" switches it on"
texts.Close
CheckEqual texts.GetText("impvelxml.page.2.title"), "", "no texts after Close"

c.Close
CheckEqual c.State, 0, "Close of the connection"

If Failures = 0 Then
  WScript.Echo "TEST HOST PASSED"
Else
  WScript.Echo "TEST HOST FAILED (" & Failures & ")"
End If
