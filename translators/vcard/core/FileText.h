// A file's bytes as text the parser can walk: a UTF-16 file is turned into UTF-8 and back without loss, a byte order mark is
// kept aside, and 8-bit files are left as they are (what their bytes mean is settled card by card).
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace mb::vcard {

struct FileText {
    enum class Form { Bytes, Utf8Mark, Utf16Little, Utf16Big };
    Form form = Form::Bytes;
    bool mark = false; // a UTF-16 file began with its byte order mark
    std::string text;
};

// Nothing is returned for UTF-16 that cannot be read: an odd byte, or half of a surrogate pair.
std::optional<FileText> openText(std::string bytes);
std::string closeText(const FileText& file, std::string_view text);

} // namespace mb::vcard
