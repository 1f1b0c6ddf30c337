#include "unattended.h"

#include "host.h"

namespace platform {
namespace {

constexpr char16_t variable[] = u"MB_UNATTENDED"; // the modules of a process share no other state

} // namespace

bool isUnattended()
{
    const auto told = environment(variable);
    return told && !told->empty() && *told != u"0";
}

void setUnattended() { setEnvironment(variable, u"1"); }

} // namespace platform
