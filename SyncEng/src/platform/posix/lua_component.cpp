#include "posix/lua_component.h"

#include "host.h"
#include "text.h"
#include <cstdio>
#include <limits>
#include <string>

namespace platform::lua {
namespace {

constexpr char componentType[] = "component", outType[] = "Out";

// ---- Values ---------------------------------------------------------------------------------------------------------------------------

std::u16string textAt(lua_State* state, int at)
{
    std::size_t size = 0;
    const char* bytes = lua_tolstring(state, at, &size);
    return utf16({bytes, size});
}

void pushText(lua_State* state, std::u16string_view text)
{
    const std::string bytes = utf8(text);
    lua_pushlstring(state, bytes.data(), bytes.size());
}

// Raises an error that names the script's line.
[[noreturn]] void raise(lua_State* state, const std::string& message)
{
    luaL_where(state, 1);
    lua_pushlstring(state, message.data(), message.size());
    lua_concat(state, 2);
    lua_error(state);
    std::abort(); // lua_error does not return but is not declared noreturn
}

std::string describe(HRESULT code, std::u16string_view text)
{
    char number[16];
    std::snprintf(number, sizeof number, "0x%08X", static_cast<unsigned>(code));
    return std::string(number) + ": " + (text.empty() ? utf8(systemMessage(code)) : utf8(text));
}

// Turns C++ exceptions into script errors; Lua's own errors pass through.
template <int (*body)(lua_State*)> int guardedFunction(lua_State* state)
{
    HRESULT failed = E_OUTOFMEMORY;
    try {
        return body(state);
    } catch (const com::Error& e) {
        failed = e.code();
    } catch (const std::bad_alloc&) {
    }
    raise(state, describe(failed, {}));
}

com::Ptr<IUnknown>* componentAt(lua_State* state, int at)
{
    return static_cast<com::Ptr<IUnknown>*>(luaL_testudata(state, at, componentType));
}

void pushComponent(lua_State* state, com::Ptr<IUnknown> object)
{
    if (!object) return lua_pushnil(state);
    new (lua_newuserdatauv(state, sizeof object, 0)) com::Ptr<IUnknown>(std::move(object));
    luaL_setmetatable(state, componentType);
}

SAFEARRAY* listAt(lua_State* state, int at)
{
    std::vector<std::u16string> texts;
    for (lua_Unsigned i = 1, n = lua_rawlen(state, at); i <= n; ++i) {
        if (lua_rawgeti(state, at, static_cast<lua_Integer>(i)) != LUA_TSTRING) raise(state, "a list may hold texts only");
        texts.push_back(textAt(state, -1));
        lua_pop(state, 1);
    }
    return com::makeTextArray(texts);
}

com::Variant numberAt(lua_State* state, int at)
{
    com::Variant made;
    if (!lua_isinteger(state, at)) {
        made.dblVal = lua_tonumber(state, at);
        made.vt = VT_R8;
        return made;
    }
    const lua_Integer number = lua_tointeger(state, at);
    if (number >= std::numeric_limits<LONG>::min() && number <= std::numeric_limits<LONG>::max())
        return com::Variant(static_cast<LONG>(number));
    made.llVal = number;
    made.vt = VT_I8;
    return made;
}

com::Variant valueAt(lua_State* state, int at)
{
    com::Variant made;
    switch (lua_type(state, at)) {
    case LUA_TNIL: return made;
    case LUA_TBOOLEAN: return com::Variant(lua_toboolean(state, at) != 0);
    case LUA_TNUMBER: return numberAt(state, at);
    case LUA_TSTRING: return com::Variant(textAt(state, at));
    case LUA_TTABLE:
        made.parray = listAt(state, at);
        made.vt = VT_ARRAY | VT_BSTR;
        return made;
    default: break;
    }
    const auto* object = componentAt(state, at);
    if (!object) raise(state, std::string("a component cannot be given a value of type ") + luaL_typename(state, at));
    object->copyTo(&made.punkVal);
    made.vt = VT_UNKNOWN;
    return made;
}

void pushValue(lua_State* state, const VARIANT& value);

void pushList(lua_State* state, SAFEARRAY* array, VARTYPE elements)
{
    LONG low = 0, high = -1;
    com::check(SafeArrayGetLBound(array, 1, &low));
    com::check(SafeArrayGetUBound(array, 1, &high));
    lua_newtable(state);
    for (LONG i = low; i <= high; ++i) {
        com::Variant element;
        void* to = elements == VT_VARIANT ? static_cast<void*>(&element) : &element.llVal;
        com::check(SafeArrayGetElement(array, &i, to));
        if (elements != VT_VARIANT) element.vt = elements;
        pushValue(state, element);
        lua_rawseti(state, -2, i - low + 1);
    }
}

void pushValue(lua_State* state, const VARIANT& value)
{
    if (value.vt & VT_ARRAY) return pushList(state, value.parray, static_cast<VARTYPE>(value.vt & VT_TYPEMASK));
    switch (value.vt) {
    case VT_EMPTY:
    case VT_NULL: return lua_pushnil(state);
    case VT_BSTR: return pushText(state, com::viewOf(value.bstrVal));
    case VT_BOOL: return lua_pushboolean(state, value.boolVal != VARIANT_FALSE);
    case VT_UNKNOWN:
    case VT_DISPATCH: return pushComponent(state, com::Ptr<IUnknown>(value.punkVal));
    case VT_R4:
    case VT_R8:
    case VT_DATE:
    case VT_CY: {
        com::Variant number;
        com::check(VariantChangeType(&number, &value, 0, VT_R8));
        return lua_pushnumber(state, number.dblVal);
    }
    default: {
        com::Variant number;
        com::check(VariantChangeType(&number, &value, 0, VT_I8));
        return lua_pushinteger(state, number.llVal);
    }
    }
}

// ---- A call ---------------------------------------------------------------------------------------------------------------------------

// The arguments of one call in the script's order. An out argument refers to a value stored here.
class Call {
public:
    Call(lua_State* state, std::u16string method) : state_(state), names_{std::move(method)} {}

