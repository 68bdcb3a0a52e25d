// What a script finds when it starts.
#pragma once

struct lua_State;

namespace vexil3::lua {

// Gives a fresh state its globals: the harmless part of Lua's libraries, `log` and `require`. May
// raise a Lua error.
void openSandbox(lua_State* L);

}  // namespace vexil3::lua
