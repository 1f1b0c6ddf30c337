#include "string_module.h"

#include "files.h"
#include "text.h"
#include <charconv>
#include <unordered_map>

namespace platform {

struct StringModule::Texts {
    std::unordered_map<int, std::u16string> byId;
};

namespace {

constexpr std::uint64_t largestModule = 16 << 20;

std::string unescaped(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        const char c = text[++i];
        out += c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
    }
    return out;
}

} // namespace

StringModule::StringModule() noexcept = default;
StringModule::StringModule(StringModule&&) noexcept = default;
StringModule& StringModule::operator=(StringModule&&) noexcept = default;
StringModule::~StringModule() = default;

StringModule::StringModule(const std::filesystem::path& file)
{
    std::error_code error;
    const std::string bytes = readFile(file, error, largestModule);
    if (error) return;
    texts_ = std::make_unique<Texts>();
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t end = std::min(bytes.find('\n', at), bytes.size());
        std::string_view line(bytes.data() + at, end - at);
        at = end + 1;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        int id = 0;
        const auto [rest, failure] = std::from_chars(line.data(), line.data() + line.size(), id);
        const std::size_t used = static_cast<std::size_t>(rest - line.data());
        if (failure != std::errc() || used >= line.size() || line[used] != '\t') continue;
        texts_->byId[id] = utf16(unescaped(line.substr(used + 1)));
    }
}

std::optional<std::u16string> StringModule::text(int id) const
{
    if (!texts_) return std::nullopt;
    const auto at = texts_->byId.find(id);
    return at == texts_->byId.end() ? std::nullopt : std::optional(at->second);
}

} // namespace platform
