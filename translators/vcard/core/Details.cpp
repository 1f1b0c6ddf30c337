#include "Details.h"

#include "Ascii.h"
#include "CanonicalLine.h"
#include "Charset.h"
#include "DetailsBytes.h"
#include "DetailsEdit.h"
#include "DetailsText.h"
#include "NewLine.h"
#include "Value.h"

#include <algorithm>

namespace mb::vcard {
namespace {

constexpr int kNameField = 1;

bool isOwn(std::string_view name) { return name == "UID" || name == "VERSION"; }

} // namespace

bool isLabel(const Line& line, const Context& context)
{
    return std::find(kLabelNames.begin(), kLabelNames.end(), line.name()) != kLabelNames.end() && canonicalParams(line, context).empty();
}

bool isItemGroup(std::string_view group)
{
    constexpr std::string_view kItem = "ITEM";
    return group.size() > kItem.size() && equalFold(group.substr(0, kItem.size()), kItem) &&
           group.find_first_not_of("0123456789", kItem.size()) == group.npos;
}

RawLine::Kind kindOf(const Line& line)
{
    RawLine raw;
    return LineReader(line.raw()).next(raw) ? raw.kind : RawLine::Kind::Blank;
}

CardDetails::CardDetails(const Card& card) : card_(card), properties_(card.lines_.size()) { findFieldLines(); }

void CardDetails::findFieldLines()
{
    std::vector<int> fieldOf(card_.lines_.size(), 0);
    for (const Field& field : fields()) {
        const bool image = field.shape == Shape::Image;
        const std::size_t at = image ? card_.imageLine(field) : static_cast<std::size_t>(card_.lineOf(field));
        if (at >= card_.lines_.size() || (!image && card_.get(field.type).empty())) continue;
        fieldOf[at] = image ? int{field.type} : int{firstField(field.slot).type};
        fieldLines_[fieldOf[at]].line = at;
    }
    const Groups found = groups(fieldOf);
    for (auto& [field, held] : fieldLines_) annotate(field, held, found);
    std::vector<bool> carried(card_.lines_.size());
    for (const auto& [field, held] : fieldLines_) {
        carried[held.line] = true;
        for (const std::size_t label : held.labels) carried[label] = true;
    }
    for (std::size_t i = 0; i < card_.lines_.size(); ++i)
        if (!carried[i]) properties_[i] = propertyOf(i);
}

CardDetails::Groups CardDetails::groups(const std::vector<int>& fieldOf) const
{
    Groups found;
    for (std::size_t i = 0; i < card_.lines_.size(); ++i) {
        const Line& line = card_.lines_[i];
        if (line.group().empty()) continue;
        Group& group = found[line.group()];
        ++group.lines;
        if (fieldOf[i] != 0 && (group.holder == 0 || fieldOf[i] < group.holder)) group.holder = fieldOf[i];
        const auto same = [&](std::size_t other) { return card_.lines_[other].name() == line.name(); };
        if (isLabel(line, card_.context_) && std::none_of(group.labels.begin(), group.labels.end(), same)) group.labels.push_back(i);
    }
    return found;
}

void CardDetails::annotate(int field, FieldLine& held, const Groups& groups) const
{
    const std::string postalLabel = postalLabelOf(held.line);
    if (postalLabel.empty() && !card_.mayChangeCharset_ && isAsNew(card_.lines_[held.line], *findField(field), card_.version())) return;
    held.annotation = difference(usual(card_, field), actual(card_, field, held.line), fieldParts(field));
    if (!postalLabel.empty()) {
        held.labels.push_back(held.line + 1);
        held.annotation[std::string(kPostalLabel)] = postalLabel;
    }
    const std::string& name = card_.lines_[held.line].group();
    if (name.empty()) return;
    const Group& group = groups.find(name)->second;
    if (group.holder == field) held.labels = group.labels;
    held.sharesGroup = group.lines > 1 + held.labels.size();
    for (const std::size_t label : held.labels)
        setNote(held.annotation, card_.lines_[label].name(), splitProperty(canonicalLine(card_.lines_[label], card_.context_)).value);
    if (held.sharesGroup || held.labels.empty() || !isItemGroup(name)) setNote(held.annotation, kGroupNote, lowerCopy(name));
}

CanonicalProperty CardDetails::postalLabel(const CanonicalProperty& address)
{
    CanonicalProperty label{{}, std::string(kPostalLabel), {}, {}};
    for (const char* name : {"TYPE", "PREF"})
        if (const auto param = address.params.find(name); param != address.params.end()) label.params.insert(*param);
    return label;
}

// Returns the label that stands behind an address of an older version, as a parameter of the address; empty for none.
std::string CardDetails::postalLabelOf(std::size_t at) const
{
    if (card_.version() == Version::V40 || at + 1 >= card_.lines_.size()) return {};
    const Line &line = card_.lines_[at], &label = card_.lines_[at + 1];
    if (line.name() != "ADR" || label.name() != kPostalLabel || !line.group().empty() || !label.group().empty()) return {};
    const CanonicalProperty address = splitProperty("ADR" + canonicalParams(line, card_.context_) + ':'),
                            found = splitProperty(canonicalLine(label, card_.context_));
    if (address.params.contains(kPostalLabel) || found.params != postalLabel(address).params) return {};
    return postalLabelParam(found.value);
}

// Returns whether the line's value is the card behind it, as that of AGENT in version 2.1 may be.
bool CardDetails::holdsCard(std::size_t at) const
{
    const auto isBlank = [](const Line& line) { return line.name().empty() && kindOf(line) == RawLine::Kind::Blank; };
    const auto next = std::find_if_not(card_.lines_.begin() + static_cast<std::ptrdiff_t>(at) + 1, card_.lines_.end(), isBlank);
    if (next == card_.lines_.end() || !next->name().empty() || kindOf(*next) != RawLine::Kind::Begin) return false;
    return trimBlanks(card_.lines_[at].value(card_.context_)).empty();
}

// Returns the text of a line that no field holds; empty if it does not travel.
std::string CardDetails::propertyOf(std::size_t at) const
{
    const Line& line = card_.lines_[at];
    if (line.name().empty() || isOwn(line.name()) || holdsCard(at)) return {};
    if (line.name() == "FN" && line.param(kDerivedParam)) return {}; // made from other fields
    for (const int type : {kNameField, kDisplayNameField}) {         // an empty name that the version requires
        const Field& field = *findField(type);
        if (card_.lineOf(field) == static_cast<int>(at) && card_.required(field) &&
            line.value(card_.context_).find_first_not_of(u';') == std::u16string::npos)
            return {};
    }
    return toUtf8(plugin::cleanedDetailsLine(fromUtf8(plugin::hashedLine(canonical(at)))));
}

// Returns the line in canonical spelling, with its group; empty if it has none.
std::string CardDetails::canonical(std::size_t at) const
{
    const Line& line = card_.lines_[at];
    std::string text = canonicalLine(line, card_.context_);
    if (!text.empty() && !line.group().empty()) text.insert(0, lowerCopy(line.group()) + '.');
    return text;
}

std::string CardDetails::wholeProperty(std::size_t line) const
{
    const std::string& property = properties_[line];
    return plugin::hashedValue(property).empty() ? property : plugin::lineWithValueOf(property, canonical(line));
}

CanonicalProperty CardDetails::usual(const Card& card, int field)
{
    const Field& first = *findField(field);
    if (first.shape == Shape::Image) {
        Line line = Line::make(std::string(first.property), card.context_.eol);
        line.setJpeg({}, card.context_.version);
        return splitProperty(std::string(first.property) + canonicalParams(line, card.context_) + ':');
    }
    Line line = Line::make(newHeader(first, card.version()), card.context_.eol);
    for (const Field* each : fieldsOf(first.slot))
        if (const std::u16string text = card.get(each->type); !text.empty()) line.setValue(card.compose(*each, line, text), card.context_);
    return splitProperty(canonicalLine(line, card.context_));
}

CanonicalProperty CardDetails::actual(const Card& card, int field, std::size_t at)
{
    const Line& line = card.lines_[at];
    if (findField(field)->shape == Shape::Image) return splitProperty(line.name() + canonicalParams(line, card.context_) + ':');
    return splitProperty(canonicalLine(line, card.context_));
}

std::uint32_t CardDetails::fieldParts(int field)
{
    std::uint32_t parts = 0;
    for (const Field* each : fieldsOf(findField(field)->slot))
        if (each->shape == Shape::Part) parts |= 1u << each->part;
    return parts;
}

std::u16string CardDetails::text() const
{
    return textOf([this](std::size_t line) -> const std::string& { return properties_[line]; });
}

std::u16string CardDetails::wholeText() const
{
    return textOf([this](std::size_t line) { return wholeProperty(line); });
}

template <class Property> std::u16string CardDetails::textOf(Property&& property) const
{
    std::string all;
    const auto add = [&](std::string_view line) { all.append(line).append("\n"); };
    for (std::size_t i = 0; i < properties_.size(); ++i)
        if (!properties_[i].empty()) add(property(i));
    for (const auto& [field, held] : fieldLines_) {
        if (held.annotation.empty()) continue;
        const std::u16string line = plugin::cleanedDetailsLine(fromUtf8(annotationText(field, held.annotation)));
        if (!line.empty()) add(toUtf8(line));
    }
    return fromUtf8(all) + ownLines(card_);
}

std::u16string CardDetails::ownLines(const Card& card)
{
    constexpr std::array<std::u16string_view, 3> kVersions = {u"VERSION:2.1", u"VERSION:3.0", u"VERSION:4.0"};
    const std::string uid = card.uid();
    std::u16string lines;
    if (!uid.empty()) lines = plugin::cleanedDetailsLine(fromUtf8("UID:" + uid)) + u'\n';
    return lines.append(kVersions[static_cast<std::size_t>(card.version())]);
}

// Most cards hold only what new lines of their fields would say.
bool Card::holdsOnlyFields() const
{
    if (mayChangeCharset_) return false;
    constexpr std::size_t kMostLines = 64;
    if (lines_.size() > kMostLines) return false;
    std::array<std::uint8_t, kMostLines> slotOf{};
    for (std::size_t slot = 0; slot < kSlots; ++slot)
        if (slots_[slot] >= 0) slotOf[static_cast<std::size_t>(slots_[slot])] = static_cast<std::uint8_t>(slot);
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        const Line& line = lines_[i];
        const std::string& name = line.name();
        if (name.empty() || name == "VERSION" || (line.group().empty() && (name == "UID" || name == "REV" || name == "PRODID"))) continue;
        if (slotOf[i] != 0 && isAsNew(line, firstField(slotOf[i]), version())) continue;
        if (line.header() == "N" && version() != Version::V40 && line.body() == ";;;;") continue; // required
        if (name == "FN" && line.group().empty() && line.param(kDerivedParam)) continue;
        return false;
    }
    return true;
}

std::u16string Card::details() const { return holdsOnlyFields() ? CardDetails::ownLines(*this) : CardDetails(*this).text(); }
std::u16string Card::wholeDetails() const { return holdsOnlyFields() ? CardDetails::ownLines(*this) : CardDetails(*this).wholeText(); }

void Card::takeUid(std::u16string_view details, const std::function<bool(const std::string& uid)>& isFree)
{
    const std::u16string clean = plugin::cleanedDetailsLine(u"UID:" + plugin::ownDetail(details, u"UID"));
    const auto line = std::ranges::find(lines_, "UID", &Line::name);
    if (clean.size() <= std::u16string_view(u"UID:").size() || line == lines_.end()) return;
    Line wanted = lineFromCanonical(toUtf8(clean), context_);
    if (isFree(toUtf8(trimBlanks(wanted.value(context_))))) *line = std::move(wanted);
}

bool Card::setDetails(std::u16string_view text)
{
    const auto isOwnLine = [](std::u16string_view line) { return line.starts_with(u"UID:") || line.starts_with(u"VERSION"); };
    if (std::ranges::all_of(plugin::detailsLines(text), isOwnLine) && holdsOnlyFields()) return false;
    return DetailsEdit(*this, text).apply();
}

} // namespace mb::vcard
