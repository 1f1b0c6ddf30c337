// Splits a phone number into its parts, using the parser library in the host's folder. All parts are empty if the library is missing or
// cannot split the number.
#pragma once
#include "library.h"
#include <string>
#include <string_view>

namespace mb {

struct PhoneParts {
    std::u16string country, area, local, extension;
    [[nodiscard]] bool empty() const noexcept { return country.empty() && area.empty() && local.empty() && extension.empty(); }
};

class ContactParser {
public:
    ContactParser();
    virtual ~ContactParser() = default;
    [[nodiscard]] PhoneParts ParsePhone(std::u16string_view phone) const;

private:
    platform::Library library_;
};

} // namespace mb
