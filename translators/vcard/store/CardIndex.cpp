#include "CardIndex.h"

#include "Ascii.h"
#include "Card.h"
#include "Charset.h"
#include "FileText.h"
#include "Parallel.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace mb::vcard {
namespace {

constexpr std::string_view kHeader = "vcard index 3";
constexpr int kCategories = 19;
constexpr std::int64_t kTick = 1'000'000; // smallest step of a date: 1 ms

bool holdsFold(std::string_view text, std::string_view upperWord)
{
    const auto same = [](char a, char b) { return upper(a) == b; };
    return std::search(text.begin(), text.end(), upperWord.begin(), upperWord.end(), same) != text.end();
}

// Escapes a UID for use in an identifier, which must not look like a path or contain a line end.
std::string safeToken(std::string_view uid)
{
    std::string token;
    token.reserve(uid.size());
    for (const char c : uid) {
        const auto b = static_cast<unsigned char>(c);
        if (b > 32 && b != 0x7F && c != '/' && c != '\\' && c != '%' && c != '#')
            token += c;
        else
            token += '%' + hex(0x100u + b).substr(1);
    }
    return token;
}

std::string fromSafeToken(std::string_view token)
{
    if (token.find('%') == token.npos) return std::string(token);
    std::string text;
    for (std::size_t i = 0; i < token.size(); ++i) {
        unsigned byte = 0;
        if (token[i] == '%' && i + 2 < token.size() && std::from_chars(&token[i + 1], &token[i + 1] + 2, byte, 16).ec == std::errc()) {
            text += static_cast<char>(byte);
            i += 2;
        } else {
            text += token[i];
        }
    }
    return text;
}

bool isBlankText(std::string_view text) { return text.find_first_not_of(" \t\r\n") == text.npos; }

// Reads one line of the cache: words separated by blanks, and a rest that may contain blanks.
class Words {
public:
    explicit Words(std::string_view line) : rest_(line) {}
    std::string_view next()
    {
        const std::size_t blank = std::min(rest_.find(' '), rest_.size());
        const std::string_view word = rest_.substr(0, blank);
        rest_.remove_prefix(std::min(blank + 1, rest_.size()));
        return word;
    }
    template <class T> bool number(T& n, int base = 10)
    {
        const std::string_view word = next();
        const auto result = std::from_chars(word.data(), word.data() + word.size(), n, base);
        return result.ec == std::errc() && result.ptr == word.data() + word.size();
    }
    std::string_view rest() const { return rest_; }

private:
    std::string_view rest_;
};

std::int64_t now()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

struct LeftIndex {
    std::vector<FileRecord> files;
    std::vector<std::string> leftOut;
    std::int64_t folderChange, listed;
};
bool isOld(std::int64_t listed)
{
    const std::int64_t age = now() - listed;
    return age < 0 || age > 2'000'000'000;
}
std::mutex leftMutex;
std::map<std::string, LeftIndex> leftIndexes; // by folder

} // namespace

std::string hex(std::uint64_t n)
{
    char buffer[17];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, n, 16);
    return {buffer, end.ptr};
}

std::uint64_t hashOf(std::string_view bytes)
{
    std::uint64_t h = 14695981039346656037u; // FNV-1a
    for (const char c : bytes) h = (h ^ static_cast<unsigned char>(c)) * 1099511628211u;
    return h;
}

std::string uidTokenOf(std::string_view card)
{
    if (!holdsFold(card, "UID")) return {};
    return safeToken(Card::parse(card).uid());
}

std::array<std::string, 2> uidsOfName(std::string_view fileName)
{
    const std::string_view stem = fileName.substr(0, fileName.rfind('.'));
    return {safeToken(stem), safeToken("urn:uuid:" + std::string(stem))};
}

namespace {

bool isUidOfName(const std::string& token, const std::string& fileName)
{
    // Comparing the last character rules out most UIDs without building tokens of the file name.
    return fileName.size() > 4 && token.ends_with(fileName[fileName.size() - 5]) && std::ranges::count(uidsOfName(fileName), token) > 0;
}

} // namespace

std::string FileRecord::id() const { return uid.empty() || isUidOfName(uid, name) ? name : name + '#' + uid; }

std::vector<CardRecord> describeCards(std::string_view text, const std::vector<CardSpan>& spans)
{
    std::vector<CardRecord> cards;
    std::unordered_map<std::string, int> seen;
    cards.reserve(spans.size());
    for (const CardSpan& span : spans) {
        const std::string_view bytes = text.substr(span.begin, span.end - span.begin);
        const Card card = Card::parse(bytes);
        const std::string uid = card.uid();
        std::string token = uid.empty() ? '~' + hex(hashOf(card.nameKey())) : safeToken(uid);
        const int count = ++seen[token];
        if (count > 1) token += '~' + std::to_string(count);
        cards.push_back({std::move(token), false, hashOf(bytes), 0});
    }
    return cards;
}

