#include "Card.h"

#include "Ascii.h"
#include "Charset.h"
#include "Details.h"
#include "LineReader.h"
#include "ListValue.h"
#include "NewLine.h"
#include "PhoneValue.h"
#include "Value.h"

#include <algorithm>
#include <set>
#include <unordered_map>

namespace mb::vcard {
namespace {

constexpr std::string_view kLabel = "X-ABLABEL";
constexpr std::size_t kNameParts = 5, kAddressParts = 7;
constexpr int kCompany = 7, kFirstEmail = 29, kAnyChat = 50;

bool isEnd(const Line& line)
{
    RawLine raw;
    return line.name().empty() && LineReader(line.raw()).next(raw) && raw.kind == RawLine::Kind::End;
}

bool isDerived(const Line& line) { return line.param(kDerivedParam) && equalFold(*line.param(kDerivedParam), "TRUE"); }

bool isUri(const Line& line) { return line.param("VALUE") && equalFold(*line.param("VALUE"), "URI"); }

bool isSex(std::u16string_view text)
{
    return text.size() == 1 && std::u16string_view(u"MFONU").find(text[0]) != std::u16string_view::npos;
}

// In lower case. A card without a kind is that of an individual, so "individual" is no value of the field.
std::u16string readKind(std::u16string_view text)
{
    std::u16string kind = trimBlanks(text);
    for (char16_t& c : kind)
        if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + 32);
    return kind == u"individual" ? std::u16string() : kind;
}

// Returns whether the text is scheme:address, the form of an IMPP value.
bool hasScheme(std::u16string_view text)
{
    const std::size_t colon = text.find(u':');
    if (colon == text.npos || colon == 0) return false;
    return std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(colon), [](char16_t c) {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'-' || c == u'+' || c == u'.';
    });
}

} // namespace

namespace {

// Calls `take` with the bytes of each property line of the card until it returns true. Lines of a nested card are left out.
template <class Take> void findProperty(std::string_view text, Take&& take)
{
    LineReader reader(text);
    RawLine raw;
    int depth = 0;
    while (reader.next(raw)) {
        depth += raw.kind == RawLine::Kind::Begin ? 1 : raw.kind == RawLine::Kind::End ? -1 : 0;
        if (raw.kind == RawLine::Kind::Property && depth == 1 && take(raw.bytes)) return;
    }
}

} // namespace

Version versionOf(std::string_view text)
{
    Version version = Version::V30;
    findProperty(text, [&](std::string_view line) {
        if (!equalFold(line.substr(0, 7), "VERSION")) return false;
        if (line.find("2.1") != line.npos)
            version = Version::V21;
        else if (line.find("4.0") != line.npos)
            version = Version::V40;
        return true;
    });
    return version;
}

std::string uidOf(std::string_view text)
{
    std::string uid;
    findProperty(text, [&](std::string_view bytes) {
        const std::string_view header = bytes.substr(0, bytes.find(':'));
        const bool folded = header.find_first_of("\r\n") != header.npos;
        if (!folded && !holdsFold(header, "UID")) return false;
        const Version version = versionOf(text);
        const Line line = Line::parse(bytes, version);
        if (line.name() != "UID") return false;
        uid = toUtf8(trimBlanks(line.value({version, std::string(kUtf8)})));
        return true;
    });
    return uid;
}

Card Card::parse(std::string_view text)
{
    Card card;
    card.context_.version = versionOf(text);
    card.context_.eol = lineEndOf(text);
    LineReader reader(text);
    RawLine raw;
    int depth = 0;
    card.reserve();
    while (reader.next(raw)) {
        if (raw.kind == RawLine::Kind::End) --depth;
        const bool own = raw.kind == RawLine::Kind::Property && depth == 1;
        card.lines_.push_back(own ? Line::parse(raw.bytes, card.context_.version) : Line::opaque(raw.bytes));
        if (raw.kind == RawLine::Kind::Begin) ++depth;
    }
    card.context_.charset = card.charsetOf(text);
    card.mayChangeCharset_ = !isUtf8(text) || !card.declaredCharset().empty();
    card.claimAll();
    return card;
}

