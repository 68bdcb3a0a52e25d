#pragma once

#include <vexil3/strategy.h>

#include "adapters/InstanceAdapter.h"

namespace vexil3::js {

class VEXIL_API StrategyInstanceImplementation
    : public InstanceAdapter<StrategyInstanceImplementation, IStrategyInstanceImplementation,
                             IStrategyInstanceCallback> {
public:
    static const _GUID ID;

    using InstanceAdapter::InstanceAdapter;

    bool prepare(bool nameOnly, IError** error) override { return inner->prepare(nameOnly, mapped(error)); }
    bool update(IError** error) override { return inner->update(mapped(error)); }
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
};

}  // namespace vexil3::js
