#include "RecentIndexes.h"

#include <utility>

namespace mb::vcard {
namespace {

bool isOld(const ListedFiles& files)
{
    constexpr std::int64_t kLongest = 2'000'000'000; // two seconds
    const std::int64_t age = present() - files.listed;
    return age < 0 || age > kLongest;
}

} // namespace

void RecentIndexes::keep(const std::string& folder, ListedFiles files)
{
    const std::lock_guard lock(mutex_);
    std::erase_if(byFolder_, [](const auto& kept) { return isOld(kept.second); });
    byFolder_[folder] = std::move(files);
}

std::optional<ListedFiles> RecentIndexes::take(const std::string& folder)
{
    const std::lock_guard lock(mutex_);
    auto kept = byFolder_.extract(folder);
    if (!kept || isOld(kept.mapped())) return std::nullopt;
    return std::move(kept.mapped());
}

} // namespace mb::vcard