// Returns the first charset besides UTF-8 that a line declares; empty for none.
std::string Card::declaredCharset() const
{
    for (const Line& line : lines_)
        if (const std::string* charset = line.param("CHARSET"); charset && !sameCharset(*charset, kUtf8)) return *charset;
    return {};
}

// Returns the charset of the lines that declare none.
std::string Card::charsetOf(std::string_view text) const
{
    if (isUtf8(text)) return std::string(kUtf8);
    const std::string declared = declaredCharset();
    return declared.empty() ? std::string(kWindows1252) : declared;
}

// An edit may change the charset that readers assume for the card. Lines that would then be decoded differently get a CHARSET parameter.
void Card::keepCharset()
{
    if (!mayChangeCharset_) return;
    Context assumed = context_;
    assumed.charset = charsetOf(bytes());
    if (sameCharset(assumed.charset, context_.charset)) return;
    for (Line& line : lines_) line.keepCharset(context_, assumed);
}

// Reserves memory for as many lines as most cards have.
void Card::reserve()
{
    constexpr std::size_t kMostLines = 32;
    lines_.reserve(kMostLines);
    claims_.reserve(kMostLines);
}

Card Card::make(std::string_view uuid, std::string_view eol, Version version)
{
    Card card;
    const bool v40 = version == Version::V40;
    card.context_ = {v40 ? version : Version::V30, std::string(kUtf8), lineEndOf(eol)};
    card.reserve();
    const auto property = [&](std::string text) {
        card.lines_.push_back(Line::parse(text.append(card.context_.eol), card.context_.version));
    };
    card.lines_.push_back(Line::opaque(std::string("BEGIN:VCARD").append(card.context_.eol)));
    property(v40 ? "VERSION:4.0" : "VERSION:3.0");
    property(std::string("UID:urn:uuid:").append(uuid));
    if (!v40) property("N:;;;;"); // mandatory before version 4.0
    card.lines_.push_back(Line::opaque(std::string("END:VCARD").append(card.context_.eol)));
    card.claimAll();
    return card;
}

Card Card::inVersion(Version version) const
{
    constexpr std::string_view kScheme = "urn:uuid:";
    const std::string own = uid();
    Card card = make(std::string_view(own).substr(own.starts_with(kScheme) ? kScheme.size() : 0), context_.eol, version);
    for (const Field& field : fields()) {
        if (field.shape == Shape::Image)
            card.setImage(field.type, image(field.type));
        else
            card.set(field.type, get(field.type));
    }
    return card;
}

std::string Card::bytes() const
{
    std::string all;
    std::size_t size = 0;
    for (const Line& line : lines_) size += line.raw().size();
    all.reserve(size);
    for (const Line& line : lines_) all += line.raw();
    return all;
}

bool Card::readsBackFrom(std::string_view bytes) const
{
    const ScanResult scan = scanCards(bytes);
    if (scan.error || scan.cards.size() != 1) return false;
    const Card again = parse(bytes);
    const auto alike = [](const Line& a, const Line& b) { return a.raw() == b.raw(); };
    if (!std::equal(lines_.begin(), lines_.end(), again.lines_.begin(), again.lines_.end(), alike)) return false;
    if (slots_ == again.slots_ && version() == again.version() && context_.charset == again.context_.charset) {
        for (std::size_t i = 0; i < lines_.size(); ++i) // equal bytes decode equally, so only values that were set can differ
            if (lines_[i].isSet() && lines_[i].value(context_) != again.lines_[i].value(again.context_)) return false;
        return true;
    }
    return std::ranges::all_of(fields(), [&](const Field& field) {
        if (field.shape == Shape::Image || (lineOf(field) < 0 && again.lineOf(field) < 0)) return true;
        return get(field.type) == again.get(field.type);
    });
}

std::string Card::uid() const
{
    for (const Line& line : lines_)
        if (line.name() == "UID") return toUtf8(trimBlanks(line.value(context_)));
    return {};
}

std::string Card::nameKey() const
{
    std::string key;
    for (const std::string_view name : {"FN", "N"})
        for (const Line& line : lines_)
            if (line.name() == name) key += toUtf8(line.value(context_)) + '\n';
    return key;
}

