#include "apartment.h"

namespace platform {

Apartment::Apartment() noexcept = default;
Apartment::~Apartment() = default;

} // namespace platform
