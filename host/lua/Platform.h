// What a library finds when it is loaded: the function require, and the table of the platform's
// services, which a library gets as its chunk's argument:
//
//   setmetatable(value, table)  also for a value that is no table: all values of its type
//   onError(f)                  an error that leaves the script is described by f(value, frames): a
//                               text and a list of {line=, name=, main=}, or nil for those frames
//   frames()                    the script's calls, innermost first, as text: "line defined name\0"
//                               each; its function begins on the line `defined`, the chunk on 0
//   file                        the script's name
//   functionInfo(f)             the line where a script's function begins, and its parameters' number
//   now()                       milliseconds since 1970 UTC
//   xpcall(f, handler, ...)     Lua's own, quicker than the script's; for a handler that neither fails
//                               nor ends with a call of a built-in function
//
// A library may hand the table on to the script, so that nothing in it leads out of the sandbox.
#pragma once

struct lua_State;

namespace vexil3::lua {

// Pushes the function require. The globals are Lua's own meanwhile. May raise an error.
void pushRequire(lua_State* L);

}  // namespace vexil3::lua
