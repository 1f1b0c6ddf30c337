// Cuts the text of a vCard file into logical lines and cards, and says what is wrong with it and where.
// Every byte of the text belongs to exactly one line, so the lines put together are the text again.
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
inline constexpr int kMaxDepth = 32;                // cards inside cards

// The line end of the first line; CR LF if there is none.
std::string_view lineEndOf(std::string_view text);

struct RawLine {
    enum class Kind {
        Property,
        Begin,
        End,
        Blank,
        NoProperty // has no colon, or no name in front of it: a comment, or a line that another program broke
    };
    Kind kind = Kind::Blank;
    std::string_view bytes; // with folds and line end
    std::size_t number = 0; // of its first physical line, from 1
};

// One logical line: a physical line with what folding, a soft line break, base64 or a trailing backslash joins to it.
class LineReader {
public:
    explicit LineReader(std::string_view text, std::size_t firstNumber = 1);
    bool next(RawLine& line);

private:
    struct Physical {
        std::size_t begin, contentEnd, end;
    };
    Physical physicalAt(std::size_t at) const;
    // The logical line so far.
    struct Head {
        std::size_t begin, end;
        bool backslash;                   // ends in a backslash that is not escaped
        std::optional<Encoding> encoding; // once it was asked for and the header has ended
    };
    Encoding encodingOf(Head& head) const;
    bool continues(Head& head, std::string_view last, std::string_view following) const;

    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t number_;
    char lineEnd_; // LF; CR in a file that has no LF
};

struct ParseError {
    std::size_t line;
    std::string message;
};

struct CardSpan {
    std::size_t begin, end; // offsets in the text: from BEGIN to the line end behind END
    std::size_t line;
};

struct ScanResult {
    std::vector<CardSpan> cards;
    std::optional<ParseError> error;
    std::size_t noProperty = 0; // the number of the first line that is no property, 0 for none
};

// The cards of a whole file. An error means that the bounds of its cards are uncertain, so no part of the file is to be trusted.
// Lines that are no properties do not count as errors, inside of a card or outside: a card keeps them as they stand.
ScanResult scanCards(std::string_view text);

} // namespace mb::vcard
