// What the index knows of a file and of the cards in it, and the identifiers of the cards.
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

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

struct CardRecord {
    std::string token;      // the part of the identifier behind "#"
    bool plain = false;     // the identifier is the bare file name
    std::uint64_t hash = 0; // of its bytes
    std::int64_t stamp = 0; // date: nanoseconds since 1970, UTC
};

using VersionCounts = std::array<std::uint32_t, 3>; // numbers of cards, by Version

struct FileRecord {
    std::string name;
    FileState state;
    std::int64_t stamp = 0;        // date of a file with one card
    std::string uid;               // token of a file with one card; empty for none
    std::vector<CardRecord> cards; // in the order of the file; empty for a file that is one record
    std::string categories;        // of all its cards, comma-separated
    VersionCounts versions{};      // of its cards; no card if that is unknown
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

// Where a record is in an index.
struct Place {
    std::size_t file;    // index of the FileRecord
    std::ptrdiff_t card; // index of the CardRecord; -1: the file is the record

    bool isFile() const { return card < 0; }
    std::size_t cardIndex() const { return static_cast<std::size_t>(card); } // requires: !isFile()
};

std::int64_t present(); // nanoseconds since 1970, UTC
std::uint64_t hashOf(std::string_view bytes);
std::string hex(std::uint64_t n);

// A token is a UID as it is written in an identifier: escaped, so that it neither looks like a path nor contains a line end.
std::string safeToken(std::string_view uid);
std::string fromSafeToken(std::string_view token);
// Returns the token of a card's UID; empty for none.
std::string uidTokenOf(std::string_view card);
// Returns the tokens of the two UIDs that equal the file name: NAME and urn:uuid:NAME.
std::array<std::string, 2> uidsOfName(std::string_view fileName);
bool isUidOfName(const std::string& token, const std::string& fileName);

// Returns the tokens and hashes of the cards of a text, in the order of the spans.
std::vector<CardRecord> describeCards(std::string_view text, const std::vector<CardSpan>& spans);
// Returns the categories of all cards of a text, comma-separated.
std::string categoriesIn(std::string_view text, const std::vector<CardSpan>& spans);

// Returns how many cards of a text have each version.
VersionCounts versionsIn(std::string_view text, const std::vector<CardSpan>& spans);

} // namespace mb::vcard