std::u16string Card::labelOf(const Line& line) const
{
    if (line.group().empty()) return {};
    for (const Line& other : lines_)
        if (other.name() == kLabel && other.group() == line.group()) return other.value(context_);
    return {};
}

void Card::claimAll()
{
    std::unordered_map<std::string_view, std::u16string_view> labels; // by group
    for (const Line& line : lines_)
        if (line.name() == kLabel) labels.try_emplace(line.group(), line.value(context_));
    for (const Line& line : lines_) {
        const auto label = line.group().empty() ? labels.end() : labels.find(line.group());
        claims_.push_back(claimOf(line, label == labels.end() ? std::u16string_view() : label->second, context_));
    }
    slots_ = resolve(lines_.size());
}

// Updates the claims after a line got a new value, which can change no other line's claim.
void Card::claimAgain(std::size_t at)
{
    claims_[at] = claimOf(lines_[at], labelOf(lines_[at]), context_);
    slots_ = resolve(lines_.size());
}

// Assigns lines to slots by rank: marked lines, then standard properties, then alternative ones; in file order within a rank. A line takes
// the first of its slots that is free. The line `without` is ignored.
Card::Slots Card::resolve(std::size_t without) const
{
    Slots slots;
    slots.fill(-1);
    bool more = true; // claims of a higher rank follow
    for (std::uint8_t rank = 0; more; ++rank) {
        more = false;
        for (std::size_t i = 0; i < claims_.size(); ++i) {
            const Claim& claim = claims_[i];
            more = more || claim.rank > rank;
            if (claim.rank != rank || i == without) continue;
            const auto end = claim.slots.begin() + claim.count;
            const auto free = std::find_if(claim.slots.begin(), end, [&](std::uint8_t s) { return slots[s] < 0; });
            if (free != end) slots[*free] = static_cast<int>(i);
        }
    }
    return slots;
}

std::u16string Card::get(int type) const
{
    const Field* field = findField(type);
    if (!field || field->shape == Shape::Image || lineOf(*field) < 0) return {};
    const Line& line = lines_[static_cast<std::size_t>(lineOf(*field))];
    return isDerived(line) ? std::u16string() : read(*field, line);
}

std::u16string Card::read(const Field& field, const Line& line) const
{
    const std::u16string& value = line.value(context_);
    const Version version = context_.version;
    switch (field.shape) {
    case Shape::Part: return unescape(escapedPart(value, u';', field.part), version, true);
    case Shape::List: return readNames(value, version);
    case Shape::Values: return readValues(value, version);
    case Shape::Date: return readDate(unescape(value, version, false));
    case Shape::Phone: return readPhone(unescape(value, version, false));
    case Shape::Kind: return readKind(unescape(value, version, false));
    case Shape::Gender: {
        if (line.name() != "GENDER") return unescape(value, version, false);
        const std::u16string_view sex = escapedPart(value, u';', 0);
        return unescape(sex.empty() ? escapedPart(value, u';', 1) : sex, version, true);
    }
    case Shape::Chat: {
        const std::u16string text = unescape(value, version, false);
        const std::u16string_view prefix = chatPrefix(text);
        const bool ofSlot = field.slot != kAnyChat || prefix.size() == 3; // "im:"; any other scheme is part of the address
        return line.name() == "IMPP" && ofSlot ? text.substr(prefix.size()) : text;
    }
    case Shape::Image:
    case Shape::Text: break;
    }
    return unescape(value, version, false);
}

