# A first synchronisation, from two empty stores to a settled conflict, and a clean end.
# The same story is told by first-sync.lua and first-sync.vbs. Run it in 64-bit PowerShell.
#
#   mb register MBSync.dll notebook.dll vcard.dll
#   powershell -File first-sync.ps1 -Notebook C:\Temp\notebook.txt -Cards C:\Temp\cards

param([Parameter(Mandatory)] [string] $Notebook, [Parameter(Mandatory)] [string] $Cards)

$ErrorActionPreference = 'Stop'
$ftFirstName, $ftLastName, $ftCompany, $ftCity, $ftPhone = 2, 4, 7, 9, 20
$names = @('', 'Notebook', 'vCard')

# The plug-ins find their stores in the environment of the process.
$env:MB_STORE_NOTEBOOK = $Notebook
$env:MB_STORE_VCARD = $Cards
$auto = New-Object -ComObject MBSync.SyncAutoTest.1
$noObject = [System.Runtime.InteropServices.UnknownWrapper]::new($null)

# Calls a method; the argument with the number $out comes back and is the result. What it holds before has to be of the method's type.
function Invoke-Engine([string] $method, [object[]] $arguments, [int] $out = -1) {
    $values = [object[]]::new($arguments.Count)
    for ($i = 0; $i -lt $values.Count; $i++) {
        if ($null -ne $arguments[$i]) { $values[$i] = $arguments[$i].PSObject.BaseObject } # without what PowerShell wraps it in
    }
    $byReference = [System.Reflection.ParameterModifier]::new($values.Count)
    if ($out -ge 0) { $byReference[$out] = $true }
    [void] $auto.GetType().InvokeMember($method, 'InvokeMethod', $null, $auto, $values, @($byReference), $null, $null)
    if ($out -ge 0) { $values[$out] }
}

function Expect([bool] $condition, [string] $what) { if (-not $condition) { throw "This is not as it should be: $what" } }

function Open-Side([int] $side) { Invoke-Engine BeginUpdate @($map, $side, $noObject) 2 }
function Close-Side($store) { Invoke-Engine EndUpdate @($store, $false) }

function Write-Record($store, [string] $id, [hashtable] $fields) {
    foreach ($field in $fields.Keys) { Invoke-Engine WriteField @($store, $id, $field, $fields[$field]) }
    [void] (Invoke-Engine SaveRecord @($store, $id) 1) # the store may give another identifier
}

function Add-Record([int] $side, [hashtable] $fields) {
    $store = Open-Side $side
    Write-Record $store (Invoke-Engine AddRecord @($store, '') 1) $fields
    Close-Side $store
}

# All records of a side, each an object of its identifier and the fields that this story is about.
function Read-All([int] $side) {
    $store = Open-Side $side
    $count = Invoke-Engine GetRecordCount @($store, 0) 1
    for ($index = 0; $index -lt $count; $index++) {
        $id = Invoke-Engine GetRecordID @($store, $index, '') 2
        $record = @{ id = $id }
        Invoke-Engine BeginReadRecord @($store, $id)
        foreach ($field in $ftFirstName, $ftLastName, $ftCompany, $ftCity, $ftPhone) {
            $record[$field] = Invoke-Engine ReadField @($store, $id, $field, '') 3
        }
        Invoke-Engine EndReadRecord @($store, $id)
        $record
    }
    Close-Side $store
}

function Find-Record([int] $side, [string] $firstName) {
    $found = Read-All $side | Where-Object { $_[$ftFirstName] -eq $firstName } | Select-Object -First 1
    Expect ($null -ne $found) "there is a $firstName in $($names[$side])"
    $found
}

function Edit-Record([int] $side, [string] $firstName, [hashtable] $fields) {
    $id = (Find-Record $side $firstName).id
    $store = Open-Side $side
    Invoke-Engine EditRecord @($store, $id)
    Write-Record $store $id $fields
    Close-Side $store
}

function Remove-All([int] $side) {
    $ids = @(Read-All $side | ForEach-Object { $_.id })
    $store = Open-Side $side
    foreach ($id in $ids) { Invoke-Engine DeleteRecord @($store, $id) }
    Close-Side $store
}

function Sync-Map { Invoke-Engine Synchronize @($map, $false, $true) }

$map = Invoke-Engine AddTrMap @($names[1], $names[2], '') 2
$empty = $false
try {
    $empty = @(Read-All 1).Count + @(Read-All 2).Count -eq 0
    if (-not $empty) { throw 'This example wants two empty stores.' }

    'Two people are entered on one side'
    Add-Record 1 @{ $ftFirstName = 'Ada'; $ftLastName = 'Lovelace'; $ftCompany = 'Engines'; $ftCity = 'London' }
    Add-Record 1 @{ $ftFirstName = 'Grace'; $ftLastName = 'Hopper'; $ftCity = 'New York' }
    Sync-Map
    Expect (@(Read-All 2).Count -eq 2) 'both are on the other side'
    Expect ((Find-Record 2 'Ada')[$ftCompany] -eq 'Engines') "Ada's company went with her"

    'Each side changes another field of another person'
    Edit-Record 1 'Ada' @{ $ftPhone = '+44 20 7946 0018' }
    Edit-Record 2 'Grace' @{ $ftCity = 'Arlington' }
    Sync-Map
    Expect ((Find-Record 2 'Ada')[$ftPhone] -eq '+44 20 7946 0018') "Ada's number reached the second side"
    Expect ((Find-Record 1 'Grace')[$ftCity] -eq 'Arlington') "Grace's city reached the first side"

    'Both sides change the same field: a conflict, of which a silent run keeps both'
    Edit-Record 1 'Ada' @{ $ftCompany = 'Analytical Engines' }
    Edit-Record 2 'Ada' @{ $ftCompany = 'Difference Engines' }
    Sync-Map
    foreach ($side in 1, 2) {
        $companies = @(Read-All $side | ForEach-Object { $_[$ftCompany] })
        Expect ($companies.Count -eq 3) "there are three records in $($names[$side])"
        Expect ($companies -contains 'Analytical Engines' -and $companies -contains 'Difference Engines') `
            "neither company is lost in $($names[$side])"
    }

    'A record that is not there is not found, and the script hears of it'
    $store = Open-Side 1
    $failed = $false
    try { [void] (Invoke-Engine FindRecord @($store, 'no such record', $false) 2) } catch { $failed = $true }
    Close-Side $store
    Expect $failed 'FindRecord fails'
}
finally {
    # What the story wrote goes again, however it ended; records that were there before it are left alone.
    if ($empty) { Remove-All 1; Remove-All 2 }
    Invoke-Engine DeleteTrMap @($map)
}
'All is as it should be.'
