#include "ui.h"

#include "message_reader.h"
#include "text.h"
#include "unattended.h"
#include <cstdio>

namespace platform {
namespace {

// Removes control characters other than line feeds, so that the text cannot control the terminal.
std::string printable(std::u16string_view text)
{
    std::u16string safe;
    for (const char16_t c : text)
        if (c == u'\n' || (c >= 0x20 && c != 0x7F && !(c >= 0x80 && c < 0xA0))) safe += c;
    return utf8(safe);
}

} // namespace

void showMessage(HWND, std::u16string_view text, std::u16string_view caption, MessageKind) noexcept
{
    try {
        if (const MessageReader reader = messageReader()) return reader(text);
        std::fprintf(stderr, "%s: %s\n", printable(caption).c_str(), printable(text).c_str());
    } catch (...) { // the failure cannot be shown either
    }
}

bool showHelp(HWND, const std::filesystem::path&, unsigned) noexcept { return false; }

bool showsWindows() noexcept { return false; }

void silenceSystemErrorBoxes() noexcept {}
void prepareListViews() noexcept {}

WaitCursor::WaitCursor() noexcept {}
WaitCursor::~WaitCursor() {}

} // namespace platform
