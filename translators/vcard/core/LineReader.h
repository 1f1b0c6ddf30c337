// Splits the text of a vCard file into logical lines and cards, and locates errors. Every byte belongs to exactly one line, so the
// concatenated lines are the original text.
#pragma once
#include "LineHeader.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

inline constexpr std::size_t kMaxFile = 256u << 20; // octets
inline constexpr std::size_t kMaxLine = 32u << 20;  // octets of one logical line
inline constexpr int kMaxDepth = 32;                // nested cards

// Returns the line end of the first line; CR LF if there is none.
std::string_view lineEndOf(std::string_view text);

struct RawLine {
    enum class Kind {
        Property,
        Begin,
        End,
        Blank,
        NoProperty // no colon, or no name in front of it: a comment, or a line that another program broke
    };
    Kind kind = Kind::Blank;
    std::string_view bytes; // with folds and line end
    std::size_t number = 0; // of its first physical line, counted from 1
};

// Reads logical lines: a physical line with those that folding, a soft line break, base64 or a trailing backslash joins to it.
class LineReader {
public:
    explicit LineReader(std::string_view text, std::size_t firstNumber = 1);
    bool next(RawLine& line);

private:
    struct Physical {
        std::size_t begin, contentEnd, end;
    };
    Physical physicalAt(std::size_t at) const;
    // The logical line as read so far.
    struct Head {
        std::size_t begin, end;
        bool backslash;                   // ends in an unescaped backslash
        std::optional<Encoding> encoding; // known once it was asked for and the header is complete
    };
    Encoding encodingOf(Head& head) const;
    bool continues(Head& head, std::string_view last, const Physical& following) const;
    bool foldsHoldColon(const Physical& line) const;

    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t number_;
    char lineEnd_; // LF; CR in a file without LF
};

struct ParseError {
    std::size_t line;
    std::string message;
};

struct CardSpan {
    std::size_t begin, end; // offsets in the text: BEGIN, and behind the line end of END
    std::size_t line;
};

struct ScanResult {
    std::vector<CardSpan> cards;
    std::optional<ParseError> error;
    std::size_t noProperty = 0; // number of the first line that is not a property, 0 for none
};

// Finds the cards of a whole file. An error means that the bounds of the cards are uncertain; no cards are returned then. Lines that are
// not properties are no error, inside or outside of a card: they are kept unchanged.
ScanResult scanCards(std::string_view text);

} // namespace mb::vcard
