#include "message_reader.h"

#include <atomic>

namespace platform {
namespace {

std::atomic<MessageReader> current = nullptr;

} // namespace

MessageReader messageReader() noexcept { return current; }
MessageReader readMessages(MessageReader reader) noexcept { return current.exchange(reader); }

} // namespace platform
