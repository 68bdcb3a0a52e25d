#pragma once

#include <vexil3/indicator.h>

#include "adapters/InstanceAdapter.h"

namespace vexil3::js {

class VEXIL_API IndicatorInstanceImplementation
    : public InstanceAdapter<IndicatorInstanceImplementation, IIndicatorInstanceImplementation,
                             IIndicatorInstanceCallback> {
public:
    static const _GUID ID;

    using InstanceAdapter::InstanceAdapter;

    bool prepare(bool nameOnly, IError** error) override { return inner->prepare(nameOnly, mapped(error)); }
    bool update(int period, UpdateType type, IError** error) override {
        return inner->update(period, type, mapped(error));
    }
    bool notifyFinished(int cookie, IValueMap* values, IError** error) override {
        return inner->notifyFinished(cookie, values, mapped(error));
    }
    bool releaseInstance(IError** error) override { return inner->releaseInstance(mapped(error)); }
    bool draw(IOwnerDrawnContext::Stage stage, IOwnerDrawnContext* context, IError** error) override {
        return inner->draw(stage, context, mapped(error));
    }
};

}  // namespace vexil3::js
