#include "host/lua/Prices.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <lua.hpp>
#include <utility>

#include "host/lua/HostCall.h"
#include "host/lua/Series.h"
#include "host/lua/Values.h"

namespace vexil3::lua {

namespace {

// In the order of IPriceStream::Column.
constexpr const char* kNames[] = {"time", "open", "high", "low", "close", "volume"};

}  // namespace

void Prices::attach(IPriceStream* stream) {
    *this = Prices();
    mStream = stream;
}

void Prices::push(lua_State* L, unsigned long visible) {
    if (!mStream) {
        lua_pushnil(L);
        return;
    }
    mSize = visible;
    lua_newtable(L);
    pushString(L, hostCall(L, [&] { return mStream->instrument(); }));
    lua_setfield(L, -2, "instrument");
    setLength(L, mSize);
    lua_newtable(L);
    setMethod<&Prices::findColumn>(L, "__index", this);
    protectMetatable(L);
    lua_setmetatable(L, -2);
    pushSeriesMetatable(L, "prices cannot be changed");
    mColumnMeta = luaL_ref(L, LUA_REGISTRYINDEX);
    lua_pushvalue(L, -1);
    mTable = luaL_ref(L, LUA_REGISTRYINDEX);
}

// __index(table, key): a column comes to life; anything else is not there.
int Prices::findColumn(lua_State* L) {
    if (lua_type(L, 2) != LUA_TSTRING) return 0;
    const char* const key = lua_tostring(L, 2);
    if (std::strcmp(key, "size") == 0) {
        lua_pushcfunction(L, &seriesSize);
        return 1;
    }
    const auto* const name = std::find_if(std::begin(kNames), std::end(kNames),
                                          [key](const char* candidate) { return std::strcmp(candidate, key) == 0; });
    if (name == std::end(kNames)) return 0;
    const int column = static_cast<int>(name - kNames);
    if (mColumnTables[column] == 0) {
        lua_createtable(L, static_cast<int>(mSize), 1);
        lua_pushvalue(L, -1);
        fill(L, column, 0);
        lua_rawgeti(L, LUA_REGISTRYINDEX, mColumnMeta);
        lua_setmetatable(L, -2);
        mColumnTables[column] = luaL_ref(L, LUA_REGISTRYINDEX);
        lua_rawgeti(L, LUA_REGISTRYINDEX, mTable);
        lua_pushvalue(L, 2);
        lua_rawgeti(L, LUA_REGISTRYINDEX, mColumnTables[column]);
        lua_rawset(L, -3);
    }
    lua_rawgeti(L, LUA_REGISTRYINDEX, mColumnTables[column]);
    return 1;
}

// Writes the values of a column from `first` on into the table at the top, and pops it.
void Prices::fill(lua_State* L, int column, unsigned long first) {
    const double* const values =
        hostCall(L, [&] { return mStream->column(static_cast<IPriceStream::Column>(column)); });
    for (unsigned long i = first; values && i < mSize; ++i) {
        lua_pushnumber(L, values[i]);
        lua_rawseti(L, -2, static_cast<int>(i));
    }
    setLength(L, mSize);
    lua_pop(L, 1);
}

void Prices::synchronize(lua_State* L, unsigned long visible, unsigned long changed) {
    if (!mTable) return;
    const unsigned long before = std::exchange(mSize, visible);
    const unsigned long first = std::min(changed, before == 0 ? 0 : before - 1);
    lua_rawgeti(L, LUA_REGISTRYINDEX, mTable);
    setLength(L, mSize);
    lua_pop(L, 1);
    for (int column = 0; column < kColumns; ++column) {
        if (mColumnTables[column] == 0) continue;
        lua_rawgeti(L, LUA_REGISTRYINDEX, mColumnTables[column]);
        for (unsigned long i = visible; i < before; ++i) {
            lua_pushnil(L);
            lua_rawseti(L, -2, static_cast<int>(i));
        }
        fill(L, column, first);
    }
}

}  // namespace vexil3::lua
