// A running indicator.
#pragma once

#include <vexil3/indicator.h>

#include "host/lua/Drawing.h"
#include "host/lua/InstanceBase.h"
#include "host/lua/Prices.h"
#include "host/lua/Streams.h"

namespace vexil3::lua {

class IndicatorInstance final : public InstanceBase<IIndicatorInstanceImplementation, IIndicatorInstanceCallback> {
public:
    using InstanceBase::InstanceBase;

    bool prepare(bool nameOnly, IError** error) override;
    bool update(int period, UpdateType type, IError** error) override;
    bool notifyFinished(int cookie, IValueMap* values, IError** error) override;
    bool releaseInstance(IError** error) override;
    bool draw(IOwnerDrawnContext::Stage stage, IOwnerDrawnContext* context, IError** error) override;

private:
    void detach() override;
    void fill(lua_State* L) override;
    void synchronize(lua_State* L) override;

    bool showBars(unsigned long changed, IError** error);
    int addStream(lua_State* L);

    Prices mSource;
    Streams mStreams;
    Drawing mDrawing;
};

}  // namespace vexil3::lua
