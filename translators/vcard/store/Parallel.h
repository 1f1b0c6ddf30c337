// Runs independent work on several processor cores.
#pragma once
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <future>
#include <thread>
#include <vector>

namespace mb::vcard {

// Calls body(i) for each i below count, on several threads and in any order. Rethrows an exception of body.
template <class F> void forEachIndex(std::size_t count, const F& body)
{
    constexpr std::size_t kAtOnce = 64, kMostThreads = 4; // fewer than 64 are not worth a thread
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t begin; (begin = next.fetch_add(kAtOnce)) < count;)
            for (std::size_t i = begin; i < std::min(count, begin + kAtOnce); ++i) body(i);
    };
    const std::size_t threads = std::min({kMostThreads, std::size_t{std::thread::hardware_concurrency()}, count / kAtOnce});
    std::vector<std::future<void>> others;
    for (std::size_t i = 1; i < threads; ++i) others.push_back(std::async(std::launch::async, work));
    work();
    for (std::future<void>& other : others) other.get();
}

} // namespace mb::vcard
