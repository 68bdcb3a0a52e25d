// A tool on a chart.
#pragma once

#include <vexil3/tool.h>

#include "host/lua/ChangeableParameters.h"
#include "host/lua/Drawing.h"
#include "host/lua/Prices.h"

namespace vexil3::lua {

class ToolInstance final : public ChangeableParameters<IToolInstanceImplementation, IToolInstanceCallback> {
public:
    using ChangeableParameters::ChangeableParameters;

    bool creationStarted(IError** error) override;
    bool click(int x, int y, double time, double price, IError** error) override;
    bool doubleClick(int x, int y, double time, double price, IError** error) override;
    bool drag(int x, int y, double time, double price, IError** error) override;
    bool dragEnd(int x, int y, double time, double price, IError** error) override;
    bool creationFinished(IError** error) override;
    bool prepare(bool nameOnly, IError** error) override;
    bool moveStart(IError** error) override;
    bool move(int x, int y, double time, double price, IError** error) override;
    bool moveFinished(IError** error) override;
    bool moveReferencePointStart(int point, IError** error) override;
    bool moveReferencePoint(int x, int y, double time, double price, IError** error) override;
    bool moveReferencePointFinished(IError** error) override;
    bool notifyFinished(int cookie, IValueMap* values, IError** error) override;
    bool releaseInstance(IError** error) override;
    bool draw(IOwnerDrawnContext::Stage stage, IOwnerDrawnContext* context, IError** error) override;

private:
    void detach() override;
    void fill(lua_State* L) override;
    void synchronize(lua_State* L) override;

    bool callAt(const char* name, int x, int y, double time, double price, IError** error);

    Prices mPrices;
    Drawing mDrawing;
};

}  // namespace vexil3::lua
