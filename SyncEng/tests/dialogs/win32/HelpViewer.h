// In the place of the system's help viewer in this process, for as long as it lives: it shows nothing and remembers what it is asked for.
// Its entry point is turned here, since a library of the viewer's name would not be taken: Wine prefers its own to one of any folder.
#pragma once
#include <array>
#include <filesystem>
#include <vector>
#include <windows.h>

namespace mbtest {

struct HelpCall {
    HWND window;
    std::filesystem::path file;
    UINT command;
    DWORD_PTR topic;
};

class HelpViewer {
public:
    HelpViewer();
    HelpViewer(const HelpViewer&) = delete;
    HelpViewer& operator=(const HelpViewer&) = delete;
    ~HelpViewer();
    [[nodiscard]] static std::vector<HelpCall> calls();

private:
    using Code = std::array<BYTE, 12>;
    void put(const Code& code) const;
    HMODULE library_;
    void* entry_;
    Code former_{};
};

} // namespace mbtest
