// Converts the bytes of a file to the text that the parser reads, and back without loss. UTF-16 becomes UTF-8, a byte order mark is set
// aside, and 8-bit files stay as they are: each card determines its own charset.
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace mb::vcard {

struct FileText {
    enum class Form { Bytes, Utf8Mark, Utf16Little, Utf16Big };
    Form form = Form::Bytes;
    bool mark = false; // whether a UTF-16 file began with a byte order mark
    std::string text;
};

// Returns nullopt for invalid UTF-16: an odd number of bytes, or an unpaired surrogate.
std::optional<FileText> openText(std::string bytes);
// Returns the bytes of a file with this text, in the form of `file`.
std::string closeText(const FileText& file, std::string_view text);

} // namespace mb::vcard
