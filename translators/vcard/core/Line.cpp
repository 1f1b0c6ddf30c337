#include "Line.h"

#include "Ascii.h"
#include "Charset.h"
#include "LineHeader.h"
#include "Transfer.h"

#include <algorithm>

namespace mb::vcard {
namespace {

constexpr auto npos = std::string_view::npos;
constexpr std::size_t kFoldAt = 75;

bool isFold(std::string_view text, std::size_t lineEnd)
{
    return lineEnd + 1 < text.size() && (text[lineEnd + 1] == ' ' || text[lineEnd + 1] == '\t');
}

// Joins the physical lines. Version 2.1 folds in front of a blank of the text; later versions insert the blank. If a line was joined only
// because the one before it ends in a backslash, the backslash becomes a line break of the text.
std::string unfold(std::string_view text, Version version, bool keepSoftBreaks)
{
    std::string joined;
    joined.reserve(text.size());
    const bool bareReturns = text.find('\n') == npos; // an old file whose lines end in CR alone
    std::size_t lineStart = 0;                        // in `joined`: begin of the current physical line with its folds
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::size_t end = i;
        while (end < text.size() && text[end] == '\r') ++end;
        if (end == text.size() || text[end] != '\n') {
            if (end == i || !bareReturns || !isFold(text, i))
                joined.append(text.substr(i, std::max(end - i, std::size_t{1})));
            else if (version != Version::V21)
                ++end;
            i = std::max(end, i + 1) - 1;
            continue;
        }
        const bool folded = isFold(text, end);
        if (keepSoftBreaks && joined.ends_with('='))
            joined += '\n';
        else if (folded)
            end += version == Version::V21 ? 0 : 1;
        else if (endsInLoneBackslash(std::string_view(joined).substr(lineStart)))
            joined.back() = '\n';
        if (!folded) lineStart = joined.size();
        i = end;
    }
    return joined;
}

// The first `whole` octets stay on one line.
std::string fold(std::string_view line, std::size_t whole, std::string_view eol)
{
    std::string folded;
    std::size_t room = std::max(kFoldAt, whole);
    while (line.size() > room) {
        std::size_t cut = room;
        while (cut > room - 4 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80) --cut;
        if (endsInLoneBackslash(line.substr(0, cut))) --cut; // never split an escape sequence
        folded.append(line.substr(0, cut)).append(eol).append(" ");
        line.remove_prefix(cut);
        room = kFoldAt - 1;
    }
    return folded.append(line);
}

std::u16string withPlainNewlines(std::u16string text)
{
    if (text.find(u'\r') == std::u16string::npos) return text;
    std::u16string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != u'\r')
            plain += text[i];
        else if (i + 1 == text.size() || text[i + 1] != u'\n')
            plain += u'\n';
    }
    return plain;
}

bool ownsParam(std::string_view text, std::string_view name)
{
    const std::size_t equals = text.find('=');
    return equalFold(equals == npos ? bareWordName(text) : text.substr(0, equals), name);
}

} // namespace

Line Line::opaque(std::string_view raw)
{
    Line line;
    line.raw_ = raw;
    return line;
}

Line Line::make(std::string header, std::string_view eol)
{
    Line line;
    line.header_ = std::move(header);
    line.eol_ = eol;
    line.textKnown_ = true;
    line.parseHeader();
    return line;
}

Line Line::parse(std::string_view raw, Version version)
{
    Line line = opaque(raw);
    std::size_t content = raw.size();
    while (content > 0 && (raw[content - 1] == '\n' || raw[content - 1] == '\r')) --content;
    line.eol_ = raw.substr(content);
    raw = raw.substr(0, content);
    const bool folded = raw.find('\n') != npos || raw.find('\r') != npos;
    const auto split = [&](std::string_view joined) {
        const std::size_t colon = endOfHeader(joined);
        line.header_ = joined.substr(0, colon);
        line.body_ = colon == npos ? std::string_view() : joined.substr(colon + 1);
    };
    split(folded ? unfold(raw, version, false) : raw);
    line.parseHeader();
    if (folded && line.quotedPrintable()) split(unfold(raw, version, true));
    return line;
}

