// Keeps the engine's messages off the terminal while it runs: mb tells why a run failed, and nothing is said twice.
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
    // What the engine told last; empty if it told nothing.
    [[nodiscard]] std::string last() const;

private:
    platform::MessageReader former_;
};

} // namespace mbhost
