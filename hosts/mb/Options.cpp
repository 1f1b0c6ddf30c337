#include "Options.h"

#include "DeleteLimit.h"
#include "Failure.h"
#include "Output.h"
#include "text.h"
#include <charconv>

namespace mbhost {
namespace {

constexpr OptionValue yesNo[] = {{"yes", 1}, {"no", 0}};
constexpr OptionValue directions[] = {{"both", stSynchronize}, {"to-first", stImportToTrans1}, {"to-second", stExportFromTrans1}};
// "merge" is not offered: only a user who is asked can merge, and as an option it leaves both contacts unchanged.
constexpr OptionValue changeConflicts[] = {{"ask", croNotify},       {"first-wins", croTrans1Wins}, {"second-wins", croTrans2Wins},
                                           {"keep-both", croAddAll}, {"merge", croMerge, false},    {"delete-both", croDeleteAll}};
constexpr OptionValue noLimit[] = {{"none", 0}};
constexpr OptionValue cardVersions[] = {{"as-store", cvAsStore}, {"as-source", cvAsSource}, {"3.0", cv30}, {"4.0", cv40}};
constexpr OptionValue deleteConflicts[] = {
    {"ask", croNotify}, {"keep", croAddAll}, {"delete", croDeleteAll}, {"first-wins", croTrans1Wins}, {"second-wins", croTrans2Wins}};

constexpr Option allOptions[] = {
    {"confirm-additions", soConfirmAdds, "ask before new contacts are written", 1, yesNo},
    {"confirm-changes", soConfirmUpdates, "ask before changes are written", 1, yesNo},
    {"confirm-deletions", soConfirmDeletes, "ask before contacts are deleted", 1, yesNo},
    {"conflicts", soConflictResolution, "when both sides changed a contact", croNotify, changeConflicts},
    {"delete-conflicts", soDelConflictResolution, "when one side changed a contact and the other deleted it", croNotify, deleteConflicts},
    {"direction", soSyncType, "which stores are written", stSynchronize, directions},
    {"verified-only", soSyncVerified, "leave out new contacts that are not verified", 0, yesNo},
    {"images", soSyncImages, "synchronise pictures", 1, yesNo},
    {"compare-images", soSyncImageOptionChanged, "compare all pictures in the next run", 0, yesNo},
    {"max-delete", soDeletionLimit, "largest share of a store's contacts that a run may delete", halfOfAStore, noLimit, true},
    {"card-version", soCardVersion, "version of new vCards, if Details are mapped", cvAsStore, cardVersions},
};

std::string lowerName(const std::string& text) { return platform::utf8(platform::lowered(platform::utf16(text))); }

// The number of a text such as "20%", from 1 to 100; 0 for any other text.
LONG percentOf(std::string_view text)
{
    LONG value = 0;
    if (!text.ends_with('%')) return 0;
    const char* const end = text.data() + text.size() - 1;
    const auto [stop, wrong] = std::from_chars(text.data(), end, value);
    return wrong == std::errc() && stop == end && value >= 1 && value <= 100 ? value : 0;
}

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
    throw Failure("There is no option " + quote(name) + ". The options are:" + known + " first second.", exitUsage);
}

LONG optionValueNamed(const Option& option, const std::string& name)
{
    const std::string wanted = lowerName(name);
    std::string known;
    for (const OptionValue& value : option.values) {
        if (wanted == value.name) return value.value;
        if (value.isOffered) known += std::string(" ") + value.name;
    }
    if (option.isPercentage) {
        known += " 1% to 100%";
        if (const LONG percent = percentOf(wanted); percent > 0) return percent;
    }
    throw Failure("The option " + std::string(option.name) + " has no value " + quote(name) + ". Its values are:" + known + ".", exitUsage);
}

std::string optionValueName(const Option& option, LONG value)
{
    for (const OptionValue& known : option.values)
        if (known.value == value) return known.name;
    return std::to_string(value) + (option.isPercentage ? "%" : "");
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
