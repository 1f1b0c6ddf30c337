#include "EngineMessages.h"

#include "Output.h"

namespace mbhost {
namespace {

std::u16string lastMessage;

} // namespace

EngineMessages::EngineMessages() : former_(platform::readMessages([](std::u16string_view text) { lastMessage = text; }))
{
    lastMessage.clear();
}

EngineMessages::~EngineMessages() { (void)platform::readMessages(former_); }

std::string EngineMessages::last() const { return printable(lastMessage); }

} // namespace mbhost
