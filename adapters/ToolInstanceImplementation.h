#pragma once

#include <vexil3/tool.h>

#include "adapters/InstanceAdapter.h"

namespace vexil3::js {

class VEXIL_API ToolInstanceImplementation
    : public InstanceAdapter<ToolInstanceImplementation, IToolInstanceImplementation, IToolInstanceCallback> {
public:
    static const _GUID ID;

    using InstanceAdapter::InstanceAdapter;

    bool creationStarted(IError** error) override { return inner->creationStarted(mapped(error)); }
    bool click(int x, int y, double time, double price, IError** error) override {
        return inner->click(x, y, time, price, mapped(error));
    }
    bool doubleClick(int x, int y, double time, double price, IError** error) override {
        return inner->doubleClick(x, y, time, price, mapped(error));
    }
    bool drag(int x, int y, double time, double price, IError** error) override {
        return inner->drag(x, y, time, price, mapped(error));
    }
    bool dragEnd(int x, int y, double time, double price, IError** error) override {
        return inner->dragEnd(x, y, time, price, mapped(error));
    }
    bool creationFinished(IError** error) override { return inner->creationFinished(mapped(error)); }
    bool prepare(bool nameOnly, IError** error) override { return inner->prepare(nameOnly, mapped(error)); }
    bool moveStart(IError** error) override { return inner->moveStart(mapped(error)); }
    bool move(int x, int y, double time, double price, IError** error) override {
        return inner->move(x, y, time, price, mapped(error));
    }
    bool moveFinished(IError** error) override { return inner->moveFinished(mapped(error)); }
    bool moveReferencePointStart(int point, IError** error) override {
        return inner->moveReferencePointStart(point, mapped(error));
    }
    bool moveReferencePoint(int x, int y, double time, double price, IError** error) override {
        return inner->moveReferencePoint(x, y, time, price, mapped(error));
    }
    bool moveReferencePointFinished(IError** error) override {
        return inner->moveReferencePointFinished(mapped(error));
    }
    bool notifyFinished(int cookie, IValueMap* values, IError** error) override {
        return inner->notifyFinished(cookie, values, mapped(error));
    }
    bool releaseInstance(IError** error) override { return inner->releaseInstance(mapped(error)); }
    bool canChangeParameters() override { return inner->canChangeParameters(); }
    bool checkParameters(IParameters* parameters, char* buffer, unsigned long size, IError** error) override {
        return inner->checkParameters(parameters, buffer, size, mapped(error));
    }
    bool changeParameters(IParameters* parameters, IError** error) override {
        return inner->changeParameters(parameters, mapped(error));
    }
    bool draw(IOwnerDrawnContext::Stage stage, IOwnerDrawnContext* context, IError** error) override {
        return inner->draw(stage, context, mapped(error));
    }
};

}  // namespace vexil3::js
