// Where the library of this plug-in lies. One source file a platform.
#pragma once
#include <string>

namespace mb::vcard {

std::u16string modulePath(); // empty if the system does not tell

} // namespace mb::vcard
