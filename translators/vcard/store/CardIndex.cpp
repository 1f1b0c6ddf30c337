#include "CardIndex.h"

#include "FileText.h"
#include "IndexFile.h"
#include "Parallel.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <utility>

namespace mb::vcard {
namespace {

constexpr std::int64_t kTick = 1'000'000; // smallest step of a date: 1 ms

bool isBlankText(std::string_view text) { return text.find_first_not_of(" \t\r\n") == text.npos; }

} // namespace

CardIndex::CardIndex(const Folder& folder, std::string singleFile, std::string path, RecentIndexes& recent)
    : folder_(folder), singleFile_(std::move(singleFile)), path_(std::move(path)), recent_(recent)
{
}

std::int64_t CardIndex::nextStamp(std::int64_t modified, std::int64_t before) const
{
    return modified > before ? modified : before + kTick;
}

std::int64_t CardIndex::stampAt(const Place& place) const
{
    const FileRecord& file = fileAt(place);
    return place.isFile() ? file.stamp : file.cards[place.cardIndex()].stamp;
}

const std::string& CardIndex::uidAt(const Place& place) const
{
    const FileRecord& file = fileAt(place);
    return place.isFile() ? file.uid : file.cards[place.cardIndex()].token;
}

void CardIndex::noteWritten(FileRecord& file, const FileState& state)
{
    file.state = state;
    changed_ = true;
}

FileRecord CardIndex::examine(const FileEntry& entry, FileRecord* known) const
{
    FileRecord file;
    file.name = entry.name;
    file.state = entry.state;
    file.stamp = nextStamp(entry.state.modified, known ? known->stamp : 0);
    const auto bad = [&](std::size_t line, std::string text) {
        file.badLine = line;
        file.badText = std::move(text);
        if (!known) return file;
        file.categories = known->categories;
        file.uid = known->uid;
        file.versions = known->versions;
        file.stamp = known->stamp; // kept together with the cards until the file can be read again
        file.cards = std::move(known->cards);
        return file;
    };
    const auto badUntilLater = [&](std::string text) {
        file.state.modified = -1; // so that the next run examines the file again
        return bad(0, std::move(text));
    };
    if (!entry.notPlain.empty()) return badUntilLater(entry.notPlain + ", not a plain file");
    std::optional<FileText> opened;
    try {
        opened = openText(folder_.read(entry.name, file.state));
    } catch (const FileError& e) {
        if (e.why() == FileError::Why::NotPlain || e.why() == FileError::Why::TooLarge) return badUntilLater(e.what());
        throw; // the caller handles a missing file; other failures say nothing about the card
    }
    if (!opened) return bad(1, "the file is not valid UTF-16");
    if (!singleFile_.empty() && isBlankText(opened->text)) return file;
    const ScanResult scan = scanCards(opened->text);
    if (scan.error) return bad(scan.error->line, scan.error->message);
    file.noProperty = scan.noProperty;
    file.categories = categoriesIn(opened->text, scan.cards);
    file.versions = versionsIn(opened->text, scan.cards);
    if (scan.cards.size() == 1 && singleFile_.empty() && (!known || known->cards.empty())) {
        file.uid = uidTokenOf(opened->text);
        return file;
    }

    file.cards = describeCards(opened->text, scan.cards);
    std::unordered_map<std::string_view, const CardRecord*> before;
    if (known)
        for (const CardRecord& card : known->cards) before[card.token] = &card;
    bool nameTaken = !singleFile_.empty(); // in a single file a bare name is no identifier
    for (CardRecord& card : file.cards) {
        card.plain = singleFile_.empty() && isUidOfName(card.token, file.name);
        nameTaken = nameTaken || card.plain;
    }
    for (std::size_t i = 0; i < file.cards.size(); ++i) {
        CardRecord& card = file.cards[i];
        const auto found = before.find(card.token);
        const CardRecord* old = found == before.end() ? nullptr : found->second;
        if (!nameTaken && card.token.starts_with('~')) card.plain = old ? old->plain : before.empty() && i == 0;
        const bool wasAlone = known && before.empty() && file.idOf(card) == known->id();
        const bool same = old && old->hash == card.hash;
        const std::int64_t last = old ? old->stamp : wasAlone ? known->stamp : 0;
        card.stamp = same ? old->stamp : nextStamp(file.state.modified, last);
    }
    return file;
}

// Returns no cards if the file cannot be read.
VersionCounts CardIndex::versionsInFile(const std::string& name) const
{
    try {
        FileState state;
        const std::optional<FileText> opened = openText(folder_.read(name, state));
        return opened ? versionsIn(opened->text, scanCards(opened->text).cards) : VersionCounts{};
    } catch (const FileError&) {
        return {};
    }
}

VersionCounts CardIndex::versions()
{
    VersionCounts all{};
    for (FileRecord& file : listed_.files) {
        if (file.gone || file.bad()) continue;
        if (file.versions == VersionCounts{}) {
            file.versions = versionsInFile(file.name);
            changed_ = true;
        }
        for (std::size_t i = 0; i < all.size(); ++i) all[i] += file.versions[i];
    }
    return all;
}

void CardIndex::refresh(const plugin::Report& report)
{
    if (!takeOver()) compare();
    for (const std::string& name : listed_.leftOut)
        report(plugin::Finding::LeftOut, folder_.pathOf(name) + ": left out, the file name is not valid UTF-8");
    for (FileRecord& file : listed_.files) {
        if (file.bad()) report(plugin::Finding::LeftOut, folder_.pathOf(file.faultyPlace()) + ": left out, " + file.badText);
        if (const std::size_t line = std::exchange(file.noProperty, 0))
            report(plugin::Finding::Note,
                   folder_.pathOf(file.name) + ", line " + std::to_string(line) + ": no property of a card, the line is kept as it is");
    }
}

void CardIndex::compare()
{
    if (!path_.empty()) listed_.files = readIndexFile(path_);
    constexpr int kTries = 5;
    for (int i = 1; !compareOnce() && i < kTries; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

// Returns false if another program renamed or removed files meanwhile: a renamed file may then be missing under both of its names.
bool CardIndex::compareOnce()
{
    Folder::Listing listing;
    listed_.folderChange = folder_.lastChange();
    listed_.listed = present();
    if (singleFile_.empty()) {
        listing = folder_.list();
    } else {
        const auto state = folder_.stateOf(singleFile_);
        if (!state) throw FileError("the file \"" + folder_.pathOf(singleFile_) + "\" does not exist", FileError::Why::Missing);
        listing.files.push_back({singleFile_, *state, {}});
    }
    listed_.leftOut = std::move(listing.unreadable);

    struct Unknown {
        std::size_t at; // index in `found` and `listing.files`
        FileRecord* old;
    };
    std::vector<FileRecord> found(listing.files.size());
    std::vector<Unknown> unknown;
    std::size_t next = 0; // both lists are sorted by name
    for (std::size_t i = 0; i < found.size(); ++i) {
        const FileEntry& entry = listing.files[i];
        while (next < listed_.files.size() && listed_.files[next].name < entry.name) ++next;
        FileRecord* old = next < listed_.files.size() && listed_.files[next].name == entry.name ? &listed_.files[next++] : nullptr;
        if (old && entry.notPlain.empty() && old->state == entry.state)
            found[i] = std::move(*old);
        else
            unknown.push_back({i, old});
    }
    std::vector<char> missing(unknown.size(), 0);
    forEachIndex(unknown.size(), [&](std::size_t i) {
        const auto [at, old] = unknown[i];
        try {
            found[at] = examine(listing.files[at], old);
        } catch (const FileError& e) {
            if (e.why() != FileError::Why::Missing || !singleFile_.empty()) throw;
            missing[i] = 1;
        }
    });
    std::vector<FileRecord*> examined;
    for (const auto& [at, old] : unknown) examined.push_back(&found[at]);
    keepDatesOfRenamed(examined);
    const bool settled = !listing.unsettled && std::ranges::find(missing, 1) == missing.end();
    for (std::size_t i = unknown.size(); i-- > 0;) {
        const auto [at, old] = unknown[i];
        if (!missing[i]) continue;
        if (!old) {
            found.erase(found.begin() + static_cast<std::ptrdiff_t>(at));
            continue;
        }
        found[at] = std::move(*old); // keeps the cached record: a file of that name may reappear
        found[at].state.modified = -1;
    }
    changed_ = changed_ || !unknown.empty() || listed_.files.size() != found.size();
    listed_.files = std::move(found);
    return settled;
}

// A file with the UID that a file of another name had is that file, renamed: it keeps the date, or gets a later one if it was also changed.
// Requires: listed_.files holds only the records of files that are gone or changed.
void CardIndex::keepDatesOfRenamed(const std::vector<FileRecord*>& examined) const
{
    std::unordered_map<std::string_view, const FileRecord*> byUid;
    for (const FileRecord& file : listed_.files)
        if (!file.uid.empty() && !byUid.emplace(file.uid, &file).second) byUid[file.uid] = nullptr; // a UID of two cards matches neither
    for (FileRecord* file : examined) {
        const auto found = file->uid.empty() || file->bad() ? byUid.end() : byUid.find(file->uid);
        if (found == byUid.end() || !found->second || found->second->name == file->name) continue;
        const FileRecord& before = *found->second;
        file->stamp = file->state == before.state ? before.stamp : nextStamp(file->state.modified, before.stamp);
    }
}

void CardIndex::handOver()
{
    constexpr std::int64_t kGrain = 100'000'000; // a change just before the listing cannot be told from one just after it
    if (!singleFile_.empty() || listed_.folderChange == 0 || listed_.listed - listed_.folderChange < kGrain) return;
    recent_.keep(folder_.pathOf({}), std::exchange(listed_, {}));
}

bool CardIndex::takeOver()
{
    auto kept = recent_.take(folder_.pathOf({}));
    if (!kept || !singleFile_.empty() || kept->folderChange != folder_.lastChange()) return false;
    listed_ = std::move(*kept);
    return true;
}

void CardIndex::save()
{
    // Without the file the next run opens every card once, so a failure is harmless.
    if (changed_ && !path_.empty()) changed_ = !writeIndexFile(path_, listed_.files);
}

} // namespace mb::vcard
