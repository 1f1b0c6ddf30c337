// A file that another program holds for a moment, as a virus scanner, an indexer or a backup does: the call is made again before it
// counts as failed.
#pragma once
#include <algorithm>
#include <chrono>
#include <thread>

namespace platform {

enum class Purpose { Open, Replace };

// Whether the last error of the system, as the call before left it, says that another program holds the file. On Windows a file that is
// to be replaced or deleted and is open elsewhere is told as one that may not be.
bool lastErrorIsHold(Purpose purpose) noexcept;

// Makes the call, and again with growing pauses while it fails by a hold, for two seconds in all. Returns what the last call returned,
// and leaves the last error of the system as that call left it.
template <class Call, class Succeeded> auto whileHeld(Purpose purpose, Call&& call, Succeeded&& succeeded)
{
    using std::chrono::milliseconds;
    constexpr milliseconds most{2000};
    auto result = call();
    for (milliseconds pause{10}, waited{0}; waited < most && !succeeded(result) && lastErrorIsHold(purpose); result = call()) {
        std::this_thread::sleep_for(pause);
        waited += pause;
        pause = std::min(pause * 2, most - waited);
    }
    return result;
}

} // namespace platform
