// The index of the files of a store: which cards each file contains, whether it can be read, and the modification date of each card. A date
// moves forward with each change; in a file of several cards only the dates of the changed cards move. The index is kept between runs in a
// small file in the user's cache folder. Without that file the next run opens every card once and rebuilds the index.
//
// The identifier of a card is its file name, "#" and its UID, so that whoever knows the identifier can find the card in a renamed file.
// Exceptions:
// - In a folder the file name alone identifies a card without UID that is alone in its file, and a card whose UID is the file name, as in
//   files that this plug-in creates.
// - In a file of several cards, a card without UID has "~" and a hash of the contact's name in place of the UID. If two cards would get the
//   same identifier, "~2" is appended to the second.
// - In a folder the first card of a file of several keeps the bare file name if it has no UID, because that was its identifier while it was
//   alone.
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
    std::string token;      // the part of the identifier behind "#"
    bool plain = false;     // the identifier is the bare file name
    std::uint64_t hash = 0; // of its bytes
    std::int64_t stamp = 0; // date: nanoseconds since 1970, UTC
};

struct FileRecord {
    std::string name;
    FileState state;
    std::int64_t stamp = 0;        // date of a file with one card
    std::string uid;               // token of a file with one card; empty for none
    std::vector<CardRecord> cards; // in the order of the file; empty for a file that is one record
    std::string categories;        // of all its cards, comma-separated
    std::size_t badLine = 0;       // with badText: why the file cannot be read
    std::string badText;
    bool gone = false;          // this run deleted the file
    std::size_t noProperty = 0; // number of the first line that is not a property, until it was reported

    bool bad() const { return !badText.empty(); }
    // Returns the file name, with the line of the fault if it is known.
    std::string faultyPlace() const { return badLine ? name + ", line " + std::to_string(badLine) : name; }
    std::string id() const; // of a file that is one record
    std::string idOf(const CardRecord& card) const { return card.plain ? name : name + '#' + card.token; }
};

std::uint64_t hashOf(std::string_view bytes);
std::string hex(std::uint64_t n);
// Returns the UID of a card as a token, which is the form it has in identifiers; empty for none.
std::string uidTokenOf(std::string_view card);
// Returns the two tokens of UIDs that equal the file name: NAME and urn:uuid:NAME.
std::array<std::string, 2> uidsOfName(std::string_view fileName);
// Returns the tokens and hashes of the cards of a text, in the order of the spans.
std::vector<CardRecord> describeCards(std::string_view text, const std::vector<CardSpan>& spans);
// Returns the categories of all cards of a text, comma-separated.
std::string categoriesIn(std::string_view text, const std::vector<CardSpan>& spans);

class CardIndex {
public:
    // `singleFile` is the name of the only file of the store; empty for all files of the folder. With an empty `cachePath` nothing is kept
    // between runs.
    CardIndex(const Folder& folder, std::string singleFile, std::string cachePath);

    // Lists the folder and opens the files that are new or changed. Reports every file that is left out, and each changed file that has a
    // line that is not a property. Throws a FileError if the folder or a file cannot be read, because its cards would otherwise be taken
    // for deleted.
    void refresh(const plugin::Report& report);
    void save(); // writes the cache if anything changed
    // Hands the contents to the next index of the same folder, which takes them if it is created within two seconds and the folder's list
    // of names is unchanged. This index may be empty afterwards. A run opens a folder twice: for its categories and for its contacts.
    void leave();

    std::vector<FileRecord>& files() { return files_; }
    // Records the state of a file that this program wrote.
    void noteWritten(FileRecord& file, const FileState& state);
    void noteChanged() { changed_ = true; }
    // Returns the date of a change: that of the file, or a later one if it is not after the card's date `before`.
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
    std::int64_t folderChange_ = 0, listed_ = 0; // when the list of names last changed, and when it was read
    bool changed_ = false;
};

} // namespace mb::vcard
