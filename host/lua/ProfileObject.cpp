#include "host/lua/ProfileObject.h"

#include <strings.h>

#include <climits>
#include <cmath>

namespace vexil3::lua {

int checkInteger(lua_State* L, int index) {
    const lua_Number number = luaL_checknumber(L, index);
    luaL_argcheck(L, number == std::floor(number) && number >= INT_MIN && number <= INT_MAX, index,
                  "a whole number expected");
    return static_cast<int>(number);
}

namespace {

int optInteger(lua_State* L, int index, int otherwise) {
    return lua_isnoneornil(L, index) ? otherwise : checkInteger(L, index);
}

}  // namespace

int checkChoice(lua_State* L, std::initializer_list<const char*> names) {
    if (lua_type(L, 2) == LUA_TNUMBER) {
        const int number = checkInteger(L, 2);
        luaL_argcheck(L, number >= 0 && number < static_cast<int>(names.size()), 2, "no such choice");
        return number;
    }
    const char* const text = luaL_checkstring(L, 2);
    int index = 0;
    for (const char* name : names) {
        if (strcasecmp(name, text) == 0) return index;
        ++index;
    }
    return luaL_error(L, "'%s' is no choice here; '%s' and '%s' are", text, *names.begin(), *(names.end() - 1));
}

void ParametersObject::push(lua_State* L) {
    lua_createtable(L, 0, 4);
    setMethod<&ParametersObject::addInteger>(L, "addInteger", this);
    setMethod<&ParametersObject::addDouble>(L, "addDouble", this);
    setMethod<&ParametersObject::addBoolean>(L, "addBoolean", this);
    setMethod<&ParametersObject::addString>(L, "addString", this);
}

int ParametersObject::check(lua_State* L, bool isAdded) {
    if (isAdded) return 0;
    return luaL_error(L, "the parameter '%s' is refused: its id is empty or taken, or it is too long or one too many",
                      lua_tostring(L, 2));
}

void ParametersObject::checkBounds(lua_State* L, double value, double least, double most) {
    if (least <= value && value <= most) return;
    luaL_error(L, "the parameter '%s' is refused: %f does not lie between %f and %f", lua_tostring(L, 2), value, least,
               most);
}

int ParametersObject::addInteger(lua_State* L) {
    const char* const id = luaL_checkstring(L, 2);
    const char* const name = luaL_checkstring(L, 3);
    const int value = checkInteger(L, 4);
    const int least = optInteger(L, 5, INT_MIN), most = optInteger(L, 6, INT_MAX);
    checkBounds(L, value, least, most);
    return check(L, hostCall(L, [&] { return mFactory && mFactory->addInteger(id, name, value, least, most); }));
}

int ParametersObject::addDouble(lua_State* L) {
    const char* const id = luaL_checkstring(L, 2);
    const char* const name = luaL_checkstring(L, 3);
    const double value = luaL_checknumber(L, 4);
    const double least = luaL_optnumber(L, 5, -HUGE_VAL), most = luaL_optnumber(L, 6, HUGE_VAL);
    checkBounds(L, value, least, most);
    return check(L, hostCall(L, [&] { return mFactory && mFactory->addDouble(id, name, value, least, most); }));
}

int ParametersObject::addBoolean(lua_State* L) {
    const char* const id = luaL_checkstring(L, 2);
    const char* const name = luaL_checkstring(L, 3);
    luaL_checktype(L, 4, LUA_TBOOLEAN);
    const bool value = lua_toboolean(L, 4);
    return check(L, hostCall(L, [&] { return mFactory && mFactory->addBoolean(id, name, value); }));
}

int ParametersObject::addString(lua_State* L) {
    const char* const id = luaL_checkstring(L, 2);
    const char* const name = luaL_checkstring(L, 3);
    const char* const value = luaL_checkstring(L, 4);
    return check(L, hostCall(L, [&] { return mFactory && mFactory->addString(id, name, value); }));
}

}  // namespace vexil3::lua
