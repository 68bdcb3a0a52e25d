#include "host/lua/StrategyInstance.h"

#include <algorithm>
#include <cmath>

namespace vexil3::lua {

void StrategyInstance::detach() {
    mBid.attach(nullptr);
    mAsk.attach(nullptr);
}

// A strategy must not see the bars to come, which its streams may hold already.
unsigned long StrategyInstance::visible(const Prices& prices) const {
    const int period = mCallback->getPeriod();
    return std::min(prices.size(), period < 0 ? 0ul : static_cast<unsigned long>(period) + 1);
}

void StrategyInstance::fill(lua_State* L) {
    hostCall(L, [&] {
        mBid.attach(mCallback->getBid());
        mAsk.attach(mCallback->getAsk());
    });
    mBid.push(L, hostCall(L, [&] { return visible(mBid); }));
    lua_setfield(L, -2, "bid");
    mAsk.push(L, hostCall(L, [&] { return visible(mAsk); }));
    lua_setfield(L, -2, "ask");
    setMethod<&StrategyInstance::buy>(L, "buy", this);
    setMethod<&StrategyInstance::sell>(L, "sell", this);
    setMethod<&StrategyInstance::position>(L, "position", this);
}

void StrategyInstance::synchronize(lua_State* L) {
    for (Prices* prices : {&mBid, &mAsk}) {
        const unsigned long size = hostCall(L, [&] { return visible(*prices); });
        if (!prices->shows(size)) prices->synchronize(L, size, size);
    }
}

int StrategyInstance::trade(lua_State* L, bool (IStrategyInstanceCallback::*order)(double, IError**)) {
    const double amount = luaL_checknumber(L, 2);
    luaL_argcheck(L, amount > 0 && std::isfinite(amount), 2, "an amount must be a number above 0");
    char reason[512] = "the host refused the order";
    const bool isDone = hostCall(L, [&] {
        Ref<IError> error;
        const bool isAccepted = (mCallback->*order)(amount, error.out());
        if (error && error->count() > 0) {
            const Ref<IErrorEntry> entry(error->get(0));
            if (entry && entry->message()) std::snprintf(reason, sizeof reason, "%s", entry->message());
        }
        return isAccepted;
    });
    if (!isDone) return luaL_error(L, "%s", reason);
    return 0;
}

int StrategyInstance::buy(lua_State* L) { return trade(L, &IStrategyInstanceCallback::buy); }

int StrategyInstance::sell(lua_State* L) { return trade(L, &IStrategyInstanceCallback::sell); }

int StrategyInstance::position(lua_State* L) {
    lua_pushnumber(L, hostCall(L, [&] { return mCallback->getPosition(); }));
    return 1;
}

bool StrategyInstance::prepare(bool nameOnly, IError** error) { return callPrepare(nameOnly, error); }

bool StrategyInstance::update(IError** error) {
    return call("update", error, [&](lua_State* L) {
        lua_pushinteger(L, hostCall(L, [&] { return mCallback->getPeriod(); }));
        return 1;
    });
}

bool StrategyInstance::notifyFinished(int cookie, IValueMap* values, IError** error) {
    return callNotifyFinished(cookie, values, error);
}

bool StrategyInstance::releaseInstance(IError** error) { return call("releaseInstance", error); }

}  // namespace vexil3::lua
