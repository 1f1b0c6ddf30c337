#include "Options.h"

#include "Failure.h"
#include "Output.h"
#include "text.h"

namespace mbhost {
namespace {

constexpr OptionValue yesNo[] = {{"yes", 1}, {"no", 0}};
constexpr OptionValue directions[] = {{"both", stSynchronize}, {"to-first", stImportToTrans1}, {"to-second", stExportFromTrans1}};
constexpr OptionValue changeConflicts[] = {{"ask", croNotify},       {"first-wins", croTrans1Wins}, {"second-wins", croTrans2Wins},
                                           {"keep-both", croAddAll}, {"merge", croMerge},           {"delete-both", croDeleteAll}};
constexpr OptionValue deleteConflicts[] = {
    {"ask", croNotify}, {"keep", croAddAll}, {"delete", croDeleteAll}, {"first-wins", croTrans1Wins}, {"second-wins", croTrans2Wins}};

constexpr Option allOptions[] = {
    {"confirm-additions", soConfirmAdds, "ask before new contacts are written", 1, yesNo},
    {"confirm-changes", soConfirmUpdates, "ask before changes are written", 1, yesNo},
    {"confirm-deletions", soConfirmDeletes, "ask before contacts are deleted", 1, yesNo},
    {"conflicts", soConflictResolution, "when both sides changed a contact", croNotify, changeConflicts},
    {"delete-conflicts", soDelConflictResolution, "when one side changed a contact and the other deleted it", croNotify, deleteConflicts},
    {"direction", soSyncType, "which sides are written", stSynchronize, directions},
    {"verified-only", soSyncVerified, "leave out new contacts that are not verified", 0, yesNo},
    {"images", soSyncImages, "take pictures along", 1, yesNo},
    {"compare-images", soSyncImageOptionChanged, "compare all pictures once in the next run", 0, yesNo},
};

std::string lowerName(const std::string& text) { return platform::utf8(platform::lowered(platform::utf16(text))); }

bool isFlag(const Option& option) { return option.values.data() == yesNo; }

} // namespace

std::span<const Option> options() { return allOptions; }

const Option& optionNamed(const std::string& name)
{
    const std::string wanted = lowerName(name);
    std::string known;
    for (const Option& option : allOptions) {
        if (wanted == option.name) return option;
        known += std::string(" ") + option.name;
    }
    throw Failure("There is no option " + quote(name) + ". The options are:" + known + ".", exitUsage);
}

LONG optionValueNamed(const Option& option, const std::string& name)
{
    const std::string wanted = lowerName(name);
    std::string known;
    for (const OptionValue& value : option.values) {
        if (wanted == value.name) return value.value;
        known += std::string(" ") + value.name;
    }
    throw Failure("The option " + std::string(option.name) + " has no value " + quote(name) + ". Its values are:" + known + ".", exitUsage);
}

std::string optionValueName(const Option& option, LONG value)
{
    for (const OptionValue& known : option.values)
        if (known.value == value) return known.name;
    return std::to_string(value);
}

LONG readOption(ITrMap* maps, const GUID& map, const Option& option)
{
    com::Variant value;
    if (FAILED(maps->GetOption(map, option.id, value.put()))) return option.byDefault;
    return isFlag(option) ? value.boolVal != VARIANT_FALSE : value.lVal;
}

HRESULT writeOption(ITrMap* maps, const GUID& map, const Option& option, LONG value)
{
    const com::Variant wanted = isFlag(option) ? com::Variant(value != 0) : com::Variant(value);
    return maps->SetOption(map, option.id, wanted);
}

} // namespace mbhost
