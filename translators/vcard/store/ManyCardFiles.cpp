#include "ManyCardFiles.h"

#include "Charset.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace mb::vcard {
namespace {

constexpr std::size_t kOnlyFile = 0; // of a store of one file

} // namespace

std::string ManyCardFiles::OpenFile::card(std::size_t k) const
{
    const auto changed = edits.changed.find(k);
    if (changed != edits.changed.end()) return changed->second;
    return k < spans.size() ? std::string(cards().card(k)) : edits.added[k - spans.size()];
}

void ManyCardFiles::OpenFile::change(std::size_t k, const std::string& bytes)
{
    if (k < spans.size())
        edits.changed[k] = bytes;
    else
        edits.added[k - spans.size()] = bytes;
}

ManyCardFiles::OpenFile& ManyCardFiles::openFile(std::size_t file, Step step)
{
    const auto known = open_.find(file);
    if (known != open_.end()) return known->second;
    std::erase_if(open_, [](const auto& each) { return !each.second.dirty; }); // hold at most one file without edits
    const FileRecord& record = cards_.index->files()[file];
    OpenFile open;
    auto text = openText(fileStep(step, [&] { return cards_.folder->read(record.name, open.state); }));
    if (!text || open.state != record.state) throw cards_.changedMeanwhile(record, step);
    open.text = std::move(*text);
    open.spans = scanCards(open.text.text).cards;
    if (open.spans.size() != record.cards.size()) throw cards_.changedMeanwhile(record, step);
    return open_.emplace(file, std::move(open)).first->second;
}

SingleCard ManyCardFiles::read(const Place& place, Step step)
{
    const OpenFile& open = openFile(place.file, step);
    SingleCard read;
    read.state = open.state;
    read.bytes = open.card(place.cardIndex());
    read.card = Card::parse(read.bytes);
    return read;
}

StoredCard ManyCardFiles::make(const std::string& uuid, Version version)
{
    StoredCard record;
    record.id = cards_.singleFile + "#urn:uuid:" + uuid;
    record.card = Card::make(uuid, lineEndOf(openFile(kOnlyFile, Step::Add).text.text), version);
    return record;
}

// Prepares a change of the file. Disk space is reserved now, because a save that was reported as done must not fail at the end of the
// batch.
void ManyCardFiles::prepareChange(OpenFile& open, const FileRecord& file, std::int64_t growth, Step step)
{
    if (fileStep(step, [&] { return cards_.folder->stateOf(file.name); }) != open.state) throw cards_.changedMeanwhile(file, step);
    const std::uint64_t grown = open.grown + static_cast<std::uint64_t>(std::max<std::int64_t>(growth, 0));
    const std::uint64_t size = (open.text.text.size() + grown) * (open.wide() ? 2 : 1) + 4;
    if (growth > 0 && size > kMaxFile)
        throw StoreError(step,
                         "The file \"" + cards_.folder->pathOf(file.name) + "\" would be larger than 256 MiB. Use a folder of cards.");
    fileStep(step, [&] {
        if (!open.draft) open.draft = std::make_unique<Folder::Draft>(*cards_.folder);
        open.draft->reserve(size);
    });
    open.grown = grown;
    if (!std::exchange(open.dirty, true)) open.before = file;
}

void ManyCardFiles::stamp(CardRecord& card, std::string_view bytes)
{
    card.hash = hashOf(bytes);
    card.stamp = cards_.index->nextStamp(present(), card.stamp);
    cards_.index->noteChanged();
}

std::string ManyCardFiles::replace(const Place& place, StoredCard& record, const RecordIds& ids)
{
    OpenFile& open = openFile(place.file, Step::Save);
    requireReadBack(cards_, record, open.text.form);
    FileRecord& file = cards_.index->fileAt(place);
    prepareChange(open, file, static_cast<std::int64_t>(record.bytes.size()), Step::Save);
    open.change(place.cardIndex(), record.bytes);
    CardRecord& card = file.cards[place.cardIndex()];
    stamp(card, record.bytes);
    if (!record.card.uid().empty() || card.plain) return record.id;
    // A card without UID is identified by its name, which may have changed.
    const CardRecord renamed = describeCards(record.bytes, {{0, record.bytes.size(), 1}})[0];
    std::string id = file.name + '#' + renamed.token;
    if (card.token.starts_with(renamed.token) || ids.contains(id)) return record.id;
    card.token = renamed.token;
    return id;
}

Place ManyCardFiles::add(StoredCard& record)
{
    OpenFile& open = openFile(kOnlyFile, Step::Save);
    requireReadBack(cards_, record, open.text.form);
    FileRecord& file = cards_.index->files()[kOnlyFile];
    prepareChange(open, file, static_cast<std::int64_t>(record.bytes.size()) + 2, Step::Save);
    CardRecord card{safeToken(record.card.uid()), false, 0, 0};
    stamp(card, record.bytes);
    open.edits.added.push_back(record.bytes);
    file.cards.push_back(std::move(card));
    return {kOnlyFile, static_cast<std::ptrdiff_t>(file.cards.size()) - 1};
}

