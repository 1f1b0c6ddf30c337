#include "NewGuid.h"

#include "com.h"
#include "text.h"
#include <stdexcept>

namespace mb::plugin {

std::string newGuid()
{
    GUID guid{};
    if (FAILED(CoCreateGuid(&guid))) throw std::runtime_error("the system provides no random numbers");
    return platform::utf8(com::guidText(guid));
}

} // namespace mb::plugin
