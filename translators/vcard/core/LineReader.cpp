#include "LineReader.h"

#include "Ascii.h"
#include "LineHeader.h"

namespace mb::vcard {
namespace {

constexpr auto npos = std::string_view::npos;

bool isBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && (isBlank(text.back()) || text.back() == '\r')) text.remove_suffix(1);
    return text;
}

// Some programs write BEGIN:VCARD and END:VCARD with a group or blanks around them.
RawLine::Kind kindOf(std::string_view content)
{
    content = trimmed(content);
    if (content.empty()) return RawLine::Kind::Blank;
    if (upper(content.back()) != 'D') return RawLine::Kind::Property; // most lines differ here
    const std::size_t colon = content.find(':');
    if (colon == npos || !equalFold(trimmed(content.substr(colon + 1)), "VCARD")) return RawLine::Kind::Property;
    const std::string_view head = trimmed(content.substr(0, colon)), name = head.substr(head.rfind('.') + 1);
    if (equalFold(name, "BEGIN")) return RawLine::Kind::Begin;
    return equalFold(name, "END") ? RawLine::Kind::End : RawLine::Kind::Property;
}

// Returns whether the line has a colon, and in front of it a name that is not a comment.
bool hasName(std::string_view line)
{
    const std::string_view name = trimmed(line.substr(0, line.find_first_of(":;")));
    return !name.empty() && name.front() != '#' && line.find(':') != npos;
}

// Returns whether the line is a prefix of BEGIN:VCARD, as at the end of a truncated file.
bool isCutBegin(std::string_view line)
{
    constexpr std::string_view begin = "BEGIN:VCARD";
    while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
    line = trimmed(line);
    return equalFold(line, begin.substr(0, line.size()));
}

// Returns whether the logical line ends in an unescaped backslash after `physical`. `before` is the answer for the part in front of a fold.
bool endsLogicalLineInBackslash(std::string_view physical, bool isFold, bool before)
{
    const std::string_view text = isFold ? physical.substr(1) : physical;
    const bool lone = endsInLoneBackslash(text);
    return isFold && text.find_first_not_of('\\') == npos ? lone != before : lone;
}

} // namespace

std::string_view lineEndOf(std::string_view text)
{
    std::size_t end = text.find_first_of("\r\n");
    if (end == npos) return "\r\n";
    const std::size_t begin = end;
    while (end < text.size() && text[end] == '\r') ++end;
    if (end < text.size() && text[end] == '\n') ++end;
    const std::string_view found = text.substr(begin, end - begin);
    for (const std::string_view known : {"\r\n", "\n", "\r\r\n", "\r"})
        if (found == known) return known;
    return "\r\n";
}

LineReader::LineReader(std::string_view text, std::size_t firstNumber)
    : text_(text), number_(firstNumber), lineEnd_(text.find('\n') == npos ? '\r' : '\n')
{
}

LineReader::Physical LineReader::physicalAt(std::size_t at) const
{
    const std::size_t found = text_.find(lineEnd_, at);
    if (found == npos) return {at, text_.size(), text_.size()};
    std::size_t content = found;
    while (content > at && text_[content - 1] == '\r') --content;
    return {at, content, found + 1};
}

Encoding LineReader::encodingOf(Head& head) const
{
    if (head.encoding) return *head.encoding;
    const std::string_view soFar = text_.substr(head.begin, head.end - head.begin);
    const std::size_t colon = findOutsideQuotes(soFar, ':', 0);
    if (colon == npos) return Encoding::Plain; // the header continues on the next line
    head.encoding = vcard::encodingOf(soFar.substr(0, colon));
    return *head.encoding;
}

// Returns whether one of the folds after the line has a colon.
bool LineReader::foldsHoldColon(const Physical& line) const
{
    for (std::size_t at = line.end; at < text_.size() && isBlank(text_[at]);) {
        const Physical fold = physicalAt(at);
        if (text_.substr(at, fold.contentEnd - at).find(':') != npos) return true;
        at = fold.end;
    }
    return false;
}

bool LineReader::continues(Head& head, std::string_view last, const Physical& next) const
{
    const std::string_view following = text_.substr(next.begin, next.contentEnd - next.begin);
    if (following.empty()) return false;
    if (isBlank(following.front())) return true;
    if (const RawLine::Kind kind = kindOf(following); kind == RawLine::Kind::Begin || kind == RawLine::Kind::End) return false;
    if (last.ends_with('=') && encodingOf(head) == Encoding::QuotedPrintable) return true;
    if (following.find(':') != npos) return false;
    // A line of base64 contains no semicolon, and no colon in its folds; a header whose colon is on a later line does.
    return head.backslash || (encodingOf(head) == Encoding::Base64 && following.find(';') == npos && !foldsHoldColon(next));
}

bool LineReader::next(RawLine& line)
{
    if (at_ >= text_.size()) return false;
    Physical current = physicalAt(at_);
    const std::size_t begin = current.begin;
    std::string_view content = text_.substr(begin, current.contentEnd - begin);
    line = {kindOf(content), content, number_++};
    Head head{begin, current.contentEnd, endsInLoneBackslash(content), {}};
    while (line.kind == RawLine::Kind::Property && current.end < text_.size()) {
        const Physical following = physicalAt(current.end);
        if (!continues(head, content, following)) break;
        current = following;
        content = text_.substr(following.begin, following.contentEnd - following.begin);
        head.end = current.contentEnd;
        head.backslash = endsLogicalLineInBackslash(content, isBlank(content.front()), head.backslash);
        ++number_;
    }
    at_ = current.end;
    line.bytes = text_.substr(begin, current.end - begin);
    if (line.kind == RawLine::Kind::Property && !hasName(line.bytes)) line.kind = RawLine::Kind::NoProperty;
    return true;
}

ScanResult scanCards(std::string_view text)
{
    ScanResult result;
    const auto fail = [&](std::size_t line, std::string message) {
        result.cards.clear();
        result.error = ParseError{line, std::move(message)};
        return result;
    };
    LineReader reader(text);
    RawLine line;
    CardSpan card{};
    int depth = 0;
    while (reader.next(line)) {
        const auto offset = static_cast<std::size_t>(line.bytes.data() - text.data());
        if (line.bytes.find('\0') != npos) return fail(line.number, "the text contains a NUL byte");
        if (line.bytes.size() > kMaxLine) return fail(line.number, "the line is longer than 32 MiB");
        switch (line.kind) {
        case RawLine::Kind::Begin:
            if (depth == 0) card = {offset, 0, line.number};
            if (++depth > kMaxDepth) return fail(line.number, "cards are nested more than 32 deep");
            break;
        case RawLine::Kind::End:
            if (depth == 0) return fail(line.number, "END:VCARD without BEGIN:VCARD");
            if (--depth > 0) break;
            card.end = offset + line.bytes.size();
            result.cards.push_back(card);
            break;
        case RawLine::Kind::Property:
            if (depth == 0) return fail(line.number, "text outside of a card, BEGIN:VCARD is missing");
            break;
        case RawLine::Kind::NoProperty:
            if (depth == 0 && isCutBegin(line.bytes)) return fail(line.number, "the file ends in the middle of a card");
            if (result.noProperty == 0) result.noProperty = line.number;
            break;
        case RawLine::Kind::Blank: break;
        }
    }
    if (depth > 0) return fail(card.line, "the card that begins here has no END:VCARD");
    if (result.cards.empty()) return fail(1, "no card, BEGIN:VCARD is missing");
    return result;
}

} // namespace mb::vcard
