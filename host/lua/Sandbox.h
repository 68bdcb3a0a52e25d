// What a script finds when it starts.
#pragma once

struct lua_State;

namespace vexil3::lua {

// Gives a fresh state its globals: the harmless part of Lua's libraries, `log` and `require`. May
// raise a Lua error.
void openSandbox(lua_State* L);

// Keeps the script's error handlers from errors that are raised to stop it. For a state that compiles
// nothing, since xpcall gets slower by it. May raise a Lua error.
void guardErrorHandlers(lua_State* L);

}  // namespace vexil3::lua
