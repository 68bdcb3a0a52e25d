#include "host/lua/IndicatorInstance.h"

#include <climits>

namespace vexil3::lua {

namespace {
constexpr unsigned long kNone = ULONG_MAX;
}

void IndicatorInstance::detach() {
    mSource.attach(nullptr);
    mStreams.attach(nullptr, nullptr);
}

void IndicatorInstance::fill(lua_State* L) {
    mStreams.attach(&mCore.state(), mCallback);
    const unsigned long size = hostCall(L, [&] {
        mSource.attach(mCallback->getSource());
        return mSource.size();
    });
    mSource.push(L, size);
    lua_setfield(L, -2, "source");
    setMethod<&IndicatorInstance::addStream>(L, "addStream", this);
    mDrawing.push(L);
    lua_setfield(L, LUA_REGISTRYINDEX, "drawing");
}

int IndicatorInstance::addStream(lua_State* L) {
    return mStreams.add(L, hostCall(L, [&] { return mSource.size(); }));
}

void IndicatorInstance::synchronize(lua_State* L) {
    const unsigned long size = hostCall(L, [&] { return mSource.size(); });
    if (mSource.shows(size)) return;
    mSource.synchronize(L, size, kNone);
    mStreams.synchronize(L, size);
}

bool IndicatorInstance::showBars(unsigned long changed, IError** error) {
    const unsigned long size = mSource.size();
    if (mSource.shows(size) && changed >= size) return true;
    return mCore.state().run("update", error, [&](lua_State* L) {
        mSource.synchronize(L, size, changed);
        mStreams.synchronize(L, size);
    });
}

bool IndicatorInstance::prepare(bool nameOnly, IError** error) { return callPrepare(nameOnly, error); }

bool IndicatorInstance::update(int period, UpdateType type, IError** error) {
    return guarded(error, [&] {
        if (!mCore.isStarted(error)) return false;
        const unsigned long changed = type == UpdateLast && period >= 0 ? static_cast<unsigned long>(period) : kNone;
        return showBars(changed, error) && mCore.state().callUpdate(period, type, error);
    });
}

bool IndicatorInstance::notifyFinished(int cookie, IValueMap* values, IError** error) {
    return callNotifyFinished(cookie, values, error);
}

bool IndicatorInstance::releaseInstance(IError** error) {
    const bool done = call("releaseInstance", error);
    mStreams.end();
    return done;
}

bool IndicatorInstance::draw(IOwnerDrawnContext::Stage stage, IOwnerDrawnContext* context, IError** error) {
    const Drawing::Scope scope(mDrawing, context);
    return call("draw", error, [&](lua_State* L) {
        lua_pushinteger(L, stage);
        lua_getfield(L, LUA_REGISTRYINDEX, "drawing");
        return 2;
    });
}

}  // namespace vexil3::lua
