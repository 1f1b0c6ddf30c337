' A first synchronisation, from two empty stores to a settled conflict, and a clean end.
' The same story is told by first-sync.lua and first-sync.ps1.
'
' It is run by RunTests of MBSync.SyncAutoTest.1, which calls Main. The engine and both plug-ins must be registered, and the environment
' names the two stores:
'
'   set MB_STORE_NOTEBOOK=C:\Temp\notebook.txt
'   set MB_STORE_VCARD=C:\Temp\cards
'   mb run first-sync.vbs

Option Explicit

Const ftFirstName = 2, ftLastName = 4, ftCompany = 7, ftCity = 9, ftPhone = 20

Dim auto, map, names
names = Array("", "Notebook", "vCard")
Set auto = CreateObject("MBSync.SyncAutoTest.1")

Sub Expect(condition, what)
    If Not condition Then Err.Raise vbObjectError + 1, "first-sync", "This is not as it should be: " & what
End Sub

' Adds a record to a side; fields and values take turns in the list.
Sub Add(side, fields)
    Dim store, id
    auto.BeginUpdate map, side, store
    auto.AddRecord store, id
    WriteAll store, id, fields
    auto.EndUpdate store, False
End Sub

Sub Edit(side, firstName, fields)
    Dim store, id
    id = Find(side, firstName)
    auto.BeginUpdate map, side, store
    auto.EditRecord store, id
    WriteAll store, id, fields
    auto.EndUpdate store, False
End Sub

Sub WriteAll(store, id, fields)
    Dim i
    For i = 0 To UBound(fields) Step 2
        auto.WriteField store, id, fields(i), fields(i + 1)
    Next
    auto.SaveRecord store, id ' the store may give another identifier
End Sub

' The value of a field in every record of a side, each by its identifier.
Function ReadAll(side, field)
    Dim all, store, count, index, id, value
    Set all = CreateObject("Scripting.Dictionary")
    auto.BeginUpdate map, side, store
    auto.GetRecordCount store, count
    For index = 0 To count - 1
        auto.GetRecordID store, index, id
        auto.BeginReadRecord store, id
        auto.ReadField store, id, field, value
        auto.EndReadRecord store, id
        all.Add id, value
    Next
    auto.EndUpdate store, False
    Set ReadAll = all
End Function

Function Find(side, firstName)
    Dim all, id
    Set all = ReadAll(side, ftFirstName)
    For Each id In all.Keys
        If all.Item(id) = firstName Then
            Find = id
            Exit Function
        End If
    Next
    Expect False, "there is a " & firstName & " in " & names(side)
End Function

Function FieldOf(side, firstName, field)
    FieldOf = ReadAll(side, field).Item(Find(side, firstName))
End Function

Sub Synchronize()
    auto.Synchronize map, False, True
End Sub

Sub RemoveAll(side)
    Dim all, store, id
    Set all = ReadAll(side, ftFirstName)
    auto.BeginUpdate map, side, store
    For Each id In all.Keys
        auto.DeleteRecord store, id
    Next
    auto.EndUpdate store, False
End Sub

Sub Story()
    ' Two people are entered on one side.
    Add 1, Array(ftFirstName, "Ada", ftLastName, "Lovelace", ftCompany, "Engines", ftCity, "London")
    Add 1, Array(ftFirstName, "Grace", ftLastName, "Hopper", ftCity, "New York")
    Synchronize
    Expect ReadAll(2, ftFirstName).Count = 2, "both are on the other side"
    Expect FieldOf(2, "Ada", ftCompany) = "Engines", "Ada's company went with her"

    ' Each side changes another field of another person.
    Edit 1, "Ada", Array(ftPhone, "+44 20 7946 0018")
    Edit 2, "Grace", Array(ftCity, "Arlington")
    Synchronize
    Expect FieldOf(2, "Ada", ftPhone) = "+44 20 7946 0018", "Ada's number reached the second side"
    Expect FieldOf(1, "Grace", ftCity) = "Arlington", "Grace's city reached the first side"

    ' Both sides change the same field: a conflict, of which a silent run keeps both.
    Edit 1, "Ada", Array(ftCompany, "Analytical Engines")
    Edit 2, "Ada", Array(ftCompany, "Difference Engines")
    Synchronize
    Dim side, companies
    For side = 1 To 2
        companies = "|" & Join(ReadAll(side, ftCompany).Items, "|") & "|"
        Expect ReadAll(side, ftCompany).Count = 3, "there are three records in " & names(side)
        Expect InStr(companies, "|Analytical Engines|") > 0, "the first company is not lost in " & names(side)
        Expect InStr(companies, "|Difference Engines|") > 0, "the second company is not lost in " & names(side)
    Next

    ' A record that is not there is not found, and the script hears of it.
    Dim store, found, failed
    auto.BeginUpdate map, 1, store
    On Error Resume Next
    auto.FindRecord store, "no such record", found
    failed = Err.Number <> 0
    On Error GoTo 0
    auto.EndUpdate store, False
    Expect failed, "FindRecord fails"
End Sub

Sub Main()
    Dim number, description
    auto.AddTrMap names(1), names(2), map
    If ReadAll(1, ftFirstName).Count + ReadAll(2, ftFirstName).Count > 0 Then
        auto.DeleteTrMap map
        Err.Raise vbObjectError + 2, "first-sync", "This example wants two empty stores."
    End If
    On Error Resume Next
    Story
    number = Err.Number
    description = Err.Description
    ' What the story wrote goes again, however it ended.
    RemoveAll 1
    RemoveAll 2
    auto.DeleteTrMap map
    On Error GoTo 0
    If number <> 0 Then Err.Raise number, "first-sync", description
End Sub
