#include "host/lua/Values.h"

#include <charconv>
#include <iterator>
#include <lua.hpp>

#include "host/lua/HostCall.h"

namespace vexil3::lua {

namespace {

constexpr int kMaxFrames = 80;

// The frame at the top; of line -1 when it is none.
Frame readFrame(lua_State* L) {
    Frame frame;
    frame.line = -1;
    if (!lua_istable(L, -1)) return frame;
    for (const char* key : {"name", "line", "main"}) {
        lua_pushstring(L, key);
        lua_rawget(L, -2);
        if (*key == 'n' && lua_type(L, -1) == LUA_TSTRING) frame.name = lua_tostring(L, -1);
        if (*key == 'l' && lua_type(L, -1) == LUA_TNUMBER) frame.line = static_cast<int>(lua_tointeger(L, -1));
        if (*key == 'm') frame.isMain = lua_toboolean(L, -1);
        lua_pop(L, 1);
    }
    return frame;
}

}  // namespace

bool append(const char* bytes, std::size_t size, std::string& text) {
    try {
        text.append(bytes, size);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void copyText(lua_State* L, int index, std::string& text) {
    std::size_t size = 0;
    const char* const bytes = lua_tolstring(L, index, &size);
    if (!bytes) return;
    text.clear();
    append(bytes, size, text);
}

void pushString(lua_State* L, const char* text) { lua_pushstring(L, text ? text : ""); }

void pushText(lua_State* L, int index) {
    if (luaL_callmeta(L, index, "__tostring")) {
        if (lua_isstring(L, -1)) return;
        lua_pop(L, 1);
    }
    switch (lua_type(L, index)) {
        case LUA_TSTRING:
        case LUA_TNUMBER:
            lua_pushvalue(L, index);
            lua_tostring(L, -1);
            break;
        case LUA_TBOOLEAN:
            lua_pushstring(L, lua_toboolean(L, index) ? "true" : "false");
            break;
        case LUA_TNIL:
            lua_pushstring(L, "nil");
            break;
        default:
            lua_pushfstring(L, "%s: %p", luaL_typename(L, index), lua_topointer(L, index));
    }
}

void pushParameters(lua_State* L, IParameters* parameters) {
    lua_newtable(L);
    if (!parameters) return;
    const unsigned long count = hostCall(L, [&] { return parameters->count(); });
    for (unsigned long i = 0; i < count; ++i) {
        const auto type = hostCall(L, [&] { return parameters->type(i); });
        pushString(L, hostCall(L, [&] { return parameters->id(i); }));
        if (type == IParameters::String)
            pushString(L, hostCall(L, [&] { return parameters->text(i); }));
        else if (type == IParameters::Boolean)
            lua_pushboolean(L, hostCall(L, [&] { return parameters->number(i) != 0; }));
        else
            lua_pushnumber(L, hostCall(L, [&] { return parameters->number(i); }));
        lua_rawset(L, -3);
    }
}

void pushValues(lua_State* L, IValueMap* values) {
    lua_newtable(L);
    if (!values) return;
    const unsigned long count = hostCall(L, [&] { return values->count(); });
    for (unsigned long i = 0; i < count; ++i) {
        pushString(L, hostCall(L, [&] { return values->name(i); }));
        pushString(L, hostCall(L, [&] { return values->value(i); }));
        lua_rawset(L, -3);
    }
}

void pushArgument(lua_State* L, IExecutableArgs* args, unsigned long index) {
    switch (hostCall(L, [&] { return args->type(index); })) {
        case IExecutableArgs::Boolean:
            lua_pushboolean(L, hostCall(L, [&] { return args->number(index) != 0; }));
            break;
        case IExecutableArgs::Number:
            lua_pushnumber(L, hostCall(L, [&] { return args->number(index); }));
            break;
        case IExecutableArgs::String:
            pushString(L, hostCall(L, [&] { return args->text(index); }));
            break;
        default:
            lua_pushnil(L);
    }
}

void popResult(lua_State* L, IExecutableArgs* args) {
    switch (lua_type(L, -1)) {
        case LUA_TNIL:
            hostCall(L, [&] { args->setNothing(); });
            break;
        case LUA_TBOOLEAN:
            hostCall(L, [&] { args->setBoolean(lua_toboolean(L, -1)); });
            break;
        case LUA_TNUMBER:
            hostCall(L, [&] { args->setNumber(lua_tonumber(L, -1)); });
            break;
        default:
            pushText(L, lua_gettop(L));
            hostCall(L, [&] { args->setText(lua_tostring(L, -1)); });
            lua_pop(L, 1);
    }
    lua_pop(L, 1);
}

void pushFrames(lua_State* L, const std::vector<Frame>& frames) {
    luaL_Buffer text;
    luaL_buffinit(L, &text);
    for (const Frame& frame : frames) {
        for (const int number : {frame.line, frame.defined}) {
            char digits[16];
            char* const end = std::to_chars(digits, std::end(digits), number).ptr;
            *end = ' ';
            luaL_addlstring(&text, digits, end + 1 - digits);
        }
        luaL_addlstring(&text, frame.name.c_str(), frame.name.size() + 1);
    }
    luaL_pushresult(&text);
}

void readFrames(lua_State* L, std::vector<Frame>& frames) {
    try {
        std::vector<Frame> read;
        for (int i = 1; i <= kMaxFrames; ++i) {
            lua_rawgeti(L, -1, i);
            Frame frame = readFrame(L);
            lua_pop(L, 1);
            if (frame.line < 0) break;
            read.push_back(std::move(frame));
        }
        if (firstLine(read) > 0) frames = std::move(read);
    } catch (const std::exception&) {
        // The frames of the moment when the error was raised are left.
    }
}

}  // namespace vexil3::lua
