// Keeps the engine's messages off the terminal while this object lives. mb itself prints why a run failed, so nothing is printed twice.
#pragma once
#include "ui.h"
#include <string>

namespace mbhost {

class EngineMessages {
public:
    EngineMessages();
    EngineMessages(const EngineMessages&) = delete;
    EngineMessages& operator=(const EngineMessages&) = delete;
    ~EngineMessages();
    // The engine's last message; empty if there was none.
    [[nodiscard]] std::string last() const;

private:
    platform::MessageReader former_;
};

} // namespace mbhost