// Returns the new value of a line, escaped.
std::u16string Card::compose(const Field& field, Line& line, std::u16string_view text) const
{
    const Version version = context_.version;
    const std::u16string& before = line.value(context_);
    switch (field.shape) {
    case Shape::Part: {
        const std::size_t whole = before.empty() ? (line.name() == "N" ? kNameParts : line.name() == "ADR" ? kAddressParts : 1) : 1;
        const std::u16string part = writeComponent(text, version, escapedPart(before, u';', field.part));
        std::u16string changed = withPart(before, u';', field.part, part, whole);
        return line.name() == "ORG" ? withoutEmptyTail(std::move(changed), u';') : changed;
    }
    case Shape::List: return writeNames(text, version, before);
    case Shape::Values: return writeValues(text, version, before);
    case Shape::Date: {
        const std::u16string date = writeDate(text, version, before);
        if (const std::string* kind = line.param("VALUE"); kind && !equalFold(*kind, "DATE")) line.removeParam("VALUE");
        if (version == Version::V40 && !text.empty() && !isDate(text)) line.addParam("VALUE", "text");
        if (version == Version::V30 && isDateTime(text)) line.setParam("VALUE", "date-time");
        return escape(date, version, false);
    }
    case Shape::Phone:
        if (!isUri(line)) break;
        if (const std::optional<std::u16string> uri = phoneUri(text)) return *uri;
        line.removeParam("VALUE"); // a plain value may be any text
        break;
    case Shape::Gender: {
        if (line.name() != "GENDER" || text.empty()) break;
        if (!isSex(text)) return u";" + escape(text, version, true);
        const bool describes = !escapedPart(before, u';', 0).empty(); // otherwise the text was the field's value
        return withPart(describes ? std::u16string_view(before) : std::u16string_view(), u';', 0, text, 1);
    }
    case Shape::Chat: {
        if (line.name() != "IMPP" || text.empty()) break;
        if (field.slot != kAnyChat) return std::u16string(chatPrefix(before)) + escape(text, version, false);
        return (hasScheme(text) ? u"" : u"im:") + escape(text, version, false);
    }
    case Shape::Kind:
    case Shape::Image:
    case Shape::Text: break;
    }
    return escape(text, version, false);
}

bool Card::required(const Field& field) const
{
    return field.property == "FN" ? context_.version != Version::V21 : field.property == "N" && context_.version != Version::V40;
}

bool Card::set(int type, std::u16string_view value)
{
    const Field* field = findField(type);
    if (!field || field->shape == Shape::Image) return false;
    const std::u16string text = field->shape == Shape::Kind ? readKind(cleaned(value)) : cleaned(value);
    if (text == get(type)) return false;
    if (text.empty()) {
        clear(*field);
    } else if (lineOf(*field) < 0) {
        add(*field, text);
    } else {
        replace(*field, text);
    }
    keepCharset();
    return true;
}

void Card::replace(const Field& field, const std::u16string& text)
{
    const Slots before = slots_;
    const auto at = static_cast<std::size_t>(lineOf(field));
    Line& line = lines_[at];
    line.removeParam(kDerivedParam);
    line.setValue(compose(field, line, text), context_);
    if (!claimsByValue(line)) return;
    claimAgain(at);
    if (slots_ == before) return;
    line.addParam(kPinParam, std::to_string(field.type)); // with its new value the line would hold another field
    line.setValue(compose(field, line, text), context_);
    claimAgain(at);
}

// Returns where to insert a line: before END, and before a line whose soft line break would join the new one.
std::size_t Card::endOfLines() const
{
    std::size_t at = lines_.size() - 1;
    while (at > 1 && !isEnd(lines_[at])) --at; // blank lines and comments may follow END
    while (at > 1 && lines_[at - 1].openEnded()) --at;
    return at;
}

void Card::add(const Field& field, const std::u16string& text)
{
    Line line = Line::make(newHeader(field, context_.version), context_.eol);
    line.setValue(compose(field, line, text), context_);
    const std::size_t at = endOfLines();
    Slots wanted = slots_;
    for (int& i : wanted) i += i >= static_cast<int>(at);
    wanted[field.slot] = static_cast<int>(at);
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(at), std::move(line));
    claims_.insert(claims_.begin() + static_cast<std::ptrdiff_t>(at), Claim{});
    claimAgain(at);
    if (slots_ == wanted) return;
    Line& added = lines_[at];
    added.addParam(kPinParam, std::to_string(field.type));
    added.setValue(compose(field, added, text), context_);
    claimAgain(at);
}

void Card::eraseLine(std::size_t at)
{
    lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(at));
    claims_.erase(claims_.begin() + static_cast<std::ptrdiff_t>(at));
}

