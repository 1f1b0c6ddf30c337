#include "engine/details/MergeDetails.h"

#include "engine/details/DetailsFiles.h"
#include "interfaces.h"
#include "text.h"
#include <algorithm>
#include <unordered_map>

namespace mb {
namespace {

// The parameters of an annotation, in order.
std::vector<std::u16string_view> parametersOf(const DetailsUnit& annotation)
{
    const std::u16string_view line = annotation.lines.front();
    std::vector<std::u16string_view> parameters;
    bool quoted = false;
    std::size_t start = std::u16string_view::npos; // of a parameter
    for (std::size_t at = 0; at <= line.size(); ++at) {
        if (at < line.size() && line[at] == u'"') quoted = !quoted;
        if (at < line.size() && (quoted || line[at] != u';')) continue;
        if (start != std::u16string_view::npos) parameters.push_back(line.substr(start, at - start));
        start = at + 1;
    }
    std::ranges::sort(parameters);
    return parameters;
}

// Gives out the units of one hash, each of them once.
class UnitsByHash {
public:
    void add(DetailsHash hash, std::size_t unit) { units_[hash].push_back(unit); }
    [[nodiscard]] bool has(DetailsHash hash) const
    {
        const auto at = units_.find(hash);
        return at != units_.end() && !at->second.empty();
    }
    std::optional<std::size_t> take(DetailsHash hash)
    {
        const auto at = units_.find(hash);
        if (at == units_.end() || at->second.empty()) return std::nullopt;
        const std::size_t unit = at->second.front();
        at->second.erase(at->second.begin());
        return unit;
    }

private:
    std::unordered_map<DetailsHash, std::vector<std::size_t>> units_;
};

bool mappedTo(const FieldTypeMap& types, LONG field)
{
    return std::ranges::any_of(types, [&](const auto& pair) { return pair.second == field; });
}

bool isOneOf(const std::u16string& name, const std::vector<std::u16string>& names) { return std::ranges::find(names, name) != names.end(); }

// Copies used to have their incomplete dates marked as plain text, whatever their source had.
bool isMarkOfOldCopies(const DetailsUnit& unit) { return unit.field == ftBirthday && unit.lines.front() == u"@43;VALUE=text"; }

std::u16string numbered(std::u16string_view prefix, int number)
{
    const std::string digits = std::to_string(number);
    return std::u16string(prefix).append(digits.begin(), digits.end());
}

// The own lines for a new record. What the source's record was once demanded to be is no demand on another store.
std::vector<std::u16string> offeredOwnLines(const std::vector<std::u16string_view>& ofSource, LONG wanted)
{
    std::vector<std::u16string> lines;
    std::u16string version;
    for (const std::u16string_view line : ofSource) {
        if (propertyOf(line) != u"VERSION")
            lines.emplace_back(line);
        else if (version.empty())
            version = line.substr(std::min(line.find(u':') + 1, line.size()));
    }
    if (wanted == cv30) version = u"3.0";
    if (wanted == cv40) version = u"4.0";
    const bool demanded = wanted == cv30 || wanted == cv40 || wanted == cvAsSource;
    if (!version.empty()) lines.push_back((demanded ? u"VERSION;PREF=1:" : u"VERSION:") + version);
    return lines;
}

// The first name with a number that is not in use.
template <class InUse> std::u16string firstFree(std::u16string_view prefix, InUse&& inUse)
{
    for (int number = 1;; ++number)
        if (std::u16string name = numbered(prefix, number); !inUse(name)) return name;
}

} // namespace

MergedDetails::MergedDetails(const DetailsMergeInput& input)
    : source_(parseDetails(input.source)), target_(parseDetails(input.target)), givesFiles_(input.givesFiles),
      unites_(input.firstMeeting && input.bothWays)
{
    readSource(input.types, input.counterparts);
    readTarget(input.types);
    if (input.firstMeeting) setOwnMarksApart();
    matchBase(input.base);
    pairEqual();
    for (const DetailsPicture& picture : input.pictures)
        if (input.newTarget)
            stayHome(picture);
        else
            decidePicture(picture, input.sourceWins);
    applyRemovals();
    addNew(input.sourceWins);
    if (input.newTarget) ownLines_ = offeredOwnLines(source_.ownLines, input.version);
}

void MergedDetails::readSource(const FieldTypeMap& types, const Counterparts& counterparts)
{
    for (const DetailsUnit& unit : source_.units) {
        SourceUnit own{.unit = &unit, .targetHash = unit.hash};
        if (unit.isAnnotation()) {
            const auto mapped = types.find(unit.field);
            own.travels = mapped != types.end();
            if (own.travels) own.targetField = mapped->second;
            if (own.travels) own.targetHash = annotationHash(unit, mapped->second);
        }
        if (!counterparts.empty() && !unit.isAnnotation()) own.rewritten = rewritten(unit, counterparts);
        if (own.rewritten) own.targetHash = own.rewritten->hash;
        sourceUnits_.push_back(own);
    }
}

const DetailsUnit* MergedDetails::rewritten(const DetailsUnit& unit, const Counterparts& counterparts)
{
    std::vector<std::u16string> lines;
    for (const std::u16string_view line : unit.lines) lines.push_back(withCounterpart(line, counterparts));
    if (std::ranges::equal(lines, unit.lines)) return nullptr;
    DetailsUnit& made = rewrittenUnits_.emplace_back(unit);
    for (std::size_t i = 0; i < lines.size(); ++i) made.lines[i] = rewrittenLines_.emplace_back(std::move(lines[i]));
    made.hash = hashOf(made, source_.clients);
    return &made;
}

void MergedDetails::readTarget(const FieldTypeMap& types)
{
    for (const DetailsUnit& unit : target_.units)
        targetUnits_.push_back({.unit = &unit, .mapped = !unit.isAnnotation() || mappedTo(types, unit.field)});
}

// At a first meeting one of the records may be a copy that was made before details were merged.
void MergedDetails::setOwnMarksApart()
{
    for (SourceUnit& own : sourceUnits_)
        if (isMarkOfOldCopies(*own.unit)) own.state = State::Half;
    for (TargetUnit& target : targetUnits_)
        if (isMarkOfOldCopies(*target.unit)) target.state = State::Half;
}

// Pairs of which both sides still hold their unit come first: of several equal units those are the unchanged ones.
void MergedDetails::matchBase(const DetailsBase& base)
{
    UnitsByHash ofSource, ofTarget;
    for (std::size_t i = 0; i < sourceUnits_.size(); ++i) ofSource.add(sourceUnits_[i].unit->hash, i);
    for (std::size_t i = 0; i < targetUnits_.size(); ++i) ofTarget.add(targetUnits_[i].unit->hash, i);
    std::vector<const DetailsPair*> others;
    for (const DetailsPair& pair : base) {
        if (!pair.own || !pair.other || !ofSource.has(*pair.own) || !ofTarget.has(*pair.other)) {
            others.push_back(&pair);
            continue;
        }
        sourceUnits_[*ofSource.take(*pair.own)].state = State::Paired;
        TargetUnit& target = targetUnits_[*ofTarget.take(*pair.other)];
        target.state = State::Paired;
        target.sourceHash = pair.own;
    }
    for (const DetailsPair* pair : others) {
        if (pair->own)
            if (const auto own = ofSource.take(*pair->own)) {
                sourceUnits_[*own].state = pair->other ? State::Gone : State::Half;
                sourceUnits_[*own].baseOther = pair->other;
            }
        if (pair->other)
            if (const auto target = ofTarget.take(*pair->other)) {
                targetUnits_[*target].state = pair->own ? State::Gone : State::Half;
                targetUnits_[*target].sourceHash = pair->own;
            }
    }
}

// What both sides hold in the same words is the same unit, whatever the base says.
void MergedDetails::pairEqual()
{
    UnitsByHash ofTarget;
    for (std::size_t i = 0; i < targetUnits_.size(); ++i)
        if (targetUnits_[i].state != State::Paired && targetUnits_[i].mapped) ofTarget.add(targetUnits_[i].unit->hash, i);
    for (SourceUnit& own : sourceUnits_) {
        if (own.state == State::Paired || !own.travels) continue;
        const auto at = ofTarget.take(own.targetHash);
        if (!at) continue;
        own.state = targetUnits_[*at].state = State::Paired;
        targetUnits_[*at].sourceHash = own.unit->hash;
    }
}

void MergedDetails::applyRemovals()
{
    const auto goes = [](const TargetUnit& target) { return target.state == State::Gone && target.mapped && !target.held; };
    for (TargetUnit& target : targetUnits_)
        if (goes(target) && target.unit->client.empty()) remove(target);
    for (TargetUnit& target : targetUnits_)
        if (goes(target) && target.kept && !isNamed(target.unit->client)) remove(target);
}

// Whether a line of the target names the program of this number.
bool MergedDetails::isNamed(const std::u16string& client) const
{
    return std::ranges::any_of(targetUnits_,
                               [&](const TargetUnit& target) { return target.kept && isOneOf(client, clientsOf(*target.unit)); });
}

void MergedDetails::remove(TargetUnit& target)
{
    target.kept = false;
    removed_.insert(removed_.end(), target.unit->lines.begin(), target.unit->lines.end());
}

void MergedDetails::addNew(const std::function<bool(const DetailsUnit&)>& sourceWins)
{
    for (const bool annotations : {false, true})
        for (SourceUnit& own : sourceUnits_)
            if (own.state == State::New && own.travels && own.unit->isAnnotation() == annotations && canGive(own) &&
                mayAdd(own, sourceWins))
                add(own);
}

// Whether the target can get the unit: with files that it holds itself, or that the source's store gives.
bool MergedDetails::canGive(const SourceUnit& own)
{
    const auto held = [&](std::u16string_view line) {
        const std::u16string_view file = hashedFile(line);
        return file.empty() || std::ranges::any_of(targetUnits_, [&](const TargetUnit& target) {
                   return std::ranges::any_of(target.unit->lines, [&](std::u16string_view other) { return hashedFile(other) == file; });
               });
    };
    if (givesFiles_ || std::ranges::all_of(own.unit->lines, held)) return true;
    fileStaysHome_ = true;
    return false;
}

// Makes room for a unit that the target may have once. At a first meeting an annotation with all parameters of the other one is their
// union, and no edit of it.
bool MergedDetails::mayAdd(const SourceUnit& own, const std::function<bool(const DetailsUnit&)>& sourceWins)
{
    if (own.unit->key.empty()) return true;
    const std::u16string key = own.targetField ? annotationKey(*own.targetField) : own.unit->key;
    const auto rival = std::ranges::find_if(
        targetUnits_, [&](const TargetUnit& target) { return target.kept && target.state != State::Paired && target.unit->key == key; });
    if (rival == targetUnits_.end()) return true;
    if (unites_ && own.targetField) {
        const auto wanted = parametersOf(*own.unit), held = parametersOf(*rival->unit);
        if (std::ranges::includes(held, wanted)) return false;
        if (std::ranges::includes(wanted, held)) {
            remove(*rival);
            return true;
        }
    }
    const bool changedByUser = rival->state == State::New;
    if (changedByUser && !sourceWins(*own.unit)) return false;
    if (changedByUser) overwritten_.insert(overwritten_.end(), rival->unit->lines.begin(), rival->unit->lines.end());
    remove(*rival);
    return true;
}

void MergedDetails::add(SourceUnit& own)
{
    own.state = State::Paired;
    const DetailsUnit& unit = own.rewritten ? *own.rewritten : *own.unit;
    UnitNames names;
    for (const std::u16string& number : clientsOf(unit))
        if (source_.clients.contains(number)) names.clients[number] = bringClient(number);
    if (own.targetField) {
        added_.push_back(annotationLine(unit, *own.targetField, names.clients));
        addedUnits_.push_back({annotationKey(*own.targetField), {}, {}, own.targetHash, unit.hash, false});
        return;
    }
    if (!unit.group.empty()) names.group = freeGroup(unit.group);
    if (!unit.altId.empty()) names.altId = freeName(unit, &DetailsUnit::altId, addedAltIds_);
    if (!unit.propId.empty()) names.propId = freeName(unit, &DetailsUnit::propId, addedPropIds_);
    if (!unit.client.empty()) names.client = clientNumber(unit.client);
    if (!names.group.empty()) addedGroups_.push_back(names.group);
    const auto keepIfSame = [](std::u16string& name, const std::u16string& before) { // in the case of its letters
        if (name == before) name.clear();
    };
    keepIfSame(names.group, unit.group);
    keepIfSame(names.altId, unit.altId);
    keepIfSame(names.propId, unit.propId);
    for (std::u16string& line : renamedLines(unit, names)) added_.push_back(std::move(line));
    addedUnits_.push_back({unit.key, unit.name, unit.lines.front(), own.targetHash, own.unit->hash, false});
}

// The number of a program in the target. Its CLIENTPIDMAP is added to the target if that lacks it.
std::u16string MergedDetails::bringClient(const std::u16string& number)
{
    std::u16string inTarget = clientNumber(number);
    const auto own = std::ranges::find_if(sourceUnits_, [&](const SourceUnit& unit) { return unit.unit->client == number; });
    if (own != sourceUnits_.end() && own->state != State::Paired) add(*own);
    return inTarget;
}

// The number that the source's program has in the target, or will have.
std::u16string MergedDetails::clientNumber(const std::u16string& number)
{
    const std::u16string& uri = source_.clients.find(number)->second;
    const auto [known, first] = clientNumbers_.emplace(uri, u"");
    if (!first) return known->second;
    const auto has = [&](const auto& matches) {
        return std::ranges::find_if(targetUnits_, [&](const TargetUnit& target) {
            return target.kept && !target.unit->client.empty() && matches(target.unit->client);
        });
    };
    const auto same = has([&](const std::u16string& client) { return target_.clients.find(client)->second == uri; });
    const auto inUse = [&](const std::u16string& name) {
        return has([&](const std::u16string& client) { return client == name; }) != targetUnits_.end() || isNamed(name) ||
               std::ranges::any_of(clientNumbers_, [&](const auto& given) { return given.second == name; });
    };
    known->second = same != targetUnits_.end() ? same->unit->client : inUse(number) ? firstFree({}, inUse) : number;
    return known->second;
}

std::u16string MergedDetails::freeGroup(const std::u16string& wanted) const
{
    const auto inUse = [&](const std::u16string& name) {
        return std::ranges::find(addedGroups_, name) != addedGroups_.end() ||
               std::ranges::any_of(targetUnits_, [&](const TargetUnit& target) { return target.kept && target.unit->group == name; });
    };
    return inUse(wanted) ? firstFree(u"item", inUse) : wanted;
}

// The unit's ALTID or PROP-ID, or another one if a unit of the same property has it.
std::u16string MergedDetails::freeName(const DetailsUnit& unit, std::u16string DetailsUnit::*which, PropertyNames& added) const
{
    const auto inUse = [&](const std::u16string& name) {
        return std::ranges::find(added, std::pair(std::u16string(unit.name), name)) != added.end() ||
               std::ranges::any_of(targetUnits_, [&](const TargetUnit& target) {
                   return target.kept && target.unit->name == unit.name && target.unit->*which == name;
               });
    };
    const std::u16string& wanted = unit.*which;
    std::u16string name = inUse(wanted) ? firstFree({}, inUse) : wanted;
    added.emplace_back(unit.name, name);
    return name;
}

bool MergedDetails::keepsAnnotation() const
{
    return std::ranges::any_of(targetUnits_, [](const TargetUnit& target) { return target.kept && target.unit->isAnnotation(); });
}

std::u16string MergedDetails::text(const std::vector<std::u16string>& added) const
{
    std::u16string text;
    const auto append = [&](std::u16string_view line) {
        if (!text.empty()) text += u'\n';
        text += line;
    };
    for (const TargetUnit& target : targetUnits_)
        if (target.kept) std::ranges::for_each(target.unit->lines, append);
    for (const std::u16string& line : added) append(line);
    for (const std::u16string_view line : target_.ownLines) append(line);
    for (const std::u16string& line : ownLines_) append(line);
    return text;
}

std::vector<MergedDetails::Expected> MergedDetails::expected() const
{
    std::vector<Expected> all;
    for (const TargetUnit& target : targetUnits_) {
        if (!target.kept) continue;
        const DetailsUnit& unit = *target.unit;
        all.push_back({unit.key, unit.name, unit.lines.front(), unit.hash, target.sourceHash,
                       target.state == State::Paired || target.state == State::Half || target.held});
    }
    for (Expected unit : addedUnits_) {
        unit.inBase = true;
        all.push_back(std::move(unit));
    }
    return all;
}

namespace {

std::u16string foldedValue(std::u16string_view line)
{
    const std::size_t colon = line.find(u':');
    return platform::foldedAlnum(line.substr(colon == std::u16string_view::npos ? line.size() : colon));
}

} // namespace

DetailsBase MergedDetails::nextBase(std::u16string_view targetNow) const
{
    const DetailsText now = parseDetails(targetNow);
    DetailsBase base;
    for (const SourceUnit& own : sourceUnits_)
        if (own.state == State::Gone || own.state == State::Half) base.push_back({own.unit->hash, own.baseOther});

    UnitsByHash held;
    for (std::size_t i = 0; i < now.units.size(); ++i) held.add(now.units[i].hash, i);
    std::vector<Expected> missing;
    std::vector<bool> seen(now.units.size());
    for (Expected& unit : expected()) {
        const auto at = held.take(unit.hash);
        if (!at)
            missing.push_back(std::move(unit));
        else if (unit.inBase)
            base.push_back({unit.sourceHash, unit.hash});
        if (at) seen[*at] = true;
    }
    // A unit that the store spells anew: by its key, else by its property and value, else by its property.
    using Same = bool (*)(const Expected&, const DetailsUnit&);
    constexpr Same ways[] = {
        [](const Expected& a, const DetailsUnit& b) { return !a.key.empty() && a.key == b.key; },
        [](const Expected& a, const DetailsUnit& b) {
            return !a.name.empty() && a.name == b.name && foldedValue(a.line) == foldedValue(b.lines.front());
        },
        [](const Expected& a, const DetailsUnit& b) { return a.key.empty() && b.key.empty() && !a.name.empty() && a.name == b.name; }};
    for (const Same same : ways)
        std::erase_if(missing, [&](const Expected& unit) {
            for (std::size_t i = 0; i < now.units.size(); ++i) {
                if (seen[i] || !same(unit, now.units[i])) continue;
                seen[i] = true;
                if (unit.inBase) base.push_back({unit.sourceHash, now.units[i].hash});
                return true;
            }
            return false;
        });
    for (const Expected& unit : missing)
        if (unit.sourceHash && unit.inBase) base.push_back({unit.sourceHash, std::nullopt});
    for (std::size_t i = 0; i < now.units.size(); ++i)
        if (!seen[i]) base.push_back({std::nullopt, now.units[i].hash});
    return base;
}

bool detailsAsInBase(std::u16string_view text, const DetailsBase& base, const FieldTypeMap& types,
                     const std::vector<std::u16string_view>& home)
{
    const DetailsText details = parseDetails(text);
    std::unordered_map<DetailsHash, int> known;
    for (const DetailsPair& pair : base)
        if (pair.own) ++known[*pair.own];
    for (const DetailsUnit& unit : details.units) {
        const auto at = known.find(unit.hash);
        const bool stays = std::ranges::any_of(home, [&](std::u16string_view property) { return isPictureUnit(unit, property); });
        const bool travels = !stays && (!unit.isAnnotation() || types.contains(unit.field));
        if (at != known.end() && at->second > 0)
            --at->second;
        else if (travels)
            return false;
    }
    return std::ranges::all_of(known, [](const auto& each) { return each.second == 0; });
}

} // namespace mb
