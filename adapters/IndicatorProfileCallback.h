#pragma once

#include <vexil3/indicator.h>

#include "adapters/ProfileCallbackAdapter.h"

namespace vexil3::js {

class VEXIL_API IndicatorProfileCallback
    : public ProfileCallbackAdapter<IndicatorProfileCallback, IIndicatorProfileCallback, IIndicatorProfile> {
public:
    static const _GUID ID;

    RequiredSource getRequiredSource() override { return profile->getRequiredSource(); }
    IndicatorType getIndicatorType() override { return profile->getIndicatorType(); }
    IObject* createInstance(IHost* host, IPriceStream* source, IParameters* parameters) override {
        return profile->createInstance(host, source, parameters);
    }

    IParametersFactory* getParametersFactory() override { return profile->getParametersFactory(); }
    void setRequiredSource(RequiredSource source) override { profile->setRequiredSource(source); }
    void setIndicatorType(IndicatorType type) override { profile->setIndicatorType(type); }
};

}  // namespace vexil3::js
