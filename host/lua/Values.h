// Values between C++ and Lua. All but append and copyText may raise a Lua error.
#pragma once

#include <vexil3/executable.h>
#include <vexil3/host.h>

#include <string>
#include <vector>

#include "host/lua/Frames.h"

namespace vexil3::lua {

// Replaces `text` by the string at `index`; without memory for it, leaves it alone.
void copyText(lua_State* L, int index, std::string& text);
// False without memory for it.
bool append(const char* bytes, std::size_t size, std::string& text);

// Pushes a text for the value at `index`, its own __tostring included.
void pushText(lua_State* L, int index);
void pushString(lua_State* L, const char* text);

// Pushes a table of the values by their ids; an empty one for null.
void pushParameters(lua_State* L, IParameters* parameters);
// Pushes a table of the values by their names; an empty one for null.
void pushValues(lua_State* L, IValueMap* values);

void pushArgument(lua_State* L, IExecutableArgs* args, unsigned long index);
// Pops the value at the top and makes it the call's result.
void popResult(lua_State* L, IExecutableArgs* args);

// Pushes the frames as text, "line defined name\0" each. To list them as tables would cost an error
// more than everything else that happens to it, and few are ever shown.
void pushFrames(lua_State* L, const std::vector<Frame>& frames);
// Reads a list of {line, name, main} tables from the top, when it holds any.
void readFrames(lua_State* L, std::vector<Frame>& frames);

}  // namespace vexil3::lua
