// Components in Lua. CreateObject(progId) creates an object; object:Method(...) calls a method by name. An out argument is passed as Out,
// an in-out argument as Out(value); their values are returned as results, in order. A table of names and values passes named arguments: its
// entries that were Out are set to the values, even if the method failed. A list is a table; a GUID is a text.
#pragma once
#include "script.h"

#include <lua.hpp>

namespace platform::lua {

// Requires: the maker outlives the state. Raises a Lua error if memory runs out.
void openComponents(lua_State* state, ScriptRunner::Maker* maker);

} // namespace platform::lua
