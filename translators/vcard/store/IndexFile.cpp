#include "IndexFile.h"

#include "Folder.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>
#include <utility>

namespace mb::vcard {
namespace {

constexpr std::string_view kHeader = "vcard index 4";
constexpr std::string_view kHeaderWithoutVersions = "vcard index 3"; // as earlier versions of this plug-in wrote it

// Reads one line of the file: words separated by blanks, and a rest that may contain blanks.
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

// Returns the records to be written, sorted by name.
std::vector<const FileRecord*> sortedByName(const std::vector<FileRecord>& files)
{
    std::vector<const FileRecord*> sorted;
    for (const FileRecord& file : files)
        if (!file.gone) sorted.push_back(&file);
    // Files are sorted by name, except for added ones at the end.
    const auto byName = [](const FileRecord* a, const FileRecord* b) { return a->name < b->name; };
    const auto added = std::is_sorted_until(sorted.begin(), sorted.end(), byName);
    std::sort(added, sorted.end(), byName);
    std::inplace_merge(sorted.begin(), added, sorted.end(), byName);
    return sorted;
}

// The format: a header; for each file "size modified number stamp badLine bad cards v21 v30 v40 ,categories ,uid name", for a bad file a
// line with the reason, for each card "hash stamp plain token"; a last line with the number of files, which reveals a truncated file.
std::string format(const std::vector<FileRecord>& files)
{
    std::string text = std::string(kHeader) + '\n';
    const auto word = [&](auto number, int base = 10) {
        char digits[24];
        text.append(digits, std::to_chars(digits, std::end(digits), number, base).ptr).append(1, ' ');
    };
    const std::vector<const FileRecord*> sorted = sortedByName(files);
    for (const FileRecord* each : sorted) {
        const FileRecord& file = *each;
        word(file.state.size);
        word(file.state.modified);
        word(file.state.number);
        word(file.stamp);
        word(file.badLine);
        word(file.bad() ? 1 : 0);
        word(file.cards.size());
        for (const std::uint32_t count : file.versions) word(count);
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
    return text;
}

// Returns false if the text is damaged; `files` may contain records then.
bool parse(std::string_view text, std::vector<FileRecord>& files)
{
    std::size_t at = 0;
    const auto line = [&]() -> std::string_view {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        const std::string_view found = text.substr(at, end - at);
        at = std::min(end + 1, text.size());
        return found;
    };
    const std::string_view header = line();
    if (header != kHeader && header != kHeaderWithoutVersions) return false;
    for (;;) {
        Words words(line());
        if (words.rest().starts_with("end ")) return words.rest() == "end " + std::to_string(files.size());
        FileRecord file;
        int bad = 0;
        std::size_t cards = 0;
        if (!words.number(file.state.size) || !words.number(file.state.modified) || !words.number(file.state.number) ||
            !words.number(file.stamp) || !words.number(file.badLine) || !words.number(bad) || !words.number(cards) || cards > text.size())
            return false;
        for (std::uint32_t& count : file.versions)
            if (header == kHeader && !words.number(count)) return false;
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
        files.push_back(std::move(file));
    }
}

} // namespace

std::string indexPathOf(const std::string& database, const std::string& cacheFolder)
{
    if (cacheFolder.empty()) return {};
    std::string name;
    for (std::uint64_t h = hashOf(database); name.size() < 16; h >>= 4) name.insert(name.begin(), "0123456789abcdef"[h & 15]);
    return cacheFolder + "/vcard-" + name + ".index";
}

std::vector<FileRecord> readIndexFile(const std::string& path)
{
    const SplitPath file = splitPath(path);
    std::vector<FileRecord> files;
    try {
        FileState state;
        const Folder folder(file.folder);
        if (parse(folder.read(file.name, state), files)) return files;
    } catch (const FileError&) {
        // There is none yet.
    }
    return {};
}

bool writeIndexFile(const std::string& path, const std::vector<FileRecord>& files)
{
    const std::string text = format(files);
    const SplitPath file = splitPath(path);
    try {
        const Folder folder(file.folder);
        Folder::Draft draft(folder);
        draft.write(text);
        draft.replace(file.name);
        return true;
    } catch (const FileError&) {
        return false;
    }
}

} // namespace mb::vcard
