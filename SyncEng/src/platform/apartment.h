// A host's entry into the component runtime: the calling thread is a single-threaded apartment while this lives. Where the runtime is ours
// there is nothing to enter.
#pragma once

namespace platform {

class Apartment {
public:
    Apartment() noexcept;
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
    ~Apartment();

private:
    [[maybe_unused]] bool entered_ = false; // by this object, on Windows
};

} // namespace platform
