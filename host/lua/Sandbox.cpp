#include "host/lua/Sandbox.h"

#include <algorithm>
#include <string>

#include <lua.hpp>

#include "host/lua/HostCall.h"
#include "host/lua/Platform.h"
#include "host/lua/ScriptState.h"
#include "host/lua/Values.h"

namespace vexil3::lua {

namespace {

// No code from text or bytecode, no environments, no collector, no files.
constexpr const char* kGlobals[] = {"_VERSION", "assert",   "bit",    "coroutine",    "error",  "getmetatable",
                                    "ipairs",   "math",     "next",   "pairs",        "pcall",  "rawequal",
                                    "rawget",   "rawset",   "select", "setmetatable", "string", "table",
                                    "tonumber", "tostring", "type",   "unpack",       "xpcall"};

void openLibraries(lua_State* L) {
    for (const lua_CFunction open :
         {luaopen_base, luaopen_table, luaopen_string, luaopen_math, luaopen_bit, luaopen_debug, luaopen_jit}) {
        lua_pushcfunction(L, open);
        lua_call(L, 0, 0);
    }
    // By default LuaJIT keeps half a megabyte of compiled code and begins anew when that is full, which a script with a
    // whole library in it does many times a second.
    lua_getglobal(L, "jit");
    lua_getfield(L, -1, "opt");
    lua_getfield(L, -1, "start");
    lua_pushliteral(L, "maxmcode=2048");
    // It also lets a loop go on with the bounds of an array that another has replaced, and reads and writes beyond it;
    lua_pushliteral(L, "-abc");
    // and reads an element late, when a new one may have moved the array elsewhere.
    lua_pushliteral(L, "-fuse");
    lua_call(L, 3, 0);
    lua_pop(L, 2);
}

// Calls the function in upvalue 1 if the native stack allows it. Lua has no bound of its own on how
// deep such functions nest.
int callBounded(lua_State* L) {
    ScriptState::of(L).checkNativeStack(L);
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_insert(L, 1);
    lua_call(L, lua_gettop(L) - 1, LUA_MULTRET);
    return lua_gettop(L);
}

// coroutine.wrap, for which the function that it returns resumes.
int wrapBounded(lua_State* L) {
    callBounded(L);
    lua_pushcclosure(L, &callBounded, 1);
    return 1;
}

int gsubBounded(lua_State* L) {
    luaL_checkstring(L, 1);
    luaL_checkstring(L, 2);
    return callBounded(L);
}

int sortBounded(lua_State* L) {
    luaL_checktype(L, 1, LUA_TTABLE);
    return callBounded(L);
}

void bound(lua_State* L, const char* library, const char* name, lua_CFunction by) {
    lua_getglobal(L, library);
    lua_getfield(L, -1, name);
    lua_pushcclosure(L, by, 1);
    lua_setfield(L, -2, name);
    lua_pop(L, 1);
}

// In Lua and with a tail call, so that a coroutine can yield across it. Most scripts have one handler,
// which is guarded once.
constexpr const char kXpcall[] = R"(
local xpcall, guard, rawequal = ...
local last, guarded = guard
return function(f, handler, ...)
  if not rawequal(handler, last) then last, guarded = handler, guard(handler) end
  return xpcall(f, guarded, ...)
end
)";

// An error handler: calls the one in upvalue 1.
int handleError(lua_State* L) {
    const char* const message = lua_type(L, 1) == LUA_TSTRING ? lua_tostring(L, 1) : nullptr;
    lua_settop(L, 1);
    if (!ScriptState::of(L).mayHandle(message)) return 1;
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_insert(L, 1);
    lua_call(L, 1, 1);
    return 1;
}

int guardHandler(lua_State* L) {
    lua_settop(L, 1);
    lua_pushcclosure(L, &handleError, 1);
    return 1;
}

// Keeps a script's error handlers from errors that are raised to stop it. And where compiled code ran out of
// stack, LuaJIT crashes when it wants to tell the caller's name for a built-in function that fails right above:
// there is always one of ours in between.
void guardErrorHandlers(lua_State* L) {
    if (luaL_loadbuffer(L, kXpcall, sizeof kXpcall - 1, "=xpcall") != 0) lua_error(L);
    lua_getglobal(L, "xpcall");
    lua_pushcfunction(L, &guardHandler);
    lua_getglobal(L, "rawequal");
    lua_call(L, 3, 1);
    lua_setglobal(L, "xpcall");
}

int log(lua_State* L) {
    ScriptState& state = ScriptState::of(L);
    state.checkNativeStack(L);
    const int count = lua_gettop(L);
    luaL_checkstack(L, count * 2 + 2, "too many values");
    for (int i = 1; i <= count; ++i) {
        if (i > 1) lua_pushliteral(L, " ");
        pushText(L, i);
    }
    lua_concat(L, lua_gettop(L) - count);
    std::size_t size = 0;
    const char* const text = lua_tolstring(L, -1, &size);
    hostCall(L, [&] {
        // For the host, a line ends at its first zero byte.
        std::string line(text, size);
        std::replace(line.begin(), line.end(), '\0', ' ');
        if (state.host()) state.host()->log(line.c_str());
    });
    return 0;
}

}  // namespace

void openSandbox(lua_State* L) {
    openLibraries(L);
    bound(L, "coroutine", "resume", &callBounded);
    bound(L, "coroutine", "wrap", &wrapBounded);
    bound(L, "string", "gsub", &gsubBounded);
    bound(L, "table", "sort", &sortBounded);
    lua_getglobal(L, "string");
    lua_pushnil(L);
    lua_setfield(L, -2, "dump");
    lua_pop(L, 1);

    lua_newtable(L);
    pushRequire(L);
    lua_setfield(L, -2, "require");
    lua_pushcfunction(L, &log);
    lua_setfield(L, -2, "log");
    guardErrorHandlers(L);
    for (const char* name : kGlobals) {
        lua_getglobal(L, name);
        lua_setfield(L, -2, name);
    }
    lua_pushvalue(L, -1);
    lua_setfield(L, -2, "_G");
    lua_replace(L, LUA_GLOBALSINDEX);
}

}  // namespace vexil3::lua
