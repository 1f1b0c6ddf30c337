// A terminal for tests: the input is given at the start, and the output is kept.
#pragma once
#include "console.h"
#include "text.h"
#include <deque>

namespace mbtest {

struct Screen {
    std::deque<std::u16string> input; // lines; after the last one the input ends
    std::u16string output;
    std::size_t width = 80, height = 24;
    bool colour = false;
    [[nodiscard]] std::string text() const { return platform::utf8(output); }
};

class TypedConsole final : public platform::Console {
public:
    explicit TypedConsole(Screen& screen) : screen_(screen) {}
    void write(std::u16string_view text) override { screen_.output += text; }
    bool readLine(std::u16string& line) override
    {
        if (screen_.input.empty()) return false;
        line = screen_.input.front();
        screen_.input.pop_front();
        screen_.output += u'\n'; // a terminal echoes the Enter key
        return true;
    }
    [[nodiscard]] std::size_t columns() const override { return screen_.width; }
    [[nodiscard]] std::size_t lines() const override { return screen_.height; }
    [[nodiscard]] bool coloured() const override { return screen_.colour; }

private:
    Screen& screen_;
};

} // namespace mbtest
