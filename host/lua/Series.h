// What price columns and output streams have in common: tables of numbers from index 0.
#pragma once

struct lua_State;

namespace vexil3::lua {

// All may raise a Lua error.

// Sets the field `length` of the table at the top.
void setLength(lua_State* L, unsigned long size);

// size(series): its `length`.
int seriesSize(lua_State* L);

// Pushes a protected metatable that gives a series its method size and refuses new fields with
// `refusal`.
void pushSeriesMetatable(lua_State* L, const char* refusal);

}  // namespace vexil3::lua
