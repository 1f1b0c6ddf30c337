// The component runtime as a host enters it: while an Apartment lives, its thread is a single-threaded apartment. On Linux, where the
// runtime is our own, it does nothing.
#pragma once

namespace platform {

class Apartment {
public:
    Apartment() noexcept;
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
    ~Apartment();

private:
    [[maybe_unused]] bool entered_ = false; // the destructor must leave the apartment; Windows only
};

} // namespace platform
