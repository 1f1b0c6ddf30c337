#include "SystemCharset.h"

#include <array>
#include <bit>
#include <cerrno>
#include <iconv.h>

namespace mb::vcard {
namespace {

constexpr const char* kUtf16 = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

class Converter {
public:
    Converter(const char* to, const char* from) : handle_(iconv_open(to, from)) {}
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter()
    {
        if (*this) iconv_close(handle_);
    }
    explicit operator bool() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

    std::optional<std::string> convert(std::string_view in)
    {
        std::string out;
        char* from = const_cast<char*>(in.data()); // iconv only reads it
        std::size_t left = in.size();
        std::array<char, 1024> buffer;
        for (bool flushing = false;; flushing = left == 0) {
            char* to = buffer.data();
            std::size_t room = buffer.size();
            const std::size_t n = iconv(handle_, flushing ? nullptr : &from, flushing ? nullptr : &left, &to, &room);
            out.append(buffer.data(), buffer.size() - room);
            if (n == static_cast<std::size_t>(-1)) {
                if (errno != E2BIG) return std::nullopt;
            } else if (flushing) {
                return out;
            }
        }
    }

private:
    iconv_t handle_;
};

// What mail programs call Shift_JIS is in practice the Windows code page; the strict table lacks common characters.
std::string systemName(std::string_view charset)
{
    std::string name(charset);
    for (char& c : name)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return name == "SHIFT_JIS" || name == "SHIFT-JIS" || name == "SJIS" ? "CP932" : name;
}

} // namespace

std::optional<std::u16string> systemDecode(std::string_view bytes, std::string_view charset)
{
    Converter converter(kUtf16, systemName(charset).c_str());
    if (!converter) return std::nullopt;
    const auto out = converter.convert(bytes);
    if (!out || out->size() % 2 != 0) return std::nullopt;
    std::u16string text(out->size() / 2, u'\0');
    out->copy(reinterpret_cast<char*>(text.data()), out->size());
    return text;
}

std::optional<std::string> systemEncode(std::u16string_view text, std::string_view charset)
{
    Converter converter(systemName(charset).c_str(), kUtf16);
    if (!converter) return std::nullopt;
    return converter.convert({reinterpret_cast<const char*>(text.data()), text.size() * 2});
}

} // namespace mb::vcard
