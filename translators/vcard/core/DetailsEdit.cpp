#include "DetailsEdit.h"

#include "Ascii.h"
#include "CanonicalLine.h"
#include "Charset.h"
#include "DetailsBytes.h"
#include "DetailsText.h"
#include "LineReader.h"
#include "Value.h"

#include <algorithm>
#include <optional>
#include <unordered_map>

namespace mb::vcard {
namespace {

using Kind = RawLine::Kind;

// Returns the canonical line as a card can hold it; empty if it cannot.
std::string cleanedLine(const CanonicalProperty& property) { return toUtf8(plugin::cleanedDetailsLine(fromUtf8(joined(property)))); }

bool isOfTheCard(std::string_view name) { return name.starts_with("VERSION") || name == "UID" || name == "REV" || name == "PRODID"; }

bool isGroupName(std::string_view name)
{
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (upper(c) >= 'A' && upper(c) <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.';
    });
}

bool saysNothing(const std::string& property) { return splitProperty(property).value.find_first_not_of(';') == std::string::npos; }

// The blanks behind the commas of a list tell a comma that separates from one that is escaped, which a new line cannot tell.
bool sameText(const Field& field, std::u16string text, std::u16string other)
{
    if (field.shape == Shape::List)
        for (std::u16string* each : {&text, &other}) std::erase(*each, u' ');
    return text == other;
}

} // namespace

DetailsEdit::DetailsEdit(Card& card, std::u16string_view text)
    : card_(card), text_(text), before_(card), now_(before_), changes_(card.lines_.size())
{
    for (const Line& line : before_.lines_) present_.insert(line.group());
    parse();
    renameCollidingGroups();
}

void DetailsEdit::parse()
{
    const std::u16string clean = plugin::cleanedDetails(text_);
    for (const std::u16string_view line : plugin::detailsLines(clean)) {
        const std::string utf8 = toUtf8(line);
        if (const int field = plugin::annotatedField(line)) {
            notes_.emplace(field, parseAnnotation(utf8));
        } else if (const CanonicalProperty property = splitProperty(utf8); !isOfTheCard(upperCopy(property.name))) {
            std::string hashed = plugin::hashedLine(utf8);
            if (hashed != utf8) given_.emplace(hashed, utf8);
            properties_.push_back(std::move(hashed));
            if (!property.group.empty()) groups_.insert(upperCopy(property.group));
        }
    }
    for (const auto& [field, annotation] : notes_)
        if (const auto group = note(annotation, kGroupNote)) groups_.insert(upperCopy(*group));
}

// The text does not name the group of a field's line and its labels. A group of the text with that name is another one.
void DetailsEdit::renameCollidingGroups()
{
    std::map<std::string, std::string, std::less<>> renamed;
    for (const auto& [field, held] : now_.fieldLines()) {
        const std::string& group = before_.lines_[held.line].group();
        if (!group.empty() && !held.annotation.contains(kGroupNote) && groups_.contains(group)) renamed.emplace(group, std::string());
    }
    for (auto& [group, name] : renamed) name = freeGroup();
    for (std::string& text : properties_) {
        CanonicalProperty property = splitProperty(text);
        const auto found = renamed.find(upperCopy(property.group));
        if (property.group.empty() || found == renamed.end()) continue;
        property.group = found->second;
        text = joined(property);
    }
    for (const auto& [group, name] : renamed) {
        groups_.erase(group);
        groups_.insert(upperCopy(name));
    }
    for (const auto& [field, annotation] : notes_)
        if (const auto group = note(annotation, kGroupNote)) groups_.insert(upperCopy(*group));
}

bool DetailsEdit::apply()
{
    while (plan()) {
        build();
        if (settle() && fieldsKept()) {
            card_.keepCharset();
            const bool changed = card_.bytes() != before_.bytes();        // a mark may have been needed after all
            if (changed && placeKept_) DetailsEdit(card_, text_).apply(); // the line that would have moved into the place may be gone
            return changed;
        }
        const bool again = freezeFields();
        card_ = before_;
        if (!again) break;
    }
    return false;
}

