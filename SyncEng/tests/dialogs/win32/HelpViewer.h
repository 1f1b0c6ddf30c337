// While this object lives, replaces the system's help viewer in this process: it shows nothing and records the calls. It overwrites the
// viewer's entry point with a jump, because Wine prefers its own library to any other of that name.
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