void Line::parseHeader()
{
    params_.clear();
    encoding_ = encodingOf(header_);
    const std::string_view header = header_;
    std::size_t at = std::min(header.find(';'), header.size());
    std::string_view name = header.substr(0, at);
    while (!name.empty() && (name.front() == ' ' || name.front() == '\t')) name.remove_prefix(1);
    while (!name.empty() && (name.back() == ' ' || name.back() == '\t')) name.remove_suffix(1);
    const std::size_t dot = name.rfind('.');
    group_ = dot == npos ? std::string() : upperCopy(name.substr(0, dot));
    name_ = upperCopy(dot == npos ? name : name.substr(dot + 1));
    while (at < header.size()) {
        const std::size_t end = std::min(findOutsideQuotes(header, ';', at + 1), header.size());
        const std::string_view text = header.substr(at + 1, end - at - 1);
        const std::size_t equals = text.find('=');
        std::string value(equals == npos ? text : text.substr(equals + 1));
        std::erase(value, '"');
        if (!text.empty()) params_.push_back({upperCopy(equals == npos ? bareWordName(text) : text.substr(0, equals)), std::move(value)});
        at = end;
    }
}

const std::string* Line::param(std::string_view name) const
{
    const auto found = std::find_if(params_.begin(), params_.end(), [&](const Param& p) { return p.name == name; });
    return found == params_.end() ? nullptr : &found->value;
}

bool Line::hasType(std::string_view type) const
{
    for (const Param& p : params_) {
        if (p.name != "TYPE") continue;
        for (std::string_view list = p.value;;) {
            const std::size_t comma = list.find(',');
            std::string_view word = list.substr(0, comma);
            while (word.starts_with(' ')) word.remove_prefix(1);
            if (equalFold(word, type)) return true;
            if (comma == npos) break;
            list.remove_prefix(comma + 1);
        }
    }
    return false;
}

bool Line::openEnded() const { return quotedPrintable() && std::string_view(raw()).substr(0, raw().size() - eol_.size()).ends_with('='); }

const std::string& Line::raw() const
{
    if (!rawIsOld_) return raw_;
    raw_.clear();
    raw_.reserve(header_.size() + 1 + body_.size() + eol_.size());
    raw_.append(header_).append(1, ':').append(body_);
    // In version 2.1 a fold in the header would add a blank to it; in base64 blanks mean nothing.
    if (folds_ && raw_.size() > kFoldAt) raw_ = fold(raw_, base64() ? header_.size() + 1 : 0, eol_);
    raw_ += eol_;
    rawIsOld_ = false;
    return raw_;
}

const std::u16string& Line::value(const Context& context) const
{
    if (!textKnown_) text_ = withPlainNewlines(decoded(context));
    textKnown_ = true;
    return text_;
}

std::u16string Line::decoded(const Context& context) const
{
    std::string plain;
    if (encoded()) plain = quotedPrintable() ? decodeQuotedPrintable(body_) : decodeBase64(body_);
    const std::string& bytes = encoded() ? plain : body_;
    const std::string* declared = param("CHARSET");
    if (declared)
        if (auto text = decode(bytes, *declared)) return std::move(*text);
    // The charset of the card is guessed from its raw bytes, so the charset of an encoded value is guessed separately.
    const std::string_view charset = encoded() && isUtf8(bytes) ? kUtf8 : std::string_view(context.charset);
    if (auto text = decode(bytes, charset)) return std::move(*text);
    return *decode(bytes, kWindows1252);
}

void Line::setBody(std::string body, bool folds)
{
    body_ = std::move(body);
    folds_ = folds;
    rawIsOld_ = true;
    textKnown_ = false;
}

namespace {

// Returns the escaped text on one line. Line breaks of a value that was joined from several lines are escaped. A backslash in front of one,
// or at the end of the value, is a literal character and is escaped too.
std::u16string onOneLine(std::u16string escaped)
{
    if (escaped.find(u'\n') == escaped.npos && !escaped.ends_with(u'\\')) return escaped;
    std::u16string text;
    text.reserve(escaped.size() + 8);
    for (std::size_t i = 0; i < escaped.size(); ++i) {
        const bool atEnd = i + 1 == escaped.size();
        if (escaped[i] == u'\n')
            text += u"\\n";
        else if (escaped[i] != u'\\')
            text += escaped[i];
        else if (atEnd || escaped[i + 1] == u'\n')
            text += u"\\\\";
        else
            text.append({u'\\', escaped[++i]});
    }
    return text;
}

bool hasControls(std::string_view bytes) { return bytes.find_first_of(std::string_view("\0\n\r", 3)) != npos; }

} // namespace

