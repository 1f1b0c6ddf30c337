// Scripts in Lua 5.4.
#include "script.h"

#include "posix/lua_component.h"
#include "text.h"
#include <charconv>
#include <map>

namespace platform {
namespace {

constexpr int instructionsBetweenLooks = 10'000;

// Stops a cancelled script. From then on the hook runs at every instruction, so that the script cannot continue after a pcall.
void lookForCancel(lua_State* state, lua_Debug*)
{
    if (CoTestCancel() != RPC_E_CALL_CANCELED) return;
    lua_sethook(state, lookForCancel, LUA_MASKCOUNT, 1);
    luaL_where(state, 0);
    lua_pushliteral(state, "The script was cancelled.");
    lua_concat(state, 2);
    lua_error(state);
}

// Turns any raised value into a text that begins with the script's line.
int describeError(lua_State* state)
{
    const bool isText = lua_type(state, 1) == LUA_TSTRING;
    luaL_tolstring(state, 1, nullptr);
    lua_Debug frame;
    for (int level = 1; lua_getstack(state, level, &frame); ++level) {
        luaL_where(state, level);
        const std::string_view where = lua_tostring(state, -1);
        if (where.empty()) {
            lua_pop(state, 1);
            continue;
        }
        if (isText && std::string_view(lua_tostring(state, 2)).starts_with(where.substr(0, where.find(':') + 1)))
            break; // the message already names the line
        lua_insert(state, 2);
        lua_concat(state, 2);
        break;
    }
    lua_settop(state, 2);
    return 1;
}

struct Closer {
    void operator()(lua_State* state) const noexcept { lua_close(state); }
};

// The running script can be cancelled while a Cancellable lives.
struct Cancellable {
    Cancellable() noexcept { (void)CoEnableCallCancellation(nullptr); }
    Cancellable(const Cancellable&) = delete;
    Cancellable& operator=(const Cancellable&) = delete;
    ~Cancellable() { (void)CoDisableCallCancellation(nullptr); }
};

// Returns the file's name as Lua shows it, shortened the same way as a long name.
std::string shownName(const std::string& file)
{
    constexpr std::size_t most = LUA_IDSIZE - 1;
    return file.size() <= most ? file : "..." + file.substr(file.size() - (most - 3));
}

class LuaRunner final : public ScriptRunner {
public:
    explicit LuaRunner(Maker maker) : maker_(std::move(maker)), state_(luaL_newstate())
    {
        if (!state_) throw std::bad_alloc();
        lua_pushcfunction(state_.get(), open);
        lua_pushlightuserdata(state_.get(), &maker_);
        if (lua_pcall(state_.get(), 1, 0, 0) != LUA_OK) throw std::bad_alloc();
    }

    HRESULT addCode(std::u16string_view text, std::u16string_view file, ScriptError& error) override
    {
        const std::string code = utf8(text.starts_with(u'\uFEFF') ? text.substr(1) : text), name = utf8(file);
        const std::string shown = shownName(name);
        files_[shown] = name;
        error.file = file;
        if (luaL_loadbufferx(state_.get(), code.data(), code.size(), ("=" + shown).c_str(), "t") != LUA_OK) return fail(error);
        return call(error);
    }

    HRESULT run(std::u16string_view procedure, ScriptError& error, com::Variant& result) override
    {
        result = com::Variant();
        if (lua_getglobal(state_.get(), utf8(procedure).c_str()) == LUA_TFUNCTION) return call(error, &result);
        lua_pop(state_.get(), 1);
        error.message = u"The script has no function " + std::u16string(procedure) + u".";
        return DISP_E_UNKNOWNNAME;
    }

    HRESULT setArguments(const std::vector<std::u16string>& arguments) override
    {
        std::vector<std::string> texts;
        for (const std::u16string& argument : arguments) texts.push_back(utf8(argument));
        lua_pushcfunction(state_.get(), giveArguments);
        lua_pushlightuserdata(state_.get(), &texts);
        const int outcome = lua_pcall(state_.get(), 1, 0, 0);
        lua_settop(state_.get(), 0);
        return outcome == LUA_OK ? S_OK : E_OUTOFMEMORY;
    }

private:
    static int open(lua_State* state)
    {
        luaL_openlibs(state);
        lua::openComponents(state, static_cast<Maker*>(lua_touserdata(state, 1)));
        return 0;
    }

    // Sets the arguments as Lua's own interpreter does.
    static int giveArguments(lua_State* state)
    {
        const auto& texts = *static_cast<const std::vector<std::string>*>(lua_touserdata(state, 1));
        lua_createtable(state, static_cast<int>(texts.size()), 0);
        for (std::size_t i = 0; i < texts.size(); ++i) {
            lua_pushlstring(state, texts[i].data(), texts[i].size());
            lua_rawseti(state, -2, static_cast<lua_Integer>(i) + 1);
        }
        lua_setglobal(state, "arg");
        return 0;
    }

    // Calls the function at the top of the stack.
    HRESULT call(ScriptError& error, com::Variant* result = nullptr)
    {
        const Cancellable cancellable;
        lua_State* state = state_.get();
        lua_sethook(state, lookForCancel, LUA_MASKCOUNT, instructionsBetweenLooks);
        lua_pushcfunction(state, describeError);
        lua_insert(state, -2);
        const int outcome = lua_pcall(state, 0, result ? 1 : 0, -2);
        const HRESULT hr = outcome == LUA_OK ? S_OK : fail(error);
        if (outcome == LUA_OK && result && lua_type(state, -1) == LUA_TNUMBER) {
            result->vt = VT_R8;
            result->dblVal = lua_tonumber(state, -1);
        }
        lua_settop(state, 0);
        return hr;
    }

    // Splits the message at the top of the stack, "FILE:LINE: MESSAGE".
    HRESULT fail(ScriptError& error)
    {
        const char* raised = lua_tostring(state_.get(), -1);
        std::string_view message = raised ? raised : "The script failed without a message.";
        for (const auto& [shown, file] : files_) {
            if (!message.starts_with(shown + ":")) continue;
            const char* number = message.data() + shown.size() + 1;
            const auto [end, wrong] = std::from_chars(number, message.data() + message.size(), error.line);
            if (wrong != std::errc{} || end == message.data() + message.size() || *end != ':') continue;
            error.file = utf16(file);
            message.remove_prefix(static_cast<std::size_t>(end - message.data()) + 1);
            if (message.starts_with(' ')) message.remove_prefix(1);
            break;
        }
        error.message = utf16(message);
        lua_settop(state_.get(), 0);
        return CoTestCancel() == RPC_E_CALL_CANCELED ? E_ABORT : DISP_E_EXCEPTION;
    }

    Maker maker_;
    std::map<std::string, std::string> files_; // file name by the name that Lua shows
    std::unique_ptr<lua_State, Closer> state_; // last member: destroyed first, with the script's objects
};

} // namespace

bool isScriptCancelled() noexcept { return CoTestCancel() == RPC_E_CALL_CANCELED; }

HRESULT createScriptRunner(ScriptRunner::Maker maker, std::unique_ptr<ScriptRunner>& runner)
{
    return com::guarded([&] { runner = std::make_unique<LuaRunner>(std::move(maker)); });
}

} // namespace platform
