// Components in Lua. CreateObject(progId) makes one; object:Method(...) calls a method by name. An out argument is given as Out, an in-out
// argument as Out(value), and their values come back as results, in order. A table of names and values gives the arguments by name:
// its entries that were Out hold the values afterwards, even where the method failed. A list is a table; an identifier is a text.
#pragma once
#include "script.h"

#include <lua.hpp>

namespace platform::lua {

// The maker must outlive the state. Raises a Lua error if memory runs out.
void openComponents(lua_State* state, ScriptRunner::Maker* maker);

} // namespace platform::lua
