#include "DeleteLimit.h"

#include "Failure.h"
#include "Output.h"
#include <charconv>

namespace mbhost {

DeleteLimit::DeleteLimit(const std::string& text) : smallStore_(0)
{
    if (text == "none") {
        kind_ = Kind::None;
        return;
    }
    const bool percent = text.ends_with('%');
    const char* const end = text.data() + text.size() - (percent ? 1 : 0);
    const auto [stop, error] = std::from_chars(text.data(), end, value_);
    if (error != std::errc() || stop != end || value_ < 0 || (percent && value_ > 100))
        throw Failure("--max-delete takes a number of contacts, a percentage up to 100%, or none; it does not take " + quote(text) + ".",
                      exitUsage);
    kind_ = percent ? Kind::Percent : Kind::Number;
}

DeleteLimit DeleteLimit::ofMap(std::int32_t percent) noexcept
{
    DeleteLimit limit;
    limit.value_ = percent;
    if (percent <= 0) limit.kind_ = Kind::None;
    return limit;
}

bool DeleteLimit::allows(std::int64_t records, std::int64_t deletions) const noexcept
{
    return (kind_ == Kind::Percent && records <= smallStore_) || allowsOfAnySize(records, deletions);
}

bool DeleteLimit::allowsOfAnySize(std::int64_t records, std::int64_t deletions) const noexcept
{
    switch (kind_) {
    case Kind::None: return true;
    case Kind::Number: return deletions <= value_;
    case Kind::Percent: break;
    }
    return deletions * 100 <= records * value_;
}

std::string DeleteLimit::text() const
{
    return kind_ == Kind::None ? "none" : std::to_string(value_) + (kind_ == Kind::Percent ? "%" : "");
}

} // namespace mbhost
