// Calls between a script and the C++ code around it.
#pragma once

#include <cstdio>
#include <exception>
#include <lua.hpp>

namespace vexil3::lua {

// What `work` returns. It calls the host, whose exceptions become errors of the script; it must not
// raise a Lua error itself, and its result must need no destruction.
template <class Work>
auto hostCall(lua_State* L, Work&& work) -> decltype(work()) {
    char text[256];
    try {
        return work();
    } catch (const std::exception& e) {
        std::snprintf(text, sizeof text, "%s", e.what());
    } catch (...) {
        std::snprintf(text, sizeof text, "the host failed");
    }
    luaL_error(L, "%s", text);
    __builtin_unreachable();
}

// Makes a member function of `self` a method of the table at the top; `self` outlives the script. The
// method finds its arguments from index 2 on.
template <auto Method, class Class>
void setMethod(lua_State* L, const char* name, Class* self) {
    lua_pushlightuserdata(L, self);
    lua_pushstring(L, name);
    lua_pushcclosure(
        L,
        [](lua_State* inner) -> int {
            if (!lua_istable(inner, 1))
                return luaL_error(inner, "'%s' must be called on its object", lua_tostring(inner, lua_upvalueindex(2)));
            return (static_cast<Class*>(lua_touserdata(inner, lua_upvalueindex(1)))->*Method)(inner);
        },
        2);
    lua_setfield(L, -2, name);
}

// Adds the field __metatable, so that scripts can neither see nor change the metatable at the top.
inline void protectMetatable(lua_State* L) {
    lua_pushboolean(L, 0);
    lua_setfield(L, -2, "__metatable");
}

}  // namespace vexil3::lua
