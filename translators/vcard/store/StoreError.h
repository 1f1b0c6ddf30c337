// A step of the store that failed: which step, as the result code of the interface, and a text for the user.
#pragma once
#include <cstdint>
#include <stdexcept>
#include <string>

namespace mb::vcard {

enum class Step : std::uint32_t {
    Open = 0x80040202,
    Close = 0x80040203,
    Find = 0x80040207,
    BeginRead = 0x80040208,
    ReadField = 0x80040209,
    Add = 0x8004020A,
    Edit = 0x8004020B,
    WriteField = 0x8004020C,
    Save = 0x8004020D,
    Delete = 0x8004020E,
    Update = 0x8004020F,
};

class StoreError : public std::runtime_error {
public:
    StoreError(Step step, const std::string& text) : std::runtime_error(text), step_(step) {}
    Step step() const { return step_; }

private:
    Step step_;
};

} // namespace mb::vcard
