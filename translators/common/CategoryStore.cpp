#include "CategoryStore.h"

#include "interfaces.h"
#include "NewGuid.h"
#include "text.h"
#include <unordered_set>

namespace mb::plugin {
namespace {

// Returns the name in the form that a list with one name per line can hold.
std::u16string plainName(std::u16string_view text)
{
    std::u16string name;
    for (const char16_t c : text) name += c < u' ' ? u' ' : c;
    const std::size_t first = name.find_first_not_of(u' ');
    return first == name.npos ? std::u16string() : name.substr(first, name.find_last_not_of(u' ') + 1 - first);
}

} // namespace

void splitCategories(std::u16string_view text, Names& names)
{
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t comma = std::min(text.find(u',', at), text.size());
        std::u16string name = plainName(text.substr(at, comma - at));
        if (!name.empty()) names.push_back(std::move(name));
        at = comma + 1;
    }
}

Names withoutDoubles(const Names& names)
{
    Names single;
    std::unordered_set<std::u16string> seen;
    for (const std::u16string& name : names)
        if (seen.insert(platform::lowered(name)).second) single.push_back(name);
    return single;
}

CategoryStore::CategoryStore(const Names& names, std::function<void(const Names&)> keep) : keep_(std::move(keep)) { setNames(names); }

CategoryStore::~CategoryStore()
{
    try {
        close();
    } catch (const std::exception&) {
        // The list was not saved: the next run finds the old list and synchronizes it again.
    }
}

std::u16string CategoryStore::folded(const std::string& id) { return platform::lowered(platform::utf16(id)); }

void CategoryStore::setNames(const Names& names)
{
    ids_.clear();
    byName_.clear();
    for (const std::u16string& each : names) {
        const std::u16string name = plainName(each);
        if (!name.empty() && byName_.emplace(platform::lowered(name), ids_.size()).second) ids_.push_back(platform::utf8(name));
    }
}

Names CategoryStore::names() const
{
    Names all;
    all.reserve(ids_.size());
    for (const std::string& id : ids_) all.push_back(platform::utf16(id));
    return all;
}

std::size_t CategoryStore::positionOf(const std::string& id, Step step) const
{
    const auto at = byName_.find(folded(id));
    if (at == byName_.end()) throw StoreError(step, "There is no category \"" + std::string(id.substr(0, 100).c_str()) + "\".");
    return at->second;
}

std::int64_t CategoryStore::modified(const std::string& id) const
{
    (void)positionOf(id, Step::Find);
    return 0;
}

void CategoryStore::beginRead(const std::string& id) { reading_ = ids_[positionOf(id, Step::BeginRead)]; }

std::u16string CategoryStore::read(const std::string& id, int type) const
{
    const bool isRead = reading_ && folded(*reading_) == folded(id), isWritten = writing_ && writing_->id == id;
    if (!isRead && !isWritten) throw StoreError(Step::ReadField, "The category is not being read.");
    if (type != ftLastName) return {};
    return isRead ? platform::utf16(*reading_) : writing_->name;
}

void CategoryStore::beginBatch()
{
    if (before_) throw StoreError(Step::Update, "A batch is open already.");
    before_ = names();
}

void CategoryStore::endBatch(bool abort)
{
    writing_.reset();
    if (abort && before_) {
        setNames(*before_);
        dirty_ = false;
    }
    before_.reset();
    keepNow();
}

std::string CategoryStore::beginAdd()
{
    writing_ = Writing{newGuid(), true, {}};
    return writing_->id;
}

void CategoryStore::beginEdit(const std::string& id) { writing_ = Writing{id, false, platform::utf16(ids_[positionOf(id, Step::Edit)])}; }

void CategoryStore::write(const std::string& id, int type, std::u16string_view text)
{
    if (!writing_ || writing_->id != id) throw StoreError(Step::WriteField, "The category is not being written.");
    if (type == ftLastName) writing_->name = plainName(text);
}

std::string CategoryStore::save(const std::string& id)
{
    if (!writing_ || writing_->id != id) throw StoreError(Step::Save, "The category is not being written.");
    const Writing saved = std::move(*writing_);
    writing_.reset();
    if (saved.name.empty()) throw StoreError(Step::Save, "A category of the other store has no name. Give it one, or delete it there.");
    const std::u16string key = platform::lowered(saved.name);
    const auto same = byName_.find(key);
    if (saved.isNew) {
        if (same != byName_.end()) return ids_[same->second];
        byName_.emplace(key, ids_.size());
        ids_.push_back(platform::utf8(saved.name));
    } else {
        const std::size_t position = positionOf(id, Step::Save);
        if (same != byName_.end() && same->second != position) { // the category got the name of another one: the two become one
            remove(id);
            return ids_[positionOf(platform::utf8(saved.name), Step::Save)];
        }
        byName_.erase(folded(id));
        byName_.emplace(key, position);
        ids_[position] = platform::utf8(saved.name);
    }
    changed();
    return platform::utf8(saved.name);
}

void CategoryStore::remove(const std::string& id)
{
    const std::size_t position = positionOf(id, Step::Delete);
    byName_.erase(folded(id));
    if (position + 1 != ids_.size()) {
        ids_[position] = std::move(ids_.back());
        byName_[folded(ids_[position])] = position;
    }
    ids_.pop_back();
    changed();
}

void CategoryStore::close() { endBatch(false); }

void CategoryStore::changed()
{
    dirty_ = true;
    if (!before_) keepNow();
}

void CategoryStore::keepNow()
{
    if (!dirty_) return;
    keep_(names());
    dirty_ = false;
}

} // namespace mb::plugin
