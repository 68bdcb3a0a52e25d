#include "host/lua/Streams.h"

#include <vexil3/identify.h>

#include <algorithm>
#include <limits>
#include <lua.hpp>

#include "host/lua/HostCall.h"
#include "host/lua/ScriptState.h"
#include "host/lua/Series.h"

namespace vexil3::lua {

namespace {

// In Lua, so that a compiled loop takes it in. It sees an index's first value only; after that a
// value is written without a call.
constexpr const char kNewIndex[] = R"(
local rawset, type, floor, error, tostring = rawset, type, math.floor, error, tostring
return function(stream, index, value)
  if type(index) ~= "number" then
    error("a stream has no field '" .. tostring(index) .. "'", 2)
  end
  if not (index >= 0 and index < stream.length and index == floor(index)) then
    error("a stream has no bar " .. index .. ": it has " .. stream.length .. ", from 0", 2)
  end
  if type(value) ~= "number" and value ~= nil then
    error("a stream's value must be a number; NaN leaves its bar empty", 2)
  end
  rawset(stream, index, value)
end
)";

}  // namespace

class Streams::Values final : public IStreamValues {
public:
    Values(ScriptState* state, int table) : mState(state), mTable(table) {}

    bool is(_GUID id) const override { return answers<IStreamValues, IObjectNoRef>(id); }
    bool to(_GUID id, void** object) const override {
        return answersTo<IStreamValues, IObjectNoRef>(id, static_cast<const IStreamValues*>(this), object);
    }

    void copy(unsigned long first, unsigned long count, double* values) override {
        if (!mState) {
            std::fill_n(values, count, std::numeric_limits<double>::quiet_NaN());
            return;
        }
        lua_State* const L = mState->handle();
        lua_rawgeti(L, LUA_REGISTRYINDEX, mTable);
        for (unsigned long i = 0; i < count; ++i) {
            lua_rawgeti(L, -1, static_cast<int>(first + i));
            const bool isNumber = lua_type(L, -1) == LUA_TNUMBER;
            values[i] = isNumber ? lua_tonumber(L, -1) : std::numeric_limits<double>::quiet_NaN();
            lua_pop(L, 1);
        }
        lua_pop(L, 1);
    }

    void end() { mState = nullptr; }
    int table() const { return mTable; }

private:
    ScriptState* mState;
    const int mTable;
};

Streams::Streams() = default;
Streams::~Streams() = default;

void Streams::attach(ScriptState* state, IIndicatorInstanceCallback* callback) {
    mValues.clear();
    mState = state;
    mCallback = callback;
    mMetatable = 0;
}

void Streams::end() {
    for (const auto& values : mValues) values->end();
}

void Streams::pushMetatable(lua_State* L) {
    if (mMetatable == 0) {
        pushSeriesMetatable(L, "");
        if (luaL_loadbuffer(L, kNewIndex, sizeof kNewIndex - 1, "=stream") != 0) lua_error(L);
        lua_call(L, 0, 1);
        lua_setfield(L, -2, "__newindex");
        mMetatable = luaL_ref(L, LUA_REGISTRYINDEX);
    }
    lua_rawgeti(L, LUA_REGISTRYINDEX, mMetatable);
}

int Streams::add(lua_State* L, unsigned long size) {
    const char* const id = luaL_checkstring(L, 2);
    const char* const label = luaL_optstring(L, 3, id);
    lua_createtable(L, static_cast<int>(size), 1);
    setLength(L, size);
    pushMetatable(L);
    lua_setmetatable(L, -2);
    lua_pushvalue(L, -1);
    const int table = luaL_ref(L, LUA_REGISTRYINDEX);
    const bool isRefused = hostCall(L, [&] {
        auto values = std::make_unique<Values>(mState, table);
        mValues.reserve(mValues.size() + 1);
        if (!mCallback->addStream(id, label, values.get())) return true;
        mValues.push_back(std::move(values));
        return false;
    });
    if (isRefused)
        return luaL_error(L,
                          "the stream '%s' is refused: its id is empty, taken or a column of the prices, or it is too "
                          "long or one too many",
                          id);
    return 1;
}

void Streams::synchronize(lua_State* L, unsigned long size) {
    for (const auto& values : mValues) {
        lua_rawgeti(L, LUA_REGISTRYINDEX, values->table());
        setLength(L, size);
        lua_pop(L, 1);
    }
}

}  // namespace vexil3::lua
