// Passes a script's untyped variables to typed out arguments. The system accepts such a variable only for a VARIANT parameter, so the
// method gets a value of its own type, which is copied to the variable after the call.
#pragma once
#include "com.h"

#include <vector>

namespace com {

class ScriptVariables {
public:
    // The arguments stay owned by the caller. Named arguments are passed unchanged.
    ScriptVariables(const Ptr<ITypeInfo>& info, DISPID method, const DISPPARAMS& given);
    [[nodiscard]] DISPPARAMS* arguments() noexcept { return &params_; }
    // Copies the values to the variables. Requires: the call reached the method; the method may have failed.
    void giveBack() noexcept;

private:
    struct Held {
        VARIANT* variable;
        Variant value;
    };
    void hold(VARIANT& argument, const Ptr<ITypeInfo>& info, const ELEMDESC& parameter);

    std::vector<VARIANT> arguments_; // not owned
    std::vector<Held> held_;
    DISPPARAMS params_;
};

} // namespace com
