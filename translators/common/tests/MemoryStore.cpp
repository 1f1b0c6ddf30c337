#include "MemoryStore.h"

#include <algorithm>

namespace mb::plugin {

void MemoryStore::add(const std::string& id, std::map<int, std::u16string> values, std::map<int, std::string> images)
{
    records.push_back({id, std::move(values), std::move(images)});
}

bool MemoryStore::exists(const std::string& id) const
{
    if (cannotLook) throw StoreError(Step::Find, "the disk fails");
    return std::ranges::any_of(records, [&](const MemoryRecord& record) { return record.id == id; });
}

std::string MemoryStore::updatedId(const std::string&)
{
    if (cannotLook) throw StoreError(Step::Find, "the disk fails");
    return {};
}

void MemoryStore::beginRead(const std::string& id)
{
    ++begun[id];
    const auto at = std::ranges::find(records, id, &MemoryRecord::id);
    if (at == records.end() || unreadable.contains(id)) throw StoreError(Step::BeginRead, "no such record");
    if (reading_) throw std::logic_error("a record is being read already");
    reading_ = &*at;
}

std::u16string MemoryStore::read(const std::string& id, int type) const
{
    if (!reading_ || reading_->id != id) throw std::logic_error("the record is not being read");
    const auto failing = unreadableField.find(id);
    if (failing != unreadableField.end() && failing->second == type) throw StoreError(Step::ReadField, "unreadable");
    const auto at = reading_->values.find(type);
    return at == reading_->values.end() ? std::u16string() : at->second;
}

void MemoryStore::endRead(const std::string& id)
{
    if (!reading_ || reading_->id != id) throw std::logic_error("the record is not being read");
    reading_ = nullptr;
}

std::string MemoryStore::readImage(const std::string& id, int type)
{
    if (!reading_ || reading_->id != id) throw std::logic_error("the record is not being read");
    const auto at = reading_->images.find(type);
    return at == reading_->images.end() ? std::string() : at->second;
}

} // namespace mb::plugin
