#include "FakeStore.h"

#include <algorithm>

namespace mbtest {
namespace {

// {7A110000-tttt-4C0D-9E55-2F00000000pp}: the field type, and a letter of the store's.
constexpr GUID fieldBase{0x7A110000, 0, 0x4C0D, {0x9E, 0x55, 0x2F, 0, 0, 0, 0, 0}};

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

std::u16string FakeStore::number(int n)
{
    const std::string digits = std::to_string(n);
    return std::u16string(digits.size() < 6 ? 6 - digits.size() : 0, u'0') + std::u16string(digits.begin(), digits.end());
}

std::u16string FakeStore::add(FakeValues values)
{
    const std::u16string id = newId();
    const DATE now = tick();
    records[id] = {std::move(values), now, now, true};
    order.push_back(id);
    return id;
}

void FakeStore::set(const std::u16string& id, LONG type, std::u16string text)
{
    records.at(id).values[type] = std::move(text);
    touch(id);
}

void FakeStore::remove(const std::u16string& id)
{
    records.erase(id);
    std::erase(order, id);
}

std::u16string FakeStore::get(const std::u16string& id, LONG type) const
{
    const auto record = records.find(id);
    if (record == records.end()) return u"<no record>";
    const auto value = record->second.values.find(type);
    return value == record->second.values.end() ? std::u16string() : value->second;
}

std::u16string FakeStore::addCategory(std::u16string name)
{
    const std::u16string id = u"C" + newId();
    const DATE now = tick();
    categories[id] = {{{ftLastName, std::move(name)}}, now, now, true};
    categoryOrder.push_back(id);
    return id;
}

GUID FakeStore::guidOf(LONG type) const
{
    GUID guid = fieldBase;
    guid.Data2 = static_cast<std::uint16_t>(type);
    guid.Data4[7] = static_cast<std::uint8_t>(prefix_.empty() ? 0 : prefix_.front());
    return guid;
}

const FakeField* FakeStore::fieldOf(const GUID& guid) const
{
    if (guidOf(guid.Data2) != guid) return nullptr;
    const auto at = std::ranges::find(fields, static_cast<LONG>(guid.Data2), &FakeField::type);
    return at == fields.end() ? nullptr : &*at;
}

} // namespace mbtest
