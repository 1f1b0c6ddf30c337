' A first synchronisation, from two empty stores to a settled conflict, and a clean end.
' The same story is told by first-sync.lua and first-sync.ps1.
'
'   mb register MBSync.dll notebook.dll vcard.dll
'   mkdir C:\Temp\cards
'   mb run first-sync.vbs --store Notebook=C:\Temp\notebook.txt --store vCard=C:\Temp\cards
'
' Any other host runs it by RunTests of MBSync.SyncAutoTest.1, which calls Main, and names the stores in the environment, as
' MB_STORE_NOTEBOOK and MB_STORE_VCARD. A script makes the engine's objects by name, so the engine is registered as the plug-ins are.

Option Explicit

Const ftFirstName = 2, ftLastName = 4, ftCompany = 7, ftCity = 9, ftPhone = 20

Dim auto, map, names, shownFields, wereEmpty
names = Array("", "Notebook", "vCard")
shownFields = Array(ftFirstName, ftLastName, ftCompany, ftCity, ftPhone)
Set auto = CreateObject("MBSync.SyncAutoTest.1")

Sub Expect(condition, what)
    If Not condition Then Err.Raise vbObjectError + 1, "first-sync", "This is not as it should be: " & what
End Sub

' In a list of fields to write, fields and values take turns.
Sub WriteAll(store, id, fields)
    Dim i
    For i = 0 To UBound(fields) Step 2
        auto.WriteField store, id, fields(i), fields(i + 1)
    Next
    auto.SaveRecord store, id ' the store may give another identifier
End Sub

Sub Add(side, fields)
    Dim store, id
    auto.BeginUpdate map, side, store
    auto.AddRecord store, id
    WriteAll store, id, fields
    auto.EndUpdate store, False
End Sub

' A record is an array: its identifier, and behind it the values of the fields that this story is about.
Function ReadRecord(store, index)
    Dim record(5), id, value, i
    auto.GetRecordID store, index, id
    record(0) = id
    auto.BeginReadRecord store, id
    For i = 0 To UBound(shownFields)
        auto.ReadField store, id, shownFields(i), value
        record(i + 1) = value
    Next
    auto.EndReadRecord store, id
    ReadRecord = record
End Function

Function ValueOf(record, field)
    Dim i
    For i = 0 To UBound(shownFields)
        If shownFields(i) = field Then ValueOf = record(i + 1)
    Next
End Function

' All records of a side.
Function ReadAll(side)
    Dim all, store, count, index
    all = Array()
    auto.BeginUpdate map, side, store
    auto.GetRecordCount store, count
    If count > 0 Then ReDim all(count - 1)
    For index = 0 To count - 1
        all(index) = ReadRecord(store, index)
    Next
    auto.EndUpdate store, False
    ReadAll = all
End Function

Function CountOf(side)
    CountOf = UBound(ReadAll(side)) + 1
End Function

Function Find(side, firstName)
    Dim record
    For Each record In ReadAll(side)
        If ValueOf(record, ftFirstName) = firstName Then
            Find = record
            Exit Function
        End If
    Next
    Expect False, "there is a " & firstName & " in " & names(side)
End Function

Sub Edit(side, firstName, fields)
    Dim record, store
    record = Find(side, firstName)
    auto.BeginUpdate map, side, store
    auto.EditRecord store, record(0)
    WriteAll store, record(0), fields
    auto.EndUpdate store, False
End Sub

Sub Synchronize()
    auto.Synchronize map, False, True
End Sub

Sub RemoveAll(side)
    Dim all, record, store
    all = ReadAll(side)
    auto.BeginUpdate map, side, store
    For Each record In all
        auto.DeleteRecord store, record(0)
    Next
    auto.EndUpdate store, False
End Sub

Function HasCompany(side, company)
    Dim record
    HasCompany = False
    For Each record In ReadAll(side)
        If ValueOf(record, ftCompany) = company Then HasCompany = True
    Next
End Function

Sub Story()
    ' Two people are entered on one side.
    Add 1, Array(ftFirstName, "Ada", ftLastName, "Lovelace", ftCompany, "Engines", ftCity, "London")
    Add 1, Array(ftFirstName, "Grace", ftLastName, "Hopper", ftCity, "New York")
    Synchronize
    Expect CountOf(2) = 2, "both are on the other side"
    Expect ValueOf(Find(2, "Ada"), ftCompany) = "Engines", "Ada's company went with her"

    ' Each side changes another field of another person.
    Edit 1, "Ada", Array(ftPhone, "+44 20 7946 0018")
    Edit 2, "Grace", Array(ftCity, "Arlington")
    Synchronize
    Expect ValueOf(Find(2, "Ada"), ftPhone) = "+44 20 7946 0018", "Ada's number reached the second side"
    Expect ValueOf(Find(1, "Grace"), ftCity) = "Arlington", "Grace's city reached the first side"

    ' Both sides change the same field: a conflict, of which a silent run keeps both.
    Edit 1, "Ada", Array(ftCompany, "Analytical Engines")
    Edit 2, "Ada", Array(ftCompany, "Difference Engines")
    Synchronize
    Dim side
    For side = 1 To 2
        Expect CountOf(side) = 3, "there are three records in " & names(side)
        Expect HasCompany(side, "Analytical Engines"), "the first company is not lost in " & names(side)
        Expect HasCompany(side, "Difference Engines"), "the second company is not lost in " & names(side)
    Next

    ' A record that is not there is not found, and the script hears of it.
    Dim store, found, failed
    auto.BeginUpdate map, 1, store
    On Error Resume Next
    auto.FindRecord store, "no such record", found
    failed = Err.Number <> 0
    On Error GoTo 0
    auto.EndUpdate store, False
    Expect failed And Not found, "FindRecord says no"
End Sub

Sub Tell()
    wereEmpty = CountOf(1) + CountOf(2) = 0
    If Not wereEmpty Then Err.Raise vbObjectError + 2, "first-sync", "This example wants two empty stores."
    Story
End Sub

Sub Main()
    Dim number, description
    auto.AddTrMap names(1), names(2), map
    wereEmpty = False
    On Error Resume Next
    Tell
    number = Err.Number
    description = Err.Description
    ' What the story wrote goes again, however it ended; records that were there before it are left alone.
    If wereEmpty Then
        RemoveAll 1
        RemoveAll 2
    End If
    auto.DeleteTrMap map
    On Error GoTo 0
    If number <> 0 Then Err.Raise number, "first-sync", description
End Sub
