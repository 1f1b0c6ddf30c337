-- A first synchronisation, from two empty stores to a settled conflict, and a clean end.
-- The same story for Windows is told by first-sync.vbs and first-sync.ps1.
--
--   mkdir /tmp/cards
--   mb run docs/examples/first-sync.lua --store Mirabook=/tmp/cards.db --store vCard=/tmp/cards
--
-- Both plug-ins are registered first. The Notebook of docs/writing-a-translator.md can stand in for Mirabook.
--
-- Out stands for an argument that comes back; its value is a result of the call. Out(value) goes in, too.

local ftFirstName, ftLastName, ftCompany, ftCity, ftPhone = 2, 4, 7, 9, 20
local names = { nil, "vCard" } -- the first is found out

local auto = CreateObject("MBSync.SyncAutoTest.1")
local map

local function expect(condition, what)
    if not condition then error("This is not as it should be: " .. what, 2) end
end

-- Opens a side of the map, lets the function use it, and closes it again.
local function withSide(side, work)
    local store = auto:BeginUpdate(map, side, Out)
    local done, result = pcall(work, store)
    auto:EndUpdate(store, not done)
    if not done then error(result, 0) end
    return result
end

local function write(store, id, fields)
    for field, value in pairs(fields) do auto:WriteField(store, id, field, value) end
    return auto:SaveRecord(store, Out(id)) -- the store may give another identifier
end

local function add(side, fields)
    return withSide(side, function(store) return write(store, auto:AddRecord(store, Out), fields) end)
end

-- All records of a side, each a table of its identifier and the fields that this story is about.
local function readAll(side)
    return withSide(side, function(store)
        local records = {}
        for index = 0, auto:GetRecordCount(store, Out) - 1 do
            local id = auto:GetRecordID(store, index, Out)
            local record = { id = id }
            auto:BeginReadRecord(store, id)
            for _, field in ipairs { ftFirstName, ftLastName, ftCompany, ftCity, ftPhone } do
                record[field] = auto:ReadField(store, id, field, Out)
            end
            auto:EndReadRecord(store, id)
            records[#records + 1] = record
        end
        return records
    end)
end

local function find(side, firstName)
    for _, record in ipairs(readAll(side)) do
        if record[ftFirstName] == firstName then return record end
    end
    error("There is no " .. firstName .. " in " .. names[side], 2)
end

local function edit(side, firstName, fields)
    local id = find(side, firstName).id
    withSide(side, function(store)
        auto:EditRecord(store, id)
        write(store, id, fields)
    end)
end

local function synchronize() auto:Synchronize(map, false, true) end

local function removeAll(side)
    withSide(side, function(store)
        local ids = {}
        for index = 0, auto:GetRecordCount(store, Out) - 1 do
            ids[#ids + 1] = auto:GetRecordID(store, index, Out)
        end
        for _, id in ipairs(ids) do auto:DeleteRecord(store, id) end
    end)
end

local function story()
    print("Two people are entered on one side")
    add(1, { [ftFirstName] = "Ada", [ftLastName] = "Lovelace", [ftCompany] = "Engines", [ftCity] = "London" })
    add(1, { [ftFirstName] = "Grace", [ftLastName] = "Hopper", [ftCity] = "New York" })
    synchronize()
    expect(#readAll(2) == 2, "both are on the other side")
    expect(find(2, "Ada")[ftCompany] == "Engines", "Ada's company went with her")

    print("Each side changes another field of another person")
    edit(1, "Ada", { [ftPhone] = "+44 20 7946 0018" })
    edit(2, "Grace", { [ftCity] = "Arlington" })
    synchronize()
    expect(find(2, "Ada")[ftPhone] == "+44 20 7946 0018", "Ada's number reached the second side")
    expect(find(1, "Grace")[ftCity] == "Arlington", "Grace's city reached the first side")

    print("Both sides change the same field: a conflict, of which a silent run keeps both")
    edit(1, "Ada", { [ftCompany] = "Analytical Engines" })
    edit(2, "Ada", { [ftCompany] = "Difference Engines" })
    synchronize()
    for side = 1, 2 do
        local companies = {}
        for _, record in ipairs(readAll(side)) do companies[record[ftCompany]] = true end
        expect(#readAll(side) == 3, "there are three records in " .. names[side])
        expect(companies["Analytical Engines"] and companies["Difference Engines"], "neither company is lost in " .. names[side])
    end

    print("A record that is not there is not found, and the script hears of it")
    local call = withSide(1, function(store)
        local arguments = { pTrans = store, lpRecID = "no such record", pbFound = Out }
        expect(not pcall(auto.FindRecord, auto, arguments), "FindRecord fails")
        return arguments
    end)
    expect(call.pbFound == false, "FindRecord says so")
end

local function makeMap()
    for _, first in ipairs { "Notebook", "Mirabook" } do
        local done, made = pcall(auto.AddTrMap, auto, first, names[2], Out)
        if done then
            names[1] = first
            return made
        end
    end
    error("Register vCard first, and Mirabook or Notebook.", 0)
end

function Main()
    map = makeMap()
    local empty = true
    local done, message = pcall(function()
        for side = 1, 2 do
            local opened, records = pcall(readAll, side)
            if not opened then error("Name both stores by --store: " .. names[side] .. " cannot be opened. " .. records, 0) end
            empty = empty and #records == 0
        end
        if not empty then error("This example wants two empty stores.", 0) end
        story()
    end)
    -- What the story wrote goes again, however it ended; records that were there before it are left alone.
    if empty then pcall(removeAll, 1) pcall(removeAll, 2) end
    auto:DeleteTrMap(map)
    if not done then error(message, 0) end
    print("All is as it should be.")
end
