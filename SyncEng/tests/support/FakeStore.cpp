#include "FakeStore.h"

#include <algorithm>
#include <utility>

namespace mbtest {
namespace {

// {7A110000-tttt-4C0D-9E55-2F00000000pp}: tttt is the field type, pp the first letter of the store's prefix. Dynamic fields have the upper
// half of the range of tttt.
constexpr GUID fieldBase{0x7A110000, 0, 0x4C0D, {0x9E, 0x55, 0x2F, 0, 0, 0, 0, 0}};
constexpr std::uint16_t dynamicRange = 0x8000;

std::u16string number(int n)
{
    const std::string digits = std::to_string(n);
    return std::u16string(digits.size() < 6 ? 6 - digits.size() : 0, u'0') + std::u16string(digits.begin(), digits.end());
}

} // namespace

FakeStore::FakeStore(std::u16string idPrefix) : prefix_(std::move(idPrefix))
{
    options.database = u"store of " + prefix_;
    fields = {{ftNamePrefix, u"Prefix"},
              {ftFirstName, u"First name"},
              {ftMiddleName, u"Middle name"},
              {ftLastName, u"Last name"},
              {ftNameSuffix, u"Suffix"},
              {ftTitle, u"Title"},
              {ftCompany, u"Company"},
              {ftStreet1, u"Street"},
              {ftCity1, u"City"},
              {ftState1, u"State"},
              {ftZipCode1, u"Zip"},
              {ftCountry1, u"Country"},
              {ftNotes, u"Notes"},
              {ftPhone, u"Phone", ffPhoneNumber},
              {ftEmail1, u"E-mail"}};
}

std::u16string FakeStore::newId()
{
    const int n = next_++;
    return options.makeId ? options.makeId(n) : prefix_ + number(n);
}

std::u16string FakeStore::add(std::u16string id, FakeValues values)
{
    if (!has(id)) order.push_back(id);
    const DATE now = tick();
    records[id] = {std::move(values), now, now, true};
    return id;
}

void FakeStore::set(const std::u16string& id, LONG key, std::u16string text)
{
    records.at(id).values[key] = std::move(text);
    touch(id);
}

std::u16string FakeStore::get(std::u16string_view id, LONG key) const
{
    const auto record = records.find(id);
    if (record == records.end()) return u"<no record>";
    const auto value = record->second.values.find(key);
    return value == record->second.values.end() ? std::u16string() : value->second;
}

std::u16string FakeStore::addCategory(std::u16string name)
{
    std::u16string id = u"C" + newId();
    put(true, id, {{ftLastName, std::move(name)}});
    return id;
}

void FakeStore::addImageFields(ULONG form)
{
    options.images = true;
    options.caps |= form;
    fields.push_back({ftImage1, u"Front image", 0, 0, dtImage});
    fields.push_back({ftImage2, u"Back image", 0, 0, dtImage});
}

LONG FakeStore::addDynamicField(std::u16string name)
{
    options.dynamicFields = true;
    const auto number = 1 + std::ranges::count_if(fields, [](const FakeField& field) { return field.dynamicId != 0; });
    fields.push_back({0, std::move(name), 0, 0, dtString, static_cast<LONG>(number)});
    return fields.back().key();
}

GUID FakeStore::guid(std::uint16_t part) const
{
    GUID made = fieldBase;
    made.Data2 = part;
    made.Data4[7] = static_cast<std::uint8_t>(prefix_.empty() ? 0 : prefix_.front());
    return made;
}

GUID FakeStore::guidOf(const FakeField& field) const
{
    return field.dynamicId ? guid(static_cast<std::uint16_t>(dynamicRange | field.dynamicId)) : guidOf(field.type);
}

const FakeField* FakeStore::fieldOf(const GUID& wanted) const
{
    if (guid(wanted.Data2) != wanted) return nullptr;
    const bool dynamic = wanted.Data2 >= dynamicRange;
    const LONG key = dynamic ? -(wanted.Data2 - dynamicRange) : wanted.Data2;
    const auto at = std::ranges::find(fields, key, &FakeField::key);
    return at == fields.end() ? nullptr : &*at;
}

void FakeStore::put(bool ofCategories, const std::u16string& id, FakeValues changes)
{
    if (options.rewrite)
        for (auto& [key, text] : changes) text = options.rewrite(key, text);
    FakeRecords& all = ofCategories ? categories : records;
    if (const auto known = all.find(id); known != all.end()) {
        for (auto& [key, text] : changes) known->second.values[key] = std::move(text);
        known->second.modified = tick();
        return;
    }
    (ofCategories ? categoryOrder : order).push_back(id);
    const DATE created = tick();
    all.emplace(id, FakeRecord{std::move(changes), created, tick()});
}

void FakeStore::rename(bool ofCategories, const std::u16string& id, const std::u16string& newId)
{
    FakeRecords& all = ofCategories ? categories : records;
    auto node = all.extract(id);
    node.key() = newId;
    all.insert(std::move(node));
    std::ranges::replace(ofCategories ? categoryOrder : order, id, newId);
}

void FakeStore::erase(bool ofCategories, std::u16string_view id)
{
    FakeRecords& all = ofCategories ? categories : records;
    const auto at = all.find(id);
    if (at == all.end()) return;
    std::erase(ofCategories ? categoryOrder : order, at->first);
    all.erase(at);
}

} // namespace mbtest