// Leaves the lines of the fields that failed as they are. Returns whether that may help.
bool DetailsEdit::freezeFields()
{
    std::set<int> failed;
    for (const Field& field : fields())
        if (!isKept(field)) failed.insert(firstField(field.slot).type);
    for (const std::size_t at : misread())
        if (const int slot = origins_[at].slot) failed.insert(firstField(static_cast<std::size_t>(slot)).type);
    const std::size_t frozen = frozen_.size();
    for (const auto& [field, held] : now_.fieldLines()) {
        const std::string& group = before_.lines_[held.line].group();
        const auto sameGroup = [&](int other) {
            const auto found = now_.fieldLines().find(other);
            return !group.empty() && found != now_.fieldLines().end() && before_.lines_[found->second.line].group() == group;
        };
        if (failed.contains(field) || std::ranges::any_of(failed, sameGroup)) frozen_.insert(field);
    }
    if (frozen_.size() > frozen) return true;
    for (const auto& [field, held] : now_.fieldLines()) frozen_.insert(field);
    return frozen_.size() > frozen;
}

// Decides what happens to each line. Returns whether anything does.
bool DetailsEdit::plan()
{
    changes_.assign(before_.lines_.size(), {});
    added_.clear();
    placeKept_ = false;
    planProperties();
    for (const auto& [field, held] : now_.fieldLines())
        if (!frozen_.contains(field)) planField(field, held);
    planPins();
    return !added_.empty() || std::ranges::any_of(changes_, [](const Change& c) { return c.kind != Change::Kind::Keep; });
}

void DetailsEdit::planProperties()
{
    std::unordered_map<std::string_view, int> missing;
    for (const std::string& property : properties_) ++missing[property];
    for (std::size_t i = 0; i < changes_.size(); ++i) {
        const std::string& property = now_.properties()[i];
        if (property.empty()) continue;
        if (const auto wanted = missing.find(property); wanted != missing.end() && wanted->second > 0)
            --wanted->second;
        else
            changes_[i].kind = removalOf(i);
    }
    for (const std::string& property : properties_)
        if (int& left = missing[property]; left > 0) {
            --left;
            if (std::string line = wholeLine(property); !line.empty()) added_.push_back(std::move(line));
        }
    std::stable_partition(added_.begin(), added_.end(), saysNothing); // an empty line that holds a place claims it before others do
}

// Returns the property with its whole value, which the text or the card holds; empty if neither does.
std::string DetailsEdit::wholeLine(const std::string& property) const
{
    const std::string_view value = plugin::hashedValue(property);
    if (value.empty()) return property;
    if (const auto given = given_.find(property); given != given_.end()) return given->second;
    for (std::size_t i = 0; i < changes_.size(); ++i) {
        if (plugin::hashedValue(now_.properties()[i]) != value) continue;
        const std::string whole = now_.wholeProperty(i);
        if (plugin::hashedValue(whole).empty()) return plugin::lineWithValueOf(property, whole);
    }
    return {};
}

// A line that holds the slot of an empty field may only go if no other line would move into the slot.
DetailsEdit::Change::Kind DetailsEdit::removalOf(std::size_t line)
{
    Card::Slots wanted = before_.slots_;
    const auto held = std::ranges::find(wanted, static_cast<int>(line));
    if (held == wanted.end() || firstField(static_cast<std::size_t>(held - wanted.begin())).shape == Shape::Image)
        return Change::Kind::Remove;
    *held = -1;
    if (before_.resolve(line) == wanted) return Change::Kind::Remove;
    placeKept_ = true;
    return saysNothing(now_.properties()[line]) ? Change::Kind::Keep : Change::Kind::Empty;
}

void DetailsEdit::planField(int field, const FieldLine& held)
{
    const auto found = notes_.find(field);
    Annotation wanted = found == notes_.end() ? Annotation() : found->second;
    const std::string& group = before_.lines_[held.line].group();
    const bool hidden = !group.empty() && !held.annotation.contains(kGroupNote); // the group's name is not in the details
    if (wanted != held.annotation || (hidden && groups_.contains(group))) rewrite(field, held, std::move(wanted));
}

