#pragma once

#include <vexil3/strategy.h>

#include "adapters/ProfileCallbackAdapter.h"

namespace vexil3::js {

class VEXIL_API StrategyProfileCallback
    : public ProfileCallbackAdapter<StrategyProfileCallback, IStrategyProfileCallback, IStrategyProfile> {
public:
    static const _GUID ID;

    StrategyType getStrategyType() override { return profile->getStrategyType(); }
    IObject* createInstance(IHost* host, IPriceStream* bid, IPriceStream* ask, IParameters* parameters) override {
        return profile->createInstance(host, bid, ask, parameters);
    }

    IParametersFactory* getParametersFactory() override { return profile->getParametersFactory(); }
    void setStrategyType(StrategyType type) override { profile->setStrategyType(type); }
};

}  // namespace vexil3::js
