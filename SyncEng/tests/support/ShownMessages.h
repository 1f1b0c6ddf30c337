// Collects the messages that the module would show while this object lives. Only one object may exist at a time.
#pragma once
#include "text.h"
#include "ui.h"

#include <string>

namespace mbtest {

class ShownMessages {
public:
    ShownMessages()
    {
        text_.clear();
        former_ = platform::readMessages([](std::u16string_view text) { text_ += platform::utf8(text) + "\n"; });
    }
    ShownMessages(const ShownMessages&) = delete;
    ShownMessages& operator=(const ShownMessages&) = delete;
    ~ShownMessages() { platform::readMessages(former_); }
    [[nodiscard]] const std::string& text() const noexcept { return text_; }

private:
    static inline std::string text_;
    platform::MessageReader former_;
};

} // namespace mbtest
