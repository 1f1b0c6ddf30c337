#include "DraftsAhead.h"

#include <utility>

namespace mb::vcard {
namespace {

// As many as can be had: why one cannot be made is found out anew by who needs it.
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

std::unique_ptr<Folder::Draft> DraftsAhead::take()
{
    if (ready_.empty()) {
        if (next_.valid()) ready_ = next_.get();
        // Where no thread can be had, they are opened when they are asked for.
        next_ = std::async(std::launch::async | std::launch::deferred, [this] { return openSome(folder_); });
    }
    if (ready_.empty()) return std::make_unique<Folder::Draft>(folder_);
    auto draft = std::move(ready_.back());
    ready_.pop_back();
    return draft;
}

} // namespace mb::vcard