void ManyCardFiles::remove(const Place& place)
{
    OpenFile& open = openFile(place.file, Step::Delete);
    prepareChange(open, cards_.index->fileAt(place), 0, Step::Delete);
    open.change(place.cardIndex(), {});
}

// Moves the edits to the other program's version of the file. Throws a FileError if both changed the same card.
void ManyCardFiles::merge(const FileRecord& file, OpenFile& open)
{
    FileState state;
    auto fresh = openText(cards_.folder->read(file.name, state));
    const ScanResult scan = fresh ? scanCards(fresh->text) : ScanResult{};
    if (!fresh || scan.error)
        throw FileError("the file \"" + cards_.folder->pathOf(file.name) +
                        "\" was changed by another program and cannot be read. Nothing is written");
    const CardsText theirs{fresh->text, scan.cards};
    try {
        open.edits = carriedOver(open.edits, open.cards(), theirs);
    } catch (const ChangedByBoth& both) {
        const std::string_view bytes = open.cards().card(both.card);
        const std::string id = file.name + '#' + describeCards(open.text.text, open.spans)[both.card].token;
        throw FileError(shown(id, Card::parse(bytes)) + " was changed here and by another program. Nothing is written to \"" +
                        cards_.folder->pathOf(file.name) + "\". Synchronize again");
    }
    open.text = std::move(*fresh);
    open.spans = scan.cards;
    open.state = state;
}

// Writes the file with its edits. Returns the state of the written file, and its content in `edited`.
FileState ManyCardFiles::write(const FileRecord& file, OpenFile& open, EditedText& edited)
{
    constexpr int kTries = 5;
    for (int i = 1;; ++i) {
        if (cards_.folder->stateOf(file.name) != open.state) merge(file, open);
        edited = applied(open.edits, open.cards());
        const ScanResult scan = scanCards(edited.text);
        if (const std::size_t misread = firstMisread(edited, scan); misread < std::max(edited.spans.size(), scan.cards.size())) {
            const CardsText written{edited.text, edited.spans};
            const std::string_view card = written.spans.empty() ? edited.text : written.card(std::min(misread, written.spans.size() - 1));
            throw FileError(shown(file.name, Card::parse(card)) + " would not read back unchanged. Nothing is written to \"" +
                            cards_.folder->pathOf(file.name) + "\"");
        }
        open.draft->write(closeText(open.text, edited.text));
        open.draft->flush();
        try {
            return open.draft->replaceIfSame(file.name, closeText(open.text, open.text.text));
        } catch (const FileError& e) {
            if (e.why() != FileError::Why::Changed || i == kTries) throw;
        }
        open.draft = std::make_unique<Folder::Draft>(*cards_.folder);
        open.state = {}; // forces a merge: the content changed even if the date did not
    }
}

void ManyCardFiles::commitFile(FileRecord& file, OpenFile& open)
{
    EditedText edited;
    const FileState state = write(file, open, edited);
    cards_.unflushed = true;
    describe(file, edited, state);
    if (!edited.spans.empty() || !cards_.singleFile.empty()) return;
    cards_.folder->removeIfSame(file.name, state); // in a folder, a file without cards would count as damaged
    file.gone = true;
}

// Updates the index after the file was written. The cards keep the dates that they got when they were saved.
void ManyCardFiles::describe(FileRecord& file, const EditedText& edited, const FileState& state)
{
    std::unordered_map<std::string, CardRecord> before;
    for (CardRecord& card : file.cards) before.emplace(card.token, card);
    std::vector<CardRecord> cards = describeCards(edited.text, edited.spans);
    for (CardRecord& card : cards) {
        const auto old = before.find(card.token);
        const bool same = old != before.end() && old->second.hash == card.hash;
        card.plain = old != before.end() && old->second.plain;
        card.stamp = same ? old->second.stamp : cards_.index->nextStamp(state.modified, old == before.end() ? 0 : old->second.stamp);
    }
    file.cards = std::move(cards);
    file.categories = categoriesIn(edited.text, edited.spans);
    file.versions = versionsIn(edited.text, edited.spans);
    cards_.index->noteWritten(file, state);
}

bool ManyCardFiles::commit()
{
    const bool any = std::any_of(open_.begin(), open_.end(), [](const auto& each) { return each.second.dirty; });
    for (auto& [file, open] : open_) {
        if (open.dirty) commitFile(cards_.index->files()[file], open);
        open.dirty = false;
    }
    open_.clear();
    return any;
}

// Restores the records that the files had before their first edit.
bool ManyCardFiles::discard()
{
    bool any = false;
    for (auto& [file, open] : open_) {
        if (open.dirty) cards_.index->files()[file] = std::move(open.before);
        any = any || open.dirty;
    }
    open_.clear();
    return any;
}

} // namespace mb::vcard
