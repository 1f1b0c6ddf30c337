#include "DraftPool.h"

#include <chrono>
#include <utility>

namespace mb::vcard {
namespace {

// Opens as many files as possible. A failure is ignored: take() meets it again.
std::vector<std::unique_ptr<Folder::Draft>> openSome(const Folder& folder)
{
    constexpr std::size_t kAhead = 64;
    std::vector<std::unique_ptr<Folder::Draft>> drafts;
    drafts.reserve(kAhead);
    try {
        while (drafts.size() < kAhead) drafts.push_back(std::make_unique<Folder::Draft>(folder));
    } catch (const FileError&) {
    }
    return drafts;
}

} // namespace

std::unique_ptr<Folder::Draft> DraftPool::take()
{
    using namespace std::chrono_literals;
    if (ready_.empty() && next_.valid() && next_.wait_for(0s) == std::future_status::ready) ready_ = next_.get();
    // If no thread can be started, the task is deferred and never gets ready.
    if (!next_.valid()) next_ = std::async(std::launch::async | std::launch::deferred, [this] { return openSome(folder_); });
    if (ready_.empty()) return std::make_unique<Folder::Draft>(folder_);
    auto draft = std::move(ready_.back());
    ready_.pop_back();
    return draft;
}

} // namespace mb::vcard