    void addAt(int at)
    {
        auto& argument = arguments_.emplace_back();
        if (!luaL_testudata(state_, at, outType)) {
            *argument.value = valueAt(state_, at);
            return;
        }
        lua_getiuservalue(state_, at, 1);
        *argument.value = valueAt(state_, -1);
        lua_pop(state_, 1);
        argument.isOut = true;
    }
    void addNamed(std::u16string name, int at)
    {
        names_.push_back(std::move(name));
        addAt(at);
    }

    void invoke(IDispatch* object)
    {
        std::vector<LPOLESTR> names;
        for (const std::u16string& name : names_) names.push_back(const_cast<OLECHAR*>(com::ole(name.c_str())));
        std::vector<DISPID> ids(names.size(), DISPID_UNKNOWN);
        const HRESULT known =
            com::guarded([&] { return object->GetIDsOfNames(GUID_NULL, names.data(), static_cast<UINT>(names.size()), 0, ids.data()); });
        if (FAILED(known)) refuseName(known, ids);

        const auto count = static_cast<UINT>(arguments_.size()), named = static_cast<UINT>(names_.size() - 1);
        std::vector<VARIANT> given(count);
        for (UINT i = 0; i < count; ++i) given[named ? i : count - 1 - i] = arguments_[i].asGiven();
        DISPPARAMS parameters{given.data(), named ? ids.data() + 1 : nullptr, count, named};
        EXCEPINFO failure{};
        UINT wrong = 0;
        outcome_ = com::guarded(
            [&] { return object->Invoke(ids[0], GUID_NULL, 0, DISPATCH_METHOD, &parameters, result_.put(), &failure, &wrong); });
        source_ = com::Bstr::attach(failure.bstrSource);
        help_ = com::Bstr::attach(failure.bstrHelpFile);
        description_ = com::Bstr::attach(failure.bstrDescription);
        code_ = outcome_ == DISP_E_EXCEPTION && FAILED(failure.scode) ? failure.scode : outcome_;
        wrong_ = named ? wrong : count - 1 - wrong;
    }

    // Stores the values of out arguments in the table that passed them.
    void giveNamed(int table) const
    {
        for (std::size_t i = 0; i < arguments_.size(); ++i) {
            if (!arguments_[i].isOut) continue;
            pushText(state_, names_[i + 1]);
            pushValue(state_, *arguments_[i].value);
            lua_rawset(state_, table);
        }
    }
    int giveResults(bool withOuts) const
    {
        int given = 0;
        const auto push = [&](const VARIANT& value) {
            luaL_checkstack(state_, 1, "too many results");
            pushValue(state_, value);
            ++given;
        };
        if (result_.vt != VT_EMPTY) push(result_);
        for (const Argument& argument : arguments_)
            if (withOuts && argument.isOut) push(*argument.value);
        return given;
    }
    void raiseFailure() const
    {
        const std::string method = utf8(names_[0]);
        if (SUCCEEDED(outcome_)) return;
        if (outcome_ == DISP_E_BADPARAMCOUNT) raise(state_, method + " does not take " + std::to_string(arguments_.size()) + " arguments");
        if (outcome_ == DISP_E_TYPEMISMATCH && wrong_ < arguments_.size())
            raise(state_, method + " cannot take argument " + std::to_string(wrong_ + 1) + " as it is" +
                              (arguments_[wrong_].isOut ? "" : "; an out argument must be Out"));
        raise(state_, method + " failed with " + describe(code_, description_.view()));
    }

private:
    struct Argument {
        std::unique_ptr<com::Variant> value = std::make_unique<com::Variant>(); // an out argument refers to its address
        bool isOut = false;
        [[nodiscard]] VARIANT asGiven() const
        {
            if (!isOut) return *value; // a shallow copy: the Argument still owns the value
            VARIANT reference;
            VariantInit(&reference);
            reference.vt = VT_BYREF | VT_VARIANT;
            reference.pvarVal = value.get();
            return reference;
        }
    };