// Removes the labels of a group that has nothing else: they would be labels of no line.
void Card::eraseLabels(const std::string& group)
{
    std::vector<std::size_t> labels;
    std::set<std::string> names;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        if (lines_[i].group() != group) continue;
        if (!isLabel(lines_[i], context_) || !names.insert(lines_[i].name()).second) return;
        labels.push_back(i);
    }
    std::for_each(labels.rbegin(), labels.rend(), [this](std::size_t label) { eraseLine(label); });
}

void Card::clear(const Field& field)
{
    const auto at = static_cast<std::size_t>(lineOf(field));
    Line& line = lines_[at];
    const std::u16string rest = compose(field, line, {});
    const bool saysNothing = rest.find_first_not_of(u';') == rest.npos;
    if (saysNothing && !required(field)) {
        Slots wanted = slots_;
        wanted[field.slot] = -1;
        if (resolve(at) == wanted) {
            const std::string group = line.group();
            eraseLine(at);
            if (!group.empty()) eraseLabels(group);
            slots_ = resolve(lines_.size());
            return;
        }
    }
    line.setValue(rest, context_);
    if (claimsByValue(line)) claimAgain(at);
}

void Card::dropNeedlessMarks()
{
    constexpr std::size_t kMostLines = 100; // each attempt reads the whole card
    if (lines_.size() > kMostLines) return;
    for (std::size_t i = 0; i < lines_.size();) {
        const Line& line = lines_[i];
        const bool marked = line.isSet() && line.param(kPinParam) && !isOfNoField(line);
        i = marked && dropMark(i) ? 0 : i + 1; // another mark may be needless now
    }
}

// Tries the place of the line, and those of the other lines of its property.
bool Card::dropMark(std::size_t line)
{
    if (readsWithoutMark(line, line)) return true;
    for (std::size_t at = 0; at < lines_.size(); ++at)
        if (at != line && lines_[at].name() == lines_[line].name() && readsWithoutMark(line, at)) return true;
    return false;
}

// Moves a line to the index `at`, without its mark. Returns whether the card reads the same; else it does not change.
bool Card::readsWithoutMark(std::size_t line, std::size_t at)
{
    Card card = *this;
    Line moved = card.lines_[line];
    moved.removeParam(kPinParam);
    moved.setValue(std::u16string(moved.value(context_)), context_);
    card.lines_.erase(card.lines_.begin() + static_cast<std::ptrdiff_t>(line));
    card.lines_.insert(card.lines_.begin() + static_cast<std::ptrdiff_t>(at), std::move(moved));
    card.claims_.clear();
    card.claimAll();
    const auto index = [&](int before) { // of a line of this card in the other one
        const auto from = static_cast<int>(line), to = static_cast<int>(at);
        if (before == from) return to;
        if (before > from && before <= to) return before - 1;
        return before < from && before >= to ? before + 1 : before;
    };
    for (std::size_t slot = 0; slot < kSlots; ++slot)
        if (card.slots_[slot] != (slots_[slot] < 0 ? -1 : index(slots_[slot]))) return false;
    *this = std::move(card);
    return true;
}

std::u16string Card::composedName() const
{
    std::u16string name;
    for (const int type : {1, 2, 3, 4, 5}) {
        const std::u16string part = get(type);
        if (!part.empty()) name.append(name.empty() ? u"" : u" ").append(part);
    }
    return name;
}

void Card::completeName()
{
    const Field& field = *findField(kDisplayNameField);
    if (!required(field) || !get(kDisplayNameField).empty()) return;
    std::u16string name = composedName();
    for (const int type : {kCompany, kFirstEmail})
        if (name.empty()) name = get(type);
    if (name.empty()) name = u"Unnamed";
    if (lineOf(field) < 0) add(field, name);
    Line& line = lines_[static_cast<std::size_t>(lineOf(field))];
    if (isDerived(line) && line.value(context_) == escape(name, context_.version, false)) return;
    if (!isDerived(line)) line.addParam(kDerivedParam, "true");
    line.setValue(compose(field, line, name), context_);
    keepCharset();
}

} // namespace mb::vcard