// Plans the line of a field with an annotation, or with as much of it as leaves the field as it is.
void DetailsEdit::rewrite(int field, const FieldLine& held, Annotation wanted)
{
    const bool image = findField(field)->shape == Shape::Image;
    for (const std::string_view ignored : {std::string_view(), kValueNote, kNameNote, kPartsNote, kEscapesNote}) {
        if (!ignored.empty() && wanted.erase(std::string(ignored)) == 0) continue;
        if (ignored == kValueNote && note(wanted, "VALUE") == "uri") wanted.erase("VALUE"); // the field's value is none
        CanonicalProperty made = annotated(CardDetails::usual(before_, field), wanted, CardDetails::fieldParts(field));
        if (image) made.value = valueOf(held.line);
        made.group = groupFor(held, wanted);
        const std::string postalLabel = takePostalLabel(made);
        std::string canonical = rightLine(field, made, wanted);
        if (canonical.empty() && findField(field)->shape == Shape::Gender) { // X-GENDER has no place for the text besides the sex
            made.name = findField(field)->property;
            canonical = rightLine(field, made, wanted);
        }
        if (canonical.empty()) continue;
        const bool lineStays = canonical == lineText(field, held);
        const auto stays = [&](std::string_view name) { return note(wanted, name) == note(held.annotation, name); };
        if (lineStays && std::ranges::all_of(kLabelNames, stays) && stays(kPostalLabel)) return;
        Change& change = changes_[held.line];
        change = {Change::Kind::Rewrite, lineStays ? std::string() : canonical, {}};
        for (const std::size_t label : held.labels) changes_[label].kind = Change::Kind::Remove;
        if (!postalLabel.empty()) change.labels.push_back(postalLabel);
        for (const std::string_view name : kLabelNames)
            if (const auto label = note(wanted, name)) change.labels.push_back(cleanedLine({made.group, std::string(name), {}, *label}));
        return;
    }
}

// Takes the postal label from an address of an older version. Returns the line that it becomes; empty for none.
std::string DetailsEdit::takePostalLabel(CanonicalProperty& made) const
{
    const auto param = made.params.find(kPostalLabel);
    if (before_.version() == Version::V40 || made.name != "ADR" || !made.group.empty() || param == made.params.end()) return {};
    CanonicalProperty label = CardDetails::postalLabel(made);
    label.value = postalLabelValue(param->second);
    if (label.value.empty()) return {};
    std::string line = cleanedLine(label);
    if (!line.empty()) made.params.erase(param);
    return line;
}

// Returns the canonical line of the property; empty if it would not hold the field as it is.
std::string DetailsEdit::rightLine(int field, const CanonicalProperty& property, const Annotation& wanted) const
{
    std::string canonical = cleanedLine(property);
    if (!canonical.empty() && !readsRight(field, lineFromCanonical(canonical, before_.context_), wanted)) canonical.clear();
    return canonical;
}

// Returns the line of a field in canonical spelling, with its group.
std::string DetailsEdit::lineText(int field, const FieldLine& held) const
{
    CanonicalProperty property = CardDetails::actual(before_, field, held.line);
    if (findField(field)->shape == Shape::Image) property.value = valueOf(held.line);
    property.group = lowerCopy(before_.lines_[held.line].group());
    return cleanedLine(property);
}

std::string DetailsEdit::valueOf(std::size_t line) const
{
    return splitProperty(canonicalLine(before_.lines_[line], before_.context_)).value;
}