    void refuseName(HRESULT hr, const std::vector<DISPID>& ids) const
    {
        if (ids[0] == DISPID_UNKNOWN) raise(state_, "the component has no method " + utf8(names_[0]));
        for (std::size_t i = 1; i < ids.size(); ++i)
            if (ids[i] == DISPID_UNKNOWN) raise(state_, utf8(names_[0]) + " has no argument " + utf8(names_[i]));
        com::check(hr);
    }

    lua_State* state_;
    std::vector<std::u16string> names_; // the method's name, then the names of named arguments
    std::vector<Argument> arguments_;
    com::Variant result_;
    com::Bstr source_, help_, description_;
    HRESULT outcome_ = S_OK, code_ = S_OK;
    std::size_t wrong_ = 0;
};

// A table that is the only argument and contains no list holds named arguments.
bool namesArguments(lua_State* state, int at)
{
    if (lua_gettop(state) != at || !lua_istable(state, at) || lua_rawlen(state, at) > 0) return false;
    lua_pushnil(state);
    if (!lua_next(state, at)) return false;
    lua_pop(state, 2);
    return true;
}

void addNamedArguments(lua_State* state, int table, Call& call)
{
    lua_pushnil(state);
    while (lua_next(state, table)) {
        if (lua_type(state, -2) != LUA_TSTRING) raise(state, "an argument's name must be a text");
        call.addNamed(textAt(state, -2), lua_gettop(state));
        lua_pop(state, 1);
    }
}

int callMethod(lua_State* state)
{
    const auto* object = componentAt(state, 1);
    if (!object) raise(state, "a method is called with a colon, as in object:Method()");
    const auto dispatch = object->tryAs<IDispatch>();
    if (!dispatch) raise(state, "the component cannot be driven by a script");
    Call call(state, textAt(state, lua_upvalueindex(1)));
    const bool named = namesArguments(state, 2);
    if (named)
        addNamedArguments(state, 2, call);
    else
        for (int at = 2, last = lua_gettop(state); at <= last; ++at) call.addAt(at);
    call.invoke(dispatch.get());
    if (named) call.giveNamed(2);
    call.raiseFailure();
    return call.giveResults(!named);
}

// ---- Functions for the script ----------------------------------------------------------------------------------------------------------

// object.Name returns the method as a function.
int indexComponent(lua_State* state)
{
    lua_settop(state, 2);
    if (lua_type(state, 2) != LUA_TSTRING) raise(state, "a method's name is a text");
    lua_pushcclosure(state, guardedFunction<callMethod>, 1);
    return 1;
}

int collectComponent(lua_State* state)
{
    if (auto* object = componentAt(state, 1)) object->reset();
    return 0;
}

int equalComponents(lua_State* state)
{
    const auto *a = componentAt(state, 1), *b = componentAt(state, 2);
    lua_pushboolean(state, a && b && a->tryAs<IUnknown>().get() == b->tryAs<IUnknown>().get());
    return 1;
}

int createObject(lua_State* state)
{
    if (lua_type(state, 1) != LUA_TSTRING) raise(state, "CreateObject needs the name of a class");
    const auto& make = *static_cast<ScriptRunner::Maker*>(lua_touserdata(state, lua_upvalueindex(1)));
    const std::u16string progId = textAt(state, 1);
    com::Ptr<IDispatch> object;
    const HRESULT hr = make(progId, object);
    if (hr == E_NOINTERFACE) raise(state, "the class " + utf8(progId) + " cannot be driven by a script");
    if (FAILED(hr) || !object) raise(state, "the class " + utf8(progId) + " cannot be made: " + describe(FAILED(hr) ? hr : E_FAIL, {}));
    pushComponent(state, object);
    return 1;
}

// Out(value): an in-out argument.
int makeInOut(lua_State* state)
{
    lua_settop(state, 2);
    lua_newuserdatauv(state, 0, 1);
    lua_insert(state, 2);
    lua_setiuservalue(state, 2, 1);
    luaL_setmetatable(state, outType);
    return 1;
}

} // namespace

void openComponents(lua_State* state, ScriptRunner::Maker* maker)
{
    constexpr luaL_Reg component[] = {{"__index", guardedFunction<indexComponent>},
                                      {"__gc", collectComponent},
                                      {"__eq", guardedFunction<equalComponents>},
                                      {nullptr, nullptr}};
    luaL_newmetatable(state, componentType);
    luaL_setfuncs(state, component, 0);
    lua_pop(state, 1);

    luaL_newmetatable(state, outType);
    lua_pushcfunction(state, makeInOut);
    lua_setfield(state, -2, "__call");
    lua_pop(state, 1);
    lua_newuserdatauv(state, 0, 1);
    luaL_setmetatable(state, outType);
    lua_setglobal(state, "Out");

    lua_pushlightuserdata(state, maker);
    lua_pushcclosure(state, guardedFunction<createObject>, 1);
    lua_setglobal(state, "CreateObject");
}

} // namespace platform::lua
