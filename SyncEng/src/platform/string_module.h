// A language module: texts by number in another language. On Windows a resource library with a string table; on Linux a UTF-8 text file
// with a line per text: the number, a tab and the text, with the C escapes \n, \r, \t and \\.
#pragma once
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace platform {

class StringModule {
public:
    StringModule() noexcept;
    explicit StringModule(const std::filesystem::path& file); // empty if the file is missing or no language module
    StringModule(StringModule&&) noexcept;
    StringModule& operator=(StringModule&&) noexcept;
    ~StringModule();
    explicit operator bool() const noexcept { return texts_ != nullptr; }
    [[nodiscard]] std::optional<std::u16string> text(int id) const;

private:
    struct Texts;
    std::unique_ptr<Texts> texts_;
};

// Returns this module's own English text: from its string table on Windows, from a table compiled from the same list on Linux.
std::optional<std::u16string> ownText(int id);

} // namespace platform
