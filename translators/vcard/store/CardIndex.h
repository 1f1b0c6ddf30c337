// What is known of the files of a store without opening them: which cards they hold, whether they can be read, and a date for
// each card that moves when the card changes and only then. Kept between runs in a small file in the user's cache folder;
// without that file the next run opens every card once and knows it all again.
//
// Identifiers. A card is known by its file's name, "#" and its UID, so that a card is found again under another file name: what was known
// of the card is in whoever remembers the identifier. In a folder the name alone is the identifier of a card without UID that has its file
// for itself, and of a card whose UID is the name, as new cards have it. In a file of several cards a card without UID has "~" and a number
// made from its contact's name instead of the UID, and a second card that would get the same identifier a "~2" behind it. In a folder, the
// first card of such a file keeps the bare file name if it has no UID, because it had it while it was alone.
#pragma once
#include "Folder.h"
#include "LineReader.h"
#include "RecordStore.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace mb::vcard {

struct CardRecord {
    std::string token;      // behind the "#"
    bool plain = false;     // known by the bare file name
    std::uint64_t hash = 0; // of its bytes
    std::int64_t stamp = 0; // nanoseconds since 1970, UTC
};

struct FileRecord {
    std::string name;
    FileState state;
    std::int64_t stamp = 0;        // of a file with one card
    std::string uid;               // of a file with one card, as part of an identifier; empty for none
    std::vector<CardRecord> cards; // in the order of the file; empty for a file that is one record
    std::string categories;        // of all its cards, separated by commas
    std::size_t badLine = 0;       // with badText: why the file cannot be read
    std::string badText;
    bool gone = false;          // deleted in this run
    std::size_t noProperty = 0; // the first line that is no property, until it was reported

    bool bad() const { return !badText.empty(); }
    // The name, with the line of the fault if the fault has one.
    std::string faultyPlace() const { return badLine ? name + ", line " + std::to_string(badLine) : name; }
    std::string id() const; // of a file that is one record
    std::string idOf(const CardRecord& card) const { return card.plain ? name : name + '#' + card.token; }
};

std::uint64_t hashOf(std::string_view bytes);
std::string hex(std::uint64_t n);
// The UID of a card as part of an identifier; empty for none.
std::string uidTokenOf(std::string_view card);
// The two UIDs, as parts of identifiers, that say no more than the name of their file.
std::array<std::string, 2> uidsOfName(std::string_view fileName);
// The identity of the cards of a text, in the order of the spans.
std::vector<CardRecord> describeCards(std::string_view text, const std::vector<CardSpan>& spans);
// What the cards of a text bear as categories, separated by commas.
std::string categoriesIn(std::string_view text, const std::vector<CardSpan>& spans);

class CardIndex {
public:
    // singleFile is the name of the only file to look at, or empty for all of the folder. The cache is left alone if cachePath is empty.
    CardIndex(const Folder& folder, std::string singleFile, std::string cachePath);

    // Compares the folder with what is known and opens what is new. Reports every file that is left out, and once each
    // changed file with a line that is no property. Throws a FileError if the
    // folder or a file cannot be read: nothing is known of its cards then, and absent cards would pass for deleted ones.
    void refresh(const plugin::Report& report);
    void save(); // the cache, if anything changed
    // Leaves what is known to the next index of the same folder, if that is made at once and the folder's names are the same; this one
    // knows of no file any more. A run opens a folder twice, for its categories and for its cards.
    void leave();

    std::vector<FileRecord>& files() { return files_; }
    // A file's record after its state was changed by this program.
    void noteWritten(FileRecord& file, const FileState& state);
    void noteChanged() { changed_ = true; }
    std::int64_t nextStamp(std::int64_t modified, std::int64_t before) const;

private:
    bool takeLeft();
    void compare();
    bool compareOnce();
    void load();
    bool parse(std::string_view text);
    FileRecord examine(const FileEntry& entry, FileRecord* known) const;
    void keepDatesOfRenamed(const std::vector<FileRecord*>& examined) const;

    const Folder& folder_;
    std::string singleFile_, cachePath_;
    std::vector<FileRecord> files_;
    std::vector<std::string> leftOut_;
    std::int64_t folderChange_ = 0, listed_ = 0; // when the folder's names changed last, and when they were read
    bool changed_ = false;
};

} // namespace mb::vcard
