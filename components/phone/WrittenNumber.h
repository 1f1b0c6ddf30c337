// A phone number as somebody wrote it: its digits, and what stands between them.
#pragma once
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace phone {

class WrittenNumber {
public:
    explicit WrittenNumber(std::u16string_view text);

    // All digits, in order. Full-width and Arabic-Indic digits count as what they stand for.
    [[nodiscard]] const std::string& digits() const noexcept { return digits_; }
    // Whether nothing in the text has a meaning that its digits alone do not have. Between the digits may stand what groups them: blanks,
    // hyphens, full stops, slashes and brackets; in front a plus sign, or "tel:". The last `extensionLength` digits are the extension,
    // and a word that announces one stands before them.
    [[nodiscard]] bool isUnderstood(std::size_t extensionLength) const;

private:
    [[nodiscard]] bool isExtension(std::size_t begin, std::size_t firstDigit) const;

    std::u16string text_;
    std::string digits_;
    std::vector<std::size_t> places_; // of the digits in the text
};

} // namespace phone