void Line::setValue(std::u16string escaped, const Context& context)
{
    isSet_ = true;
    const bool v21 = context.version == Version::V21;
    if (!v21) escaped = onOneLine(std::move(escaped));
    std::string utf8 = toUtf8(escaped);
    const std::string* declared = param("CHARSET");
    if (!v21 && !declared && !encoded() && sameCharset(context.charset, kUtf8)) {
        setBody(std::move(utf8), true);
        text_ = std::move(escaped);
        textKnown_ = true;
        return;
    }
    const bool ascii = isAscii(utf8);
    std::optional<std::string> bytes = encode(escaped, declared ? *declared : context.charset);
    if (bytes && hasControls(*bytes) != hasControls(utf8)) bytes.reset(); // as in UTF-16, where a byte could end the line
    // Version 2.1 is ASCII by default: a non-ASCII value declares UTF-8 unless the line or the other bytes of the card determine a charset.
    const bool undeclared = v21 && !declared && !ascii && sameCharset(context.charset, kUtf8) && !base64();
    const bool needsEncoding = v21 && (undeclared || !bytes || utf8.find('\n') != npos || endsInLoneBackslash(utf8));
    if (undeclared || !bytes) setParam("CHARSET", kUtf8);
    if (needsEncoding && !quotedPrintable() && !base64()) addParam("ENCODING", "QUOTED-PRINTABLE");
    setBytes(undeclared || !bytes ? utf8 : *bytes, v21);
    if (withPlainNewlines(decoded(context)) != escaped) { // the charset has one code for two characters, or the bytes look like UTF-8
        setParam("CHARSET", kUtf8);
        setBytes(utf8, v21);
    }
    text_ = std::move(escaped);
    textKnown_ = true;
}

void Line::setBytes(const std::string& bytes, bool v21)
{
    if (quotedPrintable()) {
        std::string plain;
        for (const char c : bytes) plain += c == '\n' ? std::string("\r\n") : std::string(1, c);
        setQuotedPrintable(plain);
    } else {
        // Version 2.1 folds at blanks only, and its readers disagree on whether the blank is kept, so such a line is not folded.
        setBody(base64() ? encodeBase64(bytes) : bytes, !v21 || base64());
    }
}

void Line::setQuotedPrintable(std::string_view plain) { setBody(encodeQuotedPrintable(plain, header_.size() + 1, eol_), false); }

void Line::keepCharset(const Context& read, const Context& assumed)
{
    if (name_.empty() || base64() || param("CHARSET")) return;
    std::u16string text = decoded(read);
    if (text == decoded(assumed)) return;
    addParam("CHARSET", read.charset);
    if (quotedPrintable())
        setQuotedPrintable(decodeQuotedPrintable(body_));
    else
        setBody(std::string(body_), read.version != Version::V21);
    text_ = withPlainNewlines(std::move(text));
    textKnown_ = true;
}

namespace {

constexpr std::string_view kJpegAddress = "data:image/jpeg;base64,";

// Returns the base64 text of a JPEG file that the value holds; empty if it holds none.
std::string_view jpegData(std::string_view body, bool encoded)
{
    if (const std::size_t first = body.find_first_not_of(" \t"); first != npos) body.remove_prefix(first);
    if (!encoded) {
        const std::size_t comma = body.substr(0, 64).find(',');
        const std::string_view address = body.substr(0, comma == npos ? 0 : comma);
        if (!equalFold(address.substr(0, 5), "data:") || address.size() < 7 || !equalFold(address.substr(address.size() - 7), ";base64"))
            return {};
        body.remove_prefix(comma + 1);
    }
    constexpr std::string_view jpegStart = "/9j/"; // base64 of FF D8 FF
    return body.starts_with(jpegStart) ? body : std::string_view();
}

} // namespace

bool Line::hasJpeg() const { return !jpegData(body_, base64()).empty(); }
std::string Line::jpeg() const { return decodeBase64(jpegData(body_, base64())); }

std::uint64_t Line::jpegSize() const { return decodedBase64Length(jpegData(body_, base64())); }

void Line::setJpeg(std::string_view bytes, Version version)
{
    header_ = header_.substr(0, header_.find(';'));
    if (version == Version::V21) header_ += ";ENCODING=BASE64;TYPE=JPEG";
    if (version == Version::V30) header_ += ";ENCODING=b;TYPE=JPEG";
    parseHeader();
    setBody((version == Version::V40 ? std::string(kJpegAddress) : std::string()) + encodeBase64(bytes), true);
}

void Line::addParam(std::string_view name, std::string_view value)
{
    header_.append(";").append(name).append("=").append(value);
    parseHeader();
}

void Line::setParam(std::string_view name, std::string_view value)
{
    removeParam(name);
    addParam(name, value);
}

void Line::removeParam(std::string_view name)
{
    if (!param(name)) return;
    std::size_t at = std::min(header_.find(';'), header_.size());
    while (at < header_.size()) {
        const std::size_t end = std::min(findOutsideQuotes(header_, ';', at + 1), header_.size());
        if (ownsParam(std::string_view(header_).substr(at + 1, end - at - 1), name))
            header_.erase(at, end - at);
        else
            at = end;
    }
    parseHeader();
}

} // namespace mb::vcard
