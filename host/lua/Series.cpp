#include "host/lua/Series.h"

#include <lua.hpp>

#include "host/lua/HostCall.h"

namespace vexil3::lua {

namespace {

int refuse(lua_State* L) { return luaL_error(L, "%s", lua_tostring(L, lua_upvalueindex(1))); }

}  // namespace

void setLength(lua_State* L, unsigned long size) {
    lua_pushliteral(L, "length");
    lua_pushnumber(L, static_cast<lua_Number>(size));
    lua_rawset(L, -3);
}

int seriesSize(lua_State* L) {
    luaL_checktype(L, 1, LUA_TTABLE);
    lua_pushliteral(L, "length");
    lua_rawget(L, 1);
    return 1;
}

void pushSeriesMetatable(lua_State* L, const char* refusal) {
    lua_newtable(L);
    lua_createtable(L, 0, 1);
    lua_pushcfunction(L, &seriesSize);
    lua_setfield(L, -2, "size");
    lua_setfield(L, -2, "__index");
    lua_pushstring(L, refusal);
    lua_pushcclosure(L, &refuse, 1);
    lua_setfield(L, -2, "__newindex");
    protectMetatable(L);
}

}  // namespace vexil3::lua
