#include "host/lua/Platform.h"

#include <chrono>
#include <lua.hpp>

#include "host/lua/HostCall.h"
#include "host/lua/ScriptState.h"
#include "host/lua/Values.h"

namespace vexil3::lua {

namespace {

int setAnyMetatable(lua_State* L) {
    luaL_checkany(L, 1);
    luaL_checktype(L, 2, LUA_TTABLE);
    lua_settop(L, 2);
    if (lua_isuserdata(L, 1) || luaL_getmetafield(L, 1, "__metatable"))
        return luaL_error(L, "cannot change a protected metatable");
    lua_setmetatable(L, 1);
    return 1;
}

int setDescriber(lua_State* L) {
    luaL_checktype(L, 1, LUA_TFUNCTION);
    lua_settop(L, 1);
    ScriptState::of(L).setDescriber(L);
    return 0;
}

int frames(lua_State* L) {
    ScriptState& state = ScriptState::of(L);
    pushFrames(L, hostCall(L, [&]() -> const std::vector<Frame>& { return state.captureFrames(L); }));
    return 1;
}

// Upvalue 1 is debug.getinfo: the C interface does not tell the number of parameters.
int functionInfo(lua_State* L) {
    luaL_checktype(L, 1, LUA_TFUNCTION);
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_pushvalue(L, 1);
    lua_pushliteral(L, "Su");
    lua_call(L, 2, 1);
    lua_getfield(L, -1, "source");
    if (!isChunkOf(lua_tostring(L, -1), ScriptState::of(L).id())) return 0;
    lua_getfield(L, -2, "linedefined");
    lua_getfield(L, -3, "nparams");
    return 2;
}

int now(lua_State* L) {
    using namespace std::chrono;
    lua_pushnumber(L, static_cast<double>(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count()));
    return 1;
}

void pushPlatform(lua_State* L) {
    lua_newtable(L);
    const luaL_Reg plain[] = {{"setmetatable", &setAnyMetatable},
                              {"onError", &setDescriber},
                              {"frames", &frames},
                              {"now", &now},
                              {nullptr, nullptr}};
    luaL_register(L, nullptr, plain);
    lua_getglobal(L, "xpcall");
    lua_setfield(L, -2, "xpcall");
    lua_getglobal(L, "debug");
    lua_getfield(L, -1, "getinfo");
    lua_remove(L, -2);
    lua_pushcclosure(L, &functionInfo, 1);
    lua_setfield(L, -2, "functionInfo");
    pushString(L, ScriptState::of(L).id().c_str());
    lua_setfield(L, -2, "file");
}

int writeChunk(lua_State*, const void* bytes, std::size_t size, void* text) {
    return !append(static_cast<const char*>(bytes), size, *static_cast<std::string*>(text));
}

// Keeps the function at the top as the library's bytecode. Speed is all that a failure costs.
void keepCompiled(lua_State* L, Libraries& libraries, const char* name) {
    std::string bytecode;
    const int top = lua_gettop(L);
    const bool isWritten = lua_dump(L, &writeChunk, &bytecode) == 0;
    lua_settop(L, top);
    if (!isWritten) return;
    libraries.keepCompiled(name, std::move(bytecode));
}

// Pushes the library's chunk.
void loadLibrary(lua_State* L, const char* name) {
    Libraries& libraries = ScriptState::of(L).environment().libraries;
    const std::string* const chunk = hostCall(L, [&] { return libraries.find(name); });
    if (!chunk) {
        luaL_error(L, "there is no library '%s'", name);
        return;
    }
    const bool isCompiled = Libraries::isBytecode(*chunk);
    lua_pushfstring(L, "@%s", name);
    if (luaL_loadbufferx(L, chunk->data(), chunk->size(), lua_tostring(L, -1), isCompiled ? "b" : "t") != 0)
        lua_error(L);
    lua_remove(L, -2);
    if (!isCompiled) hostCall(L, [&] { keepCompiled(L, libraries, name); });
}

// Upvalues: the libraries that were loaded, by name; the platform.
int require(lua_State* L) {
    const char* const name = luaL_checkstring(L, 1);
    lua_settop(L, 1);
    lua_pushvalue(L, 1);
    lua_rawget(L, lua_upvalueindex(1));
    if (!lua_isnil(L, -1)) return 1;
    loadLibrary(L, name);
    // One that requires itself, or comes here again on the way, finds itself loaded.
    lua_pushvalue(L, 1);
    lua_pushboolean(L, 1);
    lua_rawset(L, lua_upvalueindex(1));
    lua_pushvalue(L, lua_upvalueindex(2));
    if (lua_pcall(L, 1, 1, 0) != 0) {
        lua_pushvalue(L, 1);
        lua_pushnil(L);
        lua_rawset(L, lua_upvalueindex(1));
        return lua_error(L);
    }
    if (lua_isnil(L, -1)) lua_pushboolean(L, 1);
    lua_pushvalue(L, 1);
    lua_pushvalue(L, -2);
    lua_rawset(L, lua_upvalueindex(1));
    return 1;
}

}  // namespace

void pushRequire(lua_State* L) {
    lua_newtable(L);
    pushPlatform(L);
    lua_pushcclosure(L, &require, 2);
}

}  // namespace vexil3::lua
