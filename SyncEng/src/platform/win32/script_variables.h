// A script's variables, which can hold a value of any type, for typed arguments that come back. The system takes such a variable only
// where a method wants one, so the method is given a value of its own type, which the variable receives after the call.
#pragma once
#include "com.h"

#include <vector>

namespace com {

class ScriptVariables {
public:
    // The arguments stay the caller's. Named ones are left as they are.
    ScriptVariables(const Ptr<ITypeInfo>& info, DISPID method, const DISPPARAMS& given);
    [[nodiscard]] DISPPARAMS* arguments() noexcept { return &params_; }
    // After a call that reached the method, also one that failed.
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
