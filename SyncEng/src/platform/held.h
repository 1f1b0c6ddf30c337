// Retries for a file that another program holds open for a moment, such as a virus scanner, an indexer or a backup.
#pragma once
#include <algorithm>
#include <chrono>
#include <thread>

namespace platform {

enum class Purpose { Open, Replace };

// Returns whether the system's last error means that another program holds the file open. For Purpose::Replace on Windows "access denied"
// counts too, since that is the error for replacing or deleting an open file.
bool lastErrorIsHold(Purpose purpose) noexcept;

// Makes the call and, while another program holds the file, repeats it with growing pauses for up to two seconds. Returns the result of the
// last call and keeps the system's last error as that call set it.
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
