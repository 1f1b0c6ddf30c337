// A library of texts by number, in another language. On Windows a resource library with a string table; on Linux a UTF-8 text file
// of lines, each a number, a tab and the text, in which \n, \r, \t and \\ stand for what they stand for in C.
#pragma once
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace platform {

class StringModule {
public:
    StringModule() noexcept;
    explicit StringModule(const std::filesystem::path& file); // empty if there is none
    StringModule(StringModule&&) noexcept;
    StringModule& operator=(StringModule&&) noexcept;
    ~StringModule();
    explicit operator bool() const noexcept { return texts_ != nullptr; }
    [[nodiscard]] std::optional<std::u16string> text(int id) const;

private:
    struct Texts;
    std::unique_ptr<Texts> texts_;
};

// A text of this module's own, in English: from its string table on Windows, from the same list compiled in elsewhere.
std::optional<std::u16string> ownText(int id);

} // namespace platform