// Only cards that contain the word are parsed: most cards have no categories.
std::string categoriesIn(std::string_view text, const std::vector<CardSpan>& spans)
{
    constexpr std::string_view name = "CATEGORIES";
    std::string all;
    for (const CardSpan& span : spans) {
        const std::string_view bytes = text.substr(span.begin, span.end - span.begin);
        if (!holdsFold(bytes, name)) continue;
        const std::string found = toUtf8(Card::parse(bytes).get(kCategories));
        if (!found.empty()) all.append(all.empty() ? "" : ",").append(found);
    }
    return all;
}

CardIndex::CardIndex(const Folder& folder, std::string singleFile, std::string cachePath)
    : folder_(folder), singleFile_(std::move(singleFile)), cachePath_(std::move(cachePath))
{
}

std::int64_t CardIndex::nextStamp(std::int64_t modified, std::int64_t before) const
{
    return modified > before ? modified : before + kTick;
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

void CardIndex::refresh(const plugin::Report& report)
{
    if (!takeLeft()) compare();
    for (const std::string& name : leftOut_)
        report(plugin::Finding::LeftOut, folder_.pathOf(name) + ": left out, the file name is not valid UTF-8");
    for (FileRecord& file : files_) {
        if (file.bad()) report(plugin::Finding::LeftOut, folder_.pathOf(file.faultyPlace()) + ": left out, " + file.badText);
        if (const std::size_t line = std::exchange(file.noProperty, 0))
            report(plugin::Finding::Note,
                   folder_.pathOf(file.name) + ", line " + std::to_string(line) + ": no property of a card, the line is kept as it is");
    }
}

void CardIndex::compare()
{
    if (!cachePath_.empty()) load();
    constexpr int kTries = 5;
    for (int i = 1; !compareOnce() && i < kTries; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

// Returns false if another program renamed or removed files meanwhile: a renamed file may then be missing under both of its names.
bool CardIndex::compareOnce()
{
    Folder::Listing listing;
    folderChange_ = folder_.lastChange();
    listed_ = now();
    if (singleFile_.empty()) {
        listing = folder_.list();
    } else {
        const auto state = folder_.stateOf(singleFile_);
        if (!state) throw FileError("the file \"" + folder_.pathOf(singleFile_) + "\" does not exist", FileError::Why::Missing);
        listing.files.push_back({singleFile_, *state, {}});
    }
    leftOut_ = std::move(listing.unreadable);

    struct Unknown {
        std::size_t at; // index in `found` and `listing.files`
        FileRecord* old;
    };
    std::vector<FileRecord> found(listing.files.size());
    std::vector<Unknown> unknown;
    std::size_t next = 0; // both lists are sorted by name
    for (std::size_t i = 0; i < found.size(); ++i) {
        const FileEntry& entry = listing.files[i];
        while (next < files_.size() && files_[next].name < entry.name) ++next;
        FileRecord* old = next < files_.size() && files_[next].name == entry.name ? &files_[next++] : nullptr;
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
    changed_ = changed_ || !unknown.empty() || files_.size() != found.size();
    files_ = std::move(found);
    return settled;
}

// A file with the UID that a file of another name had is that file, renamed: it keeps the date, or gets a later one if it was also changed.
// Requires: files_ holds only the records of files that are gone or changed.
void CardIndex::keepDatesOfRenamed(const std::vector<FileRecord*>& examined) const
{
    std::unordered_map<std::string_view, const FileRecord*> byUid;
    for (const FileRecord& file : files_)
        if (!file.uid.empty() && !byUid.emplace(file.uid, &file).second) byUid[file.uid] = nullptr; // a UID of two cards matches neither
    for (FileRecord* file : examined) {
        const auto found = file->uid.empty() || file->bad() ? byUid.end() : byUid.find(file->uid);
        if (found == byUid.end() || !found->second || found->second->name == file->name) continue;
        const FileRecord& before = *found->second;
        file->stamp = file->state == before.state ? before.stamp : nextStamp(file->state.modified, before.stamp);
    }
}

void CardIndex::leave()
{
    constexpr std::int64_t kGrain = 100'000'000; // a change just before the listing cannot be told from one just after it
    if (!singleFile_.empty() || folderChange_ == 0 || listed_ - folderChange_ < kGrain) return;
    const std::lock_guard lock(leftMutex);
    std::erase_if(leftIndexes, [&](const auto& left) { return isOld(left.second.listed); });
    leftIndexes[folder_.pathOf({})] = {std::move(files_), std::move(leftOut_), folderChange_, listed_};
    files_.clear();
    leftOut_.clear();
}

bool CardIndex::takeLeft()
{
    const std::lock_guard lock(leftMutex);
    auto node = leftIndexes.extract(folder_.pathOf({}));
    if (!node || !singleFile_.empty() || isOld(node.mapped().listed) || node.mapped().folderChange != folder_.lastChange()) return false;
    files_ = std::move(node.mapped().files);
    leftOut_ = std::move(node.mapped().leftOut);
    return true;
}

// Format of the cache: a header; for each file "size modified number stamp badLine bad cards ,categories ,uid name", for a bad file a line
// with the reason, for each card "hash stamp plain token"; a last line with the number of files, which reveals a truncated cache.
void CardIndex::save()
{
    if (!changed_ || cachePath_.empty()) return;
    std::string text = std::string(kHeader) + '\n';
    const auto word = [&](auto number, int base = 10) {
        char digits[24];
        text.append(digits, std::to_chars(digits, std::end(digits), number, base).ptr).append(1, ' ');
    };
    std::vector<const FileRecord*> sorted;
    for (const FileRecord& file : files_)
        if (!file.gone) sorted.push_back(&file);
    // Files are sorted by name, except for added ones at the end.
    const auto byName = [](const FileRecord* a, const FileRecord* b) { return a->name < b->name; };
    const auto added = std::is_sorted_until(sorted.begin(), sorted.end(), byName);
    std::sort(added, sorted.end(), byName);
    std::inplace_merge(sorted.begin(), added, sorted.end(), byName);
    for (const FileRecord* each : sorted) {
        const FileRecord& file = *each;
        word(file.state.size);
        word(file.state.modified);
        word(file.state.number);
        word(file.stamp);
        word(file.badLine);
        word(file.bad() ? 1 : 0);
        word(file.cards.size());
        text.append(",")
            .append(safeToken(file.categories))
            .append(" ,")
            .append(file.uid)
            .append(" ")
            .append(safeToken(file.name))
            .append("\n");
        if (file.bad()) text.append(safeToken(file.badText)).append("\n");
        for (const CardRecord& card : file.cards) {
            word(card.hash, 16);
            word(card.stamp);
            word(card.plain ? 1 : 0);
            text.append(card.token).append("\n");
        }
    }
    text += "end " + std::to_string(sorted.size()) + '\n';
    const SplitPath cache = splitPath(cachePath_);
    try {
        const Folder cacheFolder(cache.folder);
        Folder::Draft draft(cacheFolder);
        draft.write(text);
        draft.replace(cache.name);
        changed_ = false;
    } catch (const FileError&) {
        // Harmless: without a cache the next run opens every card once.
    }
}

void CardIndex::load()
{
    const SplitPath cache = splitPath(cachePath_);
    try {
        FileState state;
        const Folder cacheFolder(cache.folder);
        if (parse(cacheFolder.read(cache.name, state))) return;
    } catch (const FileError&) {
        // no cache yet
    }
    files_.clear();
}

bool CardIndex::parse(std::string_view text)
{
    std::size_t at = 0;
    const auto line = [&]() -> std::string_view {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        const std::string_view found = text.substr(at, end - at);
        at = std::min(end + 1, text.size());
        return found;
    };
    if (line() != kHeader) return false;
    for (;;) {
        Words words(line());
        if (words.rest().starts_with("end ")) return words.rest() == "end " + std::to_string(files_.size());
        FileRecord file;
        int bad = 0;
        std::size_t cards = 0;
        if (!words.number(file.state.size) || !words.number(file.state.modified) || !words.number(file.state.number) ||
            !words.number(file.stamp) || !words.number(file.badLine) || !words.number(bad) || !words.number(cards) || cards > text.size())
            return false;
        const std::string_view categories = words.next(), uid = words.next();
        if (!categories.starts_with(',') || !uid.starts_with(',') || words.rest().empty()) return false;
        file.categories = fromSafeToken(categories.substr(1));
        file.uid = uid.substr(1);
        file.name = fromSafeToken(words.rest());
        if (bad) file.badText = fromSafeToken(line());
        file.cards.resize(cards);
        for (CardRecord& card : file.cards) {
            Words w(line());
            int plain = 0;
            if (!w.number(card.hash, 16) || !w.number(card.stamp) || !w.number(plain) || w.rest().empty()) return false;
            card.plain = plain != 0;
            card.token = w.rest();
        }
        files_.push_back(std::move(file));
    }
}

} // namespace mb::vcard
