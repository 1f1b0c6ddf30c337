// The groups of fields that a store may keep as one unit: the name, and the two addresses.
#pragma once
#include "com.h"
#include "interfaces.h"

namespace mb {

enum FieldGroup : unsigned { groupName = 1, groupAddress1 = 2, groupAddress2 = 4 };

inline constexpr FieldGroup fieldGroups[] = {groupName, groupAddress1, groupAddress2};
inline constexpr std::size_t fieldsOfGroup = 5;

// True if the type falls in a group whose bit is set.
inline constexpr bool IsFieldInGroup(LONG fieldType, unsigned groupMask) noexcept
{
    const auto in = [&](FieldGroup group, LONG first, LONG last) { return (groupMask & group) && fieldType >= first && fieldType <= last; };
    return in(groupName, ftNamePrefix, ftNameSuffix) || in(groupAddress1, ftStreet1, ftCountry1) ||
           in(groupAddress2, ftStreet2, ftCountry2);
}

} // namespace mb
