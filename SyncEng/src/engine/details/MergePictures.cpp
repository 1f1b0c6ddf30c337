// The part of the merge that keeps the lines and the image of one kind of picture together.
#include "engine/details/MergeDetails.h"

#include <algorithm>

namespace mb {

bool isPictureUnit(const DetailsUnit& unit, std::u16string_view property)
{
    const auto isOfProperty = [&](std::u16string_view line) { return propertyOf(line) == property; };
    const auto labels = [](std::u16string_view line) { return propertyOf(line).starts_with(u"X-AB"); };
    return std::ranges::any_of(unit.lines, isOfProperty) &&
           std::ranges::all_of(unit.lines, [&](std::u16string_view line) { return isOfProperty(line) || labels(line); });
}

// The lines of one kind on both sides.
struct MergedDetails::Picture {
    std::vector<SourceUnit*> own;
    std::vector<TargetUnit*> other;

    [[nodiscard]] bool ownHas(State state) const
    {
        return std::ranges::any_of(own, [&](const SourceUnit* unit) { return unit->state == state; });
    }
    [[nodiscard]] bool otherHas(State state) const
    {
        return std::ranges::any_of(other, [&](const TargetUnit* unit) { return unit->state == state; });
    }
};

void MergedDetails::stayHome(const DetailsPicture& picture)
{
    if (picture.travels) return;
    for (SourceUnit& own : sourceUnits_)
        if (isPictureUnit(*own.unit, picture.property)) own.travels = false;
    for (TargetUnit& other : targetUnits_)
        if (isPictureUnit(*other.unit, picture.property)) other.mapped = false;
}

// Nothing of the picture is changed in this direction. What either side changed is still seen by the next merge.
void MergedDetails::hold(const Picture& units)
{
    for (SourceUnit* own : units.own)
        if (own->state == State::New) own->travels = false;
    for (TargetUnit* other : units.other) other->held = other->state == State::Gone;
}

// A picture never goes because of one half of it: the lines of the target are removed if the source has no picture of the kind at all, or
// has another one that the target gets.
void MergedDetails::decidePicture(const DetailsPicture& picture, const std::function<bool(const DetailsUnit&)>& sourceWins)
{
    if (!picture.travels) return stayHome(picture);
    Picture units;
    for (SourceUnit& own : sourceUnits_)
        if (isPictureUnit(*own.unit, picture.property)) units.own.push_back(&own);
    for (TargetUnit& other : targetUnits_)
        if (isPictureUnit(*other.unit, picture.property)) units.other.push_back(&other);

    const bool sourceChanged = picture.sourceFieldChanged || units.ownHas(State::New) || units.otherHas(State::Gone);
    const bool targetChanged = picture.targetFieldChanged || units.otherHas(State::New) || units.ownHas(State::Gone);
    const bool sourceHas = picture.sourceField || !units.own.empty(), targetHas = picture.targetField || !units.other.empty();
    if (!sourceChanged || !sourceHas) return; // nothing new, or a removal
    const auto given = [&](const SourceUnit* own) { return own->state != State::New || canGive(*own); };
    if (!std::ranges::all_of(units.own, given)) return hold(units);
    DetailsUnit whole;
    whole.name = picture.property;
    if (targetChanged && targetHas && !sourceWins(whole)) {
        hold(units);
        if (picture.sourceField) pictures_.push_back({.property = picture.property, .keep = true});
        return;
    }
    replacePicture(picture, units, targetChanged);
}

// The target's picture becomes the source's.
void MergedDetails::replacePicture(const DetailsPicture& picture, const Picture& units, bool bothChanged)
{
    const bool replaced = units.ownHas(State::New) || picture.sourceFieldChanged;
    const bool removes = units.otherHas(State::Gone) || (replaced && units.otherHas(State::New));
    PictureDecision decision{.property = picture.property};
    decision.write = picture.sourceField && (!picture.targetField || picture.targetFieldChanged || picture.sourceFieldChanged);
    decision.must = decision.write && removes && units.own.empty();
    if (decision.must && !picture.fieldTravels) return hold(units);
    decision.clear = units.ownHas(State::New) && !picture.sourceField && picture.targetField;
    decision.lost = decision.clear && picture.targetFieldChanged;
    if (decision.write || decision.clear) pictures_.push_back(decision);
    if (!replaced) return;
    for (TargetUnit* other : units.other) {
        if (other->state != State::New) continue;
        overwritten_.insert(overwritten_.end(), other->unit->lines.begin(), other->unit->lines.end());
        remove(*other);
    }
    if (!bothChanged) return;
    for (SourceUnit* own : units.own)
        if (own->state == State::Gone) own->state = State::New; // the target removed a line of the picture that wins
}

} // namespace mb