// Returns whether the line has the values of the field, and can hold it.
bool DetailsEdit::readsRight(int field, const Line& line, const Annotation& wanted) const
{
    const Field& first = *findField(field);
    if (first.shape == Shape::Image) return line.name() == first.property && line.jpegSize() == before_.imageSize(field);
    for (const Field* each : fieldsOf(first.slot))
        if (!sameText(*each, before_.read(*each, line), before_.get(each->type))) return false;
    const Claim claim = claimOf(line, labelOf(wanted), before_.context_);
    const auto end = claim.slots.begin() + claim.count;
    return line.name() == first.property || std::find(claim.slots.begin(), end, first.slot) != end;
}

// Returns the label of a line with this annotation, which may be that of another line in its group.
std::u16string DetailsEdit::labelOf(const Annotation& annotation) const
{
    std::optional<std::string> label = note(annotation, kLabelNames[0]);
    const std::optional<std::string> group = note(annotation, kGroupNote);
    for (auto other = notes_.begin(); other != notes_.end() && !label && group; ++other)
        if (note(other->second, kGroupNote) == group) label = note(other->second, kLabelNames[0]);
    return unescape(fromUtf8(label.value_or("")), Version::V40, false);
}

// Returns the group that the line of a field gets; empty for none.
std::string DetailsEdit::groupFor(const FieldLine& held, const Annotation& wanted)
{
    if (const auto group = note(wanted, kGroupNote); group && isGroupName(*group)) return *group;
    const bool labelled = std::ranges::any_of(kLabelNames, [&](std::string_view name) { return wanted.contains(name); });
    if (!labelled && !wanted.contains(kGroupNote)) return {};
    const std::string& group = before_.lines_[held.line].group();
    if (isItemGroup(group) && !held.sharesGroup && !groups_.contains(group)) return lowerCopy(group);
    return freeGroup();
}

std::string DetailsEdit::freeGroup()
{
    for (std::size_t n = 1;; ++n) {
        const std::string number = std::to_string(n);
        if (groups_.contains("ITEM" + number) || !present_.insert("ITEM" + number).second) continue;
        return "item" + number;
    }
}

// Plans the marked lines of fields that were written since the card was read again, without their marks.
void DetailsEdit::planPins()
{
    for (const auto& [field, held] : now_.fieldLines()) {
        const Line& line = before_.lines_[held.line];
        if (frozen_.contains(field) || changes_[held.line].kind != Change::Kind::Keep || !line.isSet() || !line.param(kPinParam)) continue;
        changes_[held.line] = {Change::Kind::Rewrite, lineText(field, held), {}};
    }
}

// Makes the card's lines from those of before_ and the plan.
void DetailsEdit::build()
{
    std::vector<int> slotOf(before_.lines_.size(), 0);
    for (std::size_t slot = 0; slot < kSlots; ++slot)
        if (before_.slots_[slot] >= 0) slotOf[static_cast<std::size_t>(before_.slots_[slot])] = static_cast<int>(slot);
    card_.lines_.clear();
    origins_.clear();
    for (std::size_t i = 0; i < changes_.size(); ++i) {
        const Change& change = changes_[i];
        const Line& line = before_.lines_[i];
        switch (change.kind) {
        case Change::Kind::Keep: append(line, {false, slotOf[i], false}); break;
        case Change::Kind::Remove: removeAt(i); break;
        case Change::Kind::Empty:
            append(line, {false, slotOf[i], false});
            card_.lines_.back().setValue({}, card_.context_);
            break;
        case Change::Kind::Rewrite:
            append(change.canonical.empty() ? line : lineFromCanonical(change.canonical, card_.context_),
                   {!line.hasJpeg(), slotOf[i], false}); // a picture has no slot
            for (const std::string& label : change.labels) append(lineFromCanonical(label, card_.context_), {});
        }
    }
    insertProperties();
}

void DetailsEdit::append(Line line, const Origin& origin)
{
    card_.lines_.push_back(std::move(line));
    origins_.push_back(origin);
}

// A removed line keeps the lines around it apart where they would be read as one: it becomes a blank line.
void DetailsEdit::removeAt(std::size_t at)
{
    const bool last = at + 1 == before_.lines_.size();
    const bool labels =
        !last && before_.lines_[at + 1].name() == kPostalLabel && !card_.lines_.empty() && card_.lines_.back().name() == "ADR";
    if (!last && (labels || kindOf(before_.lines_[at + 1]) == Kind::NoProperty)) append(Line::opaque(before_.context_.eol), {});
}

