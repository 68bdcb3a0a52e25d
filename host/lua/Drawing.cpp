#include "host/lua/Drawing.h"

#include <lua.hpp>

#include "host/lua/HostCall.h"

namespace vexil3::lua {

namespace {

constexpr std::uint32_t kBlack = 0x000000;
constexpr std::size_t kShapeSize = 256;  // without its text

std::uint32_t checkColor(lua_State* L, int index) {
    const lua_Number color = luaL_optnumber(L, index, kBlack);
    luaL_argcheck(L, color >= 0 && color <= 0xFFFFFF, index, "a colour is a number from 0 to 0xFFFFFF");
    return static_cast<std::uint32_t>(color);
}

struct Corners {
    double time1, price1, time2, price2;
    std::uint32_t color;
};

Corners checkCorners(lua_State* L) {
    return {luaL_checknumber(L, 2), luaL_checknumber(L, 3), luaL_checknumber(L, 4), luaL_checknumber(L, 5),
            checkColor(L, 6)};
}

}  // namespace

void Drawing::push(lua_State* L) {
    lua_createtable(L, 0, 3);
    setMethod<&Drawing::line>(L, "line", this);
    setMethod<&Drawing::rectangle>(L, "rectangle", this);
    setMethod<&Drawing::text>(L, "text", this);
}

IOwnerDrawnContext* Drawing::context(lua_State* L, std::size_t textSize) {
    if (!mContext) luaL_error(L, "a script can draw only while draw runs");
    const std::size_t size = kShapeSize + textSize;
    if (size > mRoom) luaL_error(L, "one draw cannot hold more than %d MiB of shapes", static_cast<int>(kRoom >> 20));
    mRoom -= size;
    return mContext;
}

int Drawing::line(lua_State* L) {
    const Corners at = checkCorners(L);
    IOwnerDrawnContext* const target = context(L);
    hostCall(L, [&] { target->line(at.time1, at.price1, at.time2, at.price2, at.color); });
    return 0;
}

int Drawing::rectangle(lua_State* L) {
    const Corners at = checkCorners(L);
    IOwnerDrawnContext* const target = context(L);
    hostCall(L, [&] { target->rectangle(at.time1, at.price1, at.time2, at.price2, at.color); });
    return 0;
}

int Drawing::text(lua_State* L) {
    const double time = luaL_checknumber(L, 2), price = luaL_checknumber(L, 3);
    std::size_t size = 0;
    const char* const words = luaL_checklstring(L, 4, &size);
    const std::uint32_t color = checkColor(L, 5);
    IOwnerDrawnContext* const target = context(L, size);
    hostCall(L, [&] { target->text(time, price, words, color); });
    return 0;
}

}  // namespace vexil3::lua
