#include "RecordIds.h"

#include "Ascii.h"
#include "Charset.h"
#include "text.h"

#include <algorithm>
#include <iterator>

namespace mb::vcard {
namespace {

constexpr std::string_view kMark = "##"; // a token contains no "#", and no file name ends in "##" and a hash

std::string folded(const std::string& id) { return toUtf8(platform::lowered(fromUtf8(id))); }

std::string marked(const std::string& id) { return id + std::string(kMark) + hex(hashOf(id)); }

// Returns the identifier without its mark.
std::string unmarked(const std::string& id)
{
    const std::size_t mark = id.rfind(kMark);
    return mark != id.npos && marked(id.substr(0, mark)) == id ? id.substr(0, mark) : id;
}

bool leavesFolder(const std::string& id)
{
    return id.empty() || id[0] == '.' || id.find_first_of("/\\") != id.npos || id.find('\0') != id.npos;
}

struct Parts {
    std::string name, token; // the file name; the part behind "#", empty for none
    std::vector<std::string> uids() const
    {
        if (token.starts_with('~')) return {}; // a card without UID
        if (!token.empty()) return {token};
        const auto uids = uidsOfName(name);
        return {uids.begin(), uids.end()};
    }
};

Parts partsOf(const std::string& id)
{
    const std::string plain = unmarked(id);
    const std::size_t at = plain.rfind('#');
    if (at == plain.npos || !endsWithFold(std::string_view(plain).substr(0, at), ".vcf")) return {plain, {}};
    return {plain.substr(0, at), plain.substr(at + 1)};
}

} // namespace

RecordIds::RecordIds(const OpenedCards& cards) : cards_(cards) { list(); }

void RecordIds::list()
{
    IdSet known = std::move(knownElsewhere_);
    for (const IdTable::Entry& entry : table_.entries())
        if (entry.known) known.insert(entry.id);
    const std::vector<FileRecord>& files = cards_.index->files();
    table_.clear();
    bad_.clear();
    uidsIndexed_ = false;
    uids_.reset();
    Listed listed;
    listed.reserve(files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
        const FileRecord& file = files[i];
        if (file.gone) continue;
        const auto add = [&](std::string id, std::ptrdiff_t card) {
            if (file.bad())
                bad_.emplace(std::move(id), Place{i, card});
            else
                listed.emplace_back(std::move(id), Place{i, card});
        };
        if (file.cards.empty() && cards_.singleFile.empty()) add(file.id(), -1);
        for (std::size_t k = 0; k < file.cards.size(); ++k) add(file.idOf(file.cards[k]), static_cast<std::ptrdiff_t>(k));
    }
    makeDistinct(listed, known);
    table_.reserve(listed.size());
    for (auto& [id, place] : listed)
        if (bad_.empty() || !bad_.contains(id)) table_.add(std::move(id), place);
    knownElsewhere_.clear();
    for (const std::string& id : known)
        if (IdTable::Entry* entry = table_.find(id))
            entry->known = true;
        else
            knownElsewhere_.insert(id);
}

namespace {

// Of the identifier in lower case.
std::uint64_t foldedHash(const std::string& id)
{
    const bool ascii = std::ranges::all_of(id, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    return hashOf(ascii ? lowerCopy(id) : folded(id));
}

// Most stores have no identifiers that differ only in case, which their hashes tell.
bool allDiffer(const std::vector<std::pair<std::string, Place>>& listed)
{
    std::vector<std::uint64_t> hashes;
    hashes.reserve(listed.size());
    for (const auto& [id, place] : listed) hashes.push_back(foldedHash(id));
    std::ranges::sort(hashes);
    return std::ranges::adjacent_find(hashes) == hashes.end();
}

} // namespace

// Makes identifiers that differ only in case distinct. The known one, or else the first without a mark, stays as it is; the others get a
// mark. A mark that the caller knows or that this object gave stays.
void RecordIds::makeDistinct(Listed& listed, const IdSet& known)
{
    ambiguous_.clear();
    if (!anyMarkKnown_ && marks_.empty() && allDiffer(listed)) return;
    std::unordered_map<std::string, std::size_t> first;
    std::unordered_map<std::string, std::vector<std::size_t>> alike;
    first.reserve(listed.size());
    for (std::size_t i = 0; i < listed.size(); ++i) {
        std::string key = folded(listed[i].first);
        const auto [found, isNew] = first.emplace(std::move(key), i);
        if (isNew) continue;
        std::vector<std::size_t>& members = alike[found->first];
        if (members.empty()) members.push_back(found->second);
        members.push_back(i);
    }
    const auto isKnown = [&](std::size_t i) { return known.contains(listed[i].first); };
    const auto isMarked = [&](std::size_t i) {
        const std::string mark = marked(listed[i].first);
        return known.contains(mark) || marks_.contains(mark);
    };
    std::vector<std::size_t> toMark;
    for (const auto& [key, members] : alike) {
        ambiguous_.insert(key);
        auto owner = std::ranges::find_if(members, isKnown);
        if (owner == members.end()) owner = std::ranges::find_if_not(members, isMarked);
        for (const std::size_t i : members)
            if (owner == members.end() || i != *owner) toMark.push_back(i);
    }
    if (anyMarkKnown_ || !marks_.empty())
        for (std::size_t i = 0; i < listed.size(); ++i)
            if (!isKnown(i) && isMarked(i) && std::ranges::find(toMark, i) == toMark.end()) toMark.push_back(i);
    for (const std::size_t i : toMark) {
        listed[i].first = marked(listed[i].first);
        marks_.insert(listed[i].first);
    }
}

const Place* RecordIds::find(const std::string& id) const
{
    if (const IdTable::Entry* entry = table_.find(id)) return &entry->place;
    const auto bad = bad_.find(id);
    return bad == bad_.end() ? nullptr : &bad->second;
}

bool RecordIds::isKnown(const std::string& id) const
{
    const IdTable::Entry* entry = table_.find(id);
    return entry ? entry->known : knownElsewhere_.contains(id);
}

bool RecordIds::hasUid(const std::string& token) const
{
    if (!uids_) {
        uids_.emplace();
        for (const FileRecord& file : cards_.index->files()) {
            if (file.gone) continue;
            uids_->insert(folded(file.uid));
            for (const CardRecord& card : file.cards) uids_->insert(folded(card.token));
        }
    }
    return uids_->contains(folded(token));
}

void RecordIds::add(const std::string& id, const Place& place)
{
    if (uids_) uids_->insert(folded(cards_.index->uidAt(place)));
    table_.add(id, place);
    if (knownElsewhere_.erase(id) > 0) table_.find(id)->known = true;
}

void RecordIds::remove(const std::string& id)
{
    bad_.erase(id);
    if (isKnown(id)) knownElsewhere_.insert(id);
    table_.remove(id);
}

Place RecordIds::placeOf(const std::string& id, Step step) const
{
    if (const Place* place = find(id)) return *place;
    if (leavesFolder(id))
        throw StoreError(step, "\"" + std::string(id.c_str()) + "\" is not a valid record identifier: it could lead out of the folder.");
    if (const auto bad = badFileOf(id)) return *bad;
    throw StoreError(step, "There is no card \"" + id + "\" in " + cards_.folder->pathOf(cards_.singleFile) + ".");
}

// Returns the place of a card whose file cannot be read at present.
std::optional<Place> RecordIds::badFileOf(const std::string& id) const
{
    const std::vector<FileRecord>& files = cards_.index->files();
    for (std::size_t i = 0; i < files.size(); ++i)
        if (files[i].bad() && id.starts_with(files[i].name) && (id.size() == files[i].name.size() || id[files[i].name.size()] == '#'))
            return Place{i, -1};
    return std::nullopt;
}

bool RecordIds::exists(const std::string& id) const
{
    if (contains(id)) return true;
    return !leavesFolder(id) && (badFileOf(id) || (newCardsOf(id).empty() && changedInPlace(id)));
}

std::string RecordIds::updatedId(const std::string& id)
{
    const bool again = isKnown(id);
    if (!again) remember(id);
    if (contains(id) || leavesFolder(id) || badFileOf(id)) return {};
    const std::vector<std::string> cards = newCardsOf(id);
    if (!cards.empty()) return cards.size() == 1 || !again ? cards.front() : std::string();
    return changedInPlace(id).value_or(std::string());
}

void RecordIds::remember(const std::string& id)
{
    if (IdTable::Entry* entry = table_.find(id))
        entry->known = true;
    else
        knownElsewhere_.insert(id);
    if (knownUids_)
        for (std::string& uid : partsOf(id).uids()) knownUids_->insert(std::move(uid));
    const std::string plain = unmarked(id);
    anyMarkKnown_ = anyMarkKnown_ || plain != id;
    if (plain == id && (ambiguous_.empty() || !ambiguous_.contains(folded(id)))) return;
    marks_.clear(); // no caller has seen them yet
    list();
}

// Whether an identifier that the caller knows has the UID.
bool RecordIds::isOfKnownCard(const std::string& uid) const
{
    if (!knownUids_) {
        knownUids_.emplace();
        const auto insert = [&](const std::string& id) {
            for (std::string& each : partsOf(id).uids()) knownUids_->insert(std::move(each));
        };
        for (const IdTable::Entry& entry : table_.entries())
            if (entry.known) insert(entry.id);
        std::ranges::for_each(knownElsewhere_, insert);
    }
    return knownUids_->contains(uid);
}

void RecordIds::indexUids() const
{
    if (std::exchange(uidsIndexed_, true)) return;
    byUid_.clear();
    byName_.clear();
    for (const IdTable::Entry& entry : table_.entries()) {
        const std::string& uid = cards_.index->uidAt(entry.place);
        if (!uid.empty()) byUid_[uid].push_back(entry.id);
        if (cards_.singleFile.empty()) byName_.emplace(cards_.index->fileAt(entry.place).name, entry.id);
    }
}

// Returns the identifiers with the same UID that the caller does not know.
std::vector<std::string> RecordIds::newCardsOf(const std::string& id) const
{
    indexUids();
    std::vector<std::string> found;
    for (const std::string& uid : partsOf(id).uids()) {
        const auto cards = byUid_.find(uid);
        if (cards == byUid_.end()) continue;
        std::ranges::copy_if(cards->second, std::back_inserter(found), [&](const std::string& card) { return !isKnown(card); });
    }
    return found;
}

// On a case-insensitive file system a file may have been renamed to its own name in another case.
RecordIds::Names::const_iterator RecordIds::inOtherCase(const std::string& name) const
{
    if (!cards_.singleFile.empty() || !fileStep(Step::Open, [&] { return cards_.folder->stateOf(name); })) return byName_.end();
    return std::find_if(byName_.cbegin(), byName_.cend(), [key = folded(name)](const auto& file) { return folded(file.first) == key; });
}

// Returns the card in the file that `id` names, for an `id` that no card has: its UID was changed, or `id` is from a version whose
// identifiers had no UID. Returns nullopt if it is known to be another card.
std::optional<std::string> RecordIds::changedInPlace(const std::string& id) const
{
    indexUids();
    const Parts parts = partsOf(id);
    Names::const_iterator found = byName_.find(parts.name);
    if (found == byName_.end()) found = inOtherCase(parts.name);
    if (found == byName_.end() || isKnown(found->second)) return std::nullopt;
    const Place place = *find(found->second);
    if (!place.isFile() && !parts.token.empty()) return std::nullopt;   // a card of several was deleted
    if (isOfKnownCard(cards_.index->uidAt(place))) return std::nullopt; // another card took its place
    return found->second;
}

} // namespace mb::vcard
