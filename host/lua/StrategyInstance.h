// A running strategy.
#pragma once

#include <vexil3/strategy.h>

#include "host/lua/ChangeableParameters.h"
#include "host/lua/Prices.h"

namespace vexil3::lua {

class StrategyInstance final : public ChangeableParameters<IStrategyInstanceImplementation, IStrategyInstanceCallback> {
public:
    using ChangeableParameters::ChangeableParameters;

    bool prepare(bool nameOnly, IError** error) override;
    bool update(IError** error) override;
    bool notifyFinished(int cookie, IValueMap* values, IError** error) override;
    bool releaseInstance(IError** error) override;

private:
    void detach() override;
    void fill(lua_State* L) override;
    void synchronize(lua_State* L) override;

    unsigned long visible(const Prices& prices) const;
    int buy(lua_State* L);
    int sell(lua_State* L);
    int trade(lua_State* L, bool (IStrategyInstanceCallback::*order)(double, IError**));
    int position(lua_State* L);

    Prices mBid, mAsk;
};

}  // namespace vexil3::lua
