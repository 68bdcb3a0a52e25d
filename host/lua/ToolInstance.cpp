#include "host/lua/ToolInstance.h"

namespace vexil3::lua {

void ToolInstance::detach() { mPrices.attach(nullptr); }

void ToolInstance::fill(lua_State* L) {
    const unsigned long size = hostCall(L, [&] {
        mPrices.attach(mCallback->getPrices());
        return mPrices.size();
    });
    mPrices.push(L, size);
    lua_setfield(L, -2, "prices");
    mDrawing.push(L);
    lua_setfield(L, LUA_REGISTRYINDEX, "drawing");
}

void ToolInstance::synchronize(lua_State* L) {
    const unsigned long size = hostCall(L, [&] { return mPrices.size(); });
    if (!mPrices.shows(size)) mPrices.synchronize(L, size, size);
}

bool ToolInstance::callAt(const char* name, int x, int y, double time, double price, IError** error) {
    return call(name, error, [&](lua_State* L) {
        lua_pushinteger(L, x);
        lua_pushinteger(L, y);
        lua_pushnumber(L, time);
        lua_pushnumber(L, price);
        return 4;
    });
}

bool ToolInstance::creationStarted(IError** error) { return call("creationStarted", error); }

bool ToolInstance::click(int x, int y, double time, double price, IError** error) {
    return callAt("click", x, y, time, price, error);
}

bool ToolInstance::doubleClick(int x, int y, double time, double price, IError** error) {
    return callAt("doubleClick", x, y, time, price, error);
}

bool ToolInstance::drag(int x, int y, double time, double price, IError** error) {
    return callAt("drag", x, y, time, price, error);
}

bool ToolInstance::dragEnd(int x, int y, double time, double price, IError** error) {
    return callAt("dragEnd", x, y, time, price, error);
}

bool ToolInstance::creationFinished(IError** error) { return call("creationFinished", error); }

bool ToolInstance::prepare(bool nameOnly, IError** error) { return callPrepare(nameOnly, error); }

bool ToolInstance::moveStart(IError** error) { return call("moveStart", error); }

bool ToolInstance::move(int x, int y, double time, double price, IError** error) {
    return callAt("move", x, y, time, price, error);
}

bool ToolInstance::moveFinished(IError** error) { return call("moveFinished", error); }

bool ToolInstance::moveReferencePointStart(int point, IError** error) {
    return call("moveReferencePointStart", error, [&](lua_State* L) { return lua_pushinteger(L, point), 1; });
}

bool ToolInstance::moveReferencePoint(int x, int y, double time, double price, IError** error) {
    return callAt("moveReferencePoint", x, y, time, price, error);
}

bool ToolInstance::moveReferencePointFinished(IError** error) { return call("moveReferencePointFinished", error); }

bool ToolInstance::notifyFinished(int cookie, IValueMap* values, IError** error) {
    return callNotifyFinished(cookie, values, error);
}

bool ToolInstance::releaseInstance(IError** error) { return call("releaseInstance", error); }

bool ToolInstance::draw(IOwnerDrawnContext::Stage stage, IOwnerDrawnContext* context, IError** error) {
    const Drawing::Scope scope(mDrawing, context);
    return call("draw", error, [&](lua_State* L) {
        lua_pushinteger(L, stage);
        lua_getfield(L, LUA_REGISTRYINDEX, "drawing");
        return 2;
    });
}

}  // namespace vexil3::lua