void DetailsEdit::insertProperties()
{
    auto at = static_cast<std::ptrdiff_t>(card_.endOfLines());
    const auto insert = [&](Line line, const Origin& origin) {
        std::ptrdiff_t place = at++;
        if (line.name() == kPostalLabel) // behind an address it would be the label of that address
            while (place > 1 && card_.lines_[static_cast<std::size_t>(place) - 1].name() == "ADR") --place;
        card_.lines_.insert(card_.lines_.begin() + place, std::move(line));
        origins_.insert(origins_.begin() + place, origin);
    };
    for (const std::string& property : added_) {
        Line line = lineFromCanonical(property, card_.context_);
        const bool endsInBase64 = card_.context_.version == Version::V21 && line.encoding() == Encoding::Base64;
        insert(std::move(line), {true, 0, false});
        if (endsInBase64) insert(Line::opaque(card_.context_.eol), {}); // a blank line ends a base64 value
    }
}

void DetailsEdit::claimLines()
{
    card_.claims_.clear();
    card_.claimAll();
}

// Marks lines until each is read as what it was before, or was written for. Returns whether that was possible.
bool DetailsEdit::settle()
{
    constexpr int kRounds = 6; // a marked line gives its place to the next, so many lines would take many rounds
    for (int round = 0;; ++round) {
        claimLines();
        const std::set<std::size_t> wrong = misread();
        if (wrong.empty()) return true;
        if (round > kRounds) return false;
        if (round == kRounds) {
            for (std::size_t i = 0; i < origins_.size(); ++i)
                if (origins_[i].written && !origins_[i].pinned && card_.claims_[i].count > 0) pin(i);
            continue;
        }
        for (const std::size_t at : wrong) {
            if (origins_[at].pinned) return false;
            pin(at);
        }
    }
}

// Returns the lines of this edit that lost the field that they hold; if there are none, the lines without a field that would give one a
// value.
std::set<std::size_t> DetailsEdit::misread() const
{
    std::set<std::size_t> wrong;
    for (std::size_t i = 0; i < origins_.size(); ++i) {
        const auto slot = static_cast<std::size_t>(origins_[i].slot);
        if (origins_[i].written && slot != 0 && card_.claims_[i].count > 0 && card_.slots_[slot] != static_cast<int>(i)) wrong.insert(i);
    }
    if (!wrong.empty()) return wrong; // the others may be read rightly when these are
    for (const Field& field : fields()) {
        const bool image = field.shape == Shape::Image;
        if (image ? isKept(field) : card_.get(field.type).empty()) continue;
        const std::size_t at = image ? card_.imageLine(field) : static_cast<std::size_t>(card_.lineOf(field));
        if (at < origins_.size() && (image || origins_[at].slot == 0)) wrong.insert(at);
    }
    return wrong;
}

// Marks the line with the field that it holds, or as one that holds none.
void DetailsEdit::pin(std::size_t at)
{
    Line& line = card_.lines_[at];
    const int slot = origins_[at].slot;
    line.addParam(kPinParam, slot == 0 ? std::string(kNoField) : std::to_string(firstField(static_cast<std::size_t>(slot)).type));
    if (line.encoding() == Encoding::Base64)
        line.setBase64(std::string(line.body()));
    else
        line.setValue(std::u16string(line.value(card_.context_)), card_.context_);
    origins_[at].pinned = true;
}

bool DetailsEdit::isKept(const Field& field) const
{
    if (field.shape == Shape::Image) return card_.imageSize(field.type) == before_.imageSize(field.type);
    return sameText(field, card_.get(field.type), before_.get(field.type));
}

bool DetailsEdit::fieldsKept() const
{
    return std::ranges::all_of(fields(), [&](const Field& field) { return isKept(field); });
}

} // namespace mb::vcard
