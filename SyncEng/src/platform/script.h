// Scripts that drive components: a text is loaded, and a procedure of it is run. Lua on Linux, VBScript in the Script Control on Windows.
// What was loaded stays loaded for the life of the runner.
#pragma once
#include "com.h"
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// Why a script stopped, for its author. Line 0 where there is none to name.
struct ScriptError {
    std::u16string file, message;
    int line = 0;
};

class ScriptRunner {
public:
    // How a script's CreateObject makes an object, by the class's name. The Script Control has a way of its own.
    using Maker = std::function<HRESULT(std::u16string_view progId, com::Ptr<IDispatch>& object)>;

    virtual ~ScriptRunner() = default;
    ScriptRunner(const ScriptRunner&) = delete;
    ScriptRunner& operator=(const ScriptRunner&) = delete;
    // The file's name is for messages only. A failure fills `error`, also that of a script which was cancelled: E_ABORT.
    virtual HRESULT addCode(std::u16string_view text, std::u16string_view file, ScriptError& error) = 0;
    // The result is what the procedure returned: a number in Lua, any value in VBScript; else empty.
    virtual HRESULT run(std::u16string_view procedure, ScriptError& error, com::Variant& result) = 0;
    // What the code that is added from now on finds in the table arg of Lua, from 1 on, and in the array Arguments of VBScript, from 0 on.
    virtual HRESULT setArguments(const std::vector<std::u16string>& arguments) = 0;

protected:
    ScriptRunner() = default;
};

// Whether the script that runs on this thread was cancelled, for a method that it called. Never on Windows, where a script cannot be
// interrupted.
bool isScriptCancelled() noexcept;

HRESULT createScriptRunner(ScriptRunner::Maker maker, std::unique_ptr<ScriptRunner>& runner);

} // namespace platform
