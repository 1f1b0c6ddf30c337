// Runs scripts that drive components: load a text, then run one of its procedures. Lua on Linux, VBScript in the Script Control on Windows.
// Loaded code stays loaded until the runner is destroyed.
#pragma once
#include "com.h"
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// Why a script failed, for its author. `line` is 0 if unknown.
struct ScriptError {
    std::u16string file, message;
    int line = 0;
};

class ScriptRunner {
public:
    // Creates an object by its class's name, for the script's CreateObject. Unused on Windows, where the Script Control does it.
    using Maker = std::function<HRESULT(std::u16string_view progId, com::Ptr<IDispatch>& object)>;

    virtual ~ScriptRunner() = default;
    ScriptRunner(const ScriptRunner&) = delete;
    ScriptRunner& operator=(const ScriptRunner&) = delete;
    // Loads code; `file` is only used in messages. Every failure fills `error`, also E_ABORT for a cancelled script.
    virtual HRESULT addCode(std::u16string_view text, std::u16string_view file, ScriptError& error) = 0;
    // Runs a procedure. `result` is what it returned: a number in Lua, any value in VBScript; otherwise empty.
    virtual HRESULT run(std::u16string_view procedure, ScriptError& error, com::Variant& result) = 0;
    // Sets the arguments for code that is added from now on: the table `arg`, from index 1, in Lua; the array `Arguments`, from index 0, in
    // VBScript.
    virtual HRESULT setArguments(const std::vector<std::u16string>& arguments) = 0;

protected:
    ScriptRunner() = default;
};

// For methods that a script calls: returns whether the script of this thread was cancelled. Always false on Windows.
bool isScriptCancelled() noexcept;

HRESULT createScriptRunner(ScriptRunner::Maker maker, std::unique_ptr<ScriptRunner>& runner);

} // namespace platform
