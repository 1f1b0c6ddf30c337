// The options of a map, with the names and values that the user types.
#pragma once
#include "interfaces.h"
#include <span>
#include <string>

namespace mbhost {

struct OptionValue {
    const char* name;
    LONG value;
    bool isOffered = true; // false: accepted, but not listed
};

struct Option {
    const char* name;
    _SyncOptions id;
    const char* meaning;
    LONG byDefault;
    std::span<const OptionValue> values;
    bool isPercentage = false; // also accepts 1% to 100%
};

std::span<const Option> options();
// Both ignore case, and throw a Failure of wrong usage that lists the known names.
const Option& optionNamed(const std::string& name);
LONG optionValueNamed(const Option& option, const std::string& name);
std::string optionValueName(const Option& option, LONG value);

// The value of the map, or the default if none is set.
LONG readOption(ITrMap* maps, const GUID& map, const Option& option);
HRESULT writeOption(ITrMap* maps, const GUID& map, const Option& option, LONG value);

} // namespace mbhost
