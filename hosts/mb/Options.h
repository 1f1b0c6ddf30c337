// The options of a map by readable names and values.
#pragma once
#include "interfaces.h"
#include <span>
#include <string>

namespace mbhost {

struct OptionValue {
    const char* name;
    LONG value;
    bool isOffered = true; // else it is taken, but lists of values leave it out
};

struct Option {
    const char* name;
    _SyncOptions id;
    const char* meaning;
    LONG byDefault;
    std::span<const OptionValue> values;
    bool isPercentage = false; // takes 1% to 100% besides its named values
};

std::span<const Option> options();
// Throws a Failure of wrong usage that lists what there is.
const Option& optionNamed(const std::string& name);
LONG optionValueNamed(const Option& option, const std::string& name);
std::string optionValueName(const Option& option, LONG value);

// What is set, or the default.
LONG readOption(ITrMap* maps, const GUID& map, const Option& option);
HRESULT writeOption(ITrMap* maps, const GUID& map, const Option& option, LONG value);

} // namespace mbhost
