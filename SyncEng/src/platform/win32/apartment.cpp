#include "apartment.h"

#include <objbase.h>

namespace platform {

Apartment::Apartment() noexcept : entered_(SUCCEEDED(CoInitialize(nullptr))) {}

Apartment::~Apartment()
{
    if (entered_) CoUninitialize();
}

} // namespace platform
