#pragma once

#include <vexil3/tool.h>

#include "adapters/ProfileCallbackAdapter.h"

namespace vexil3::js {

class VEXIL_API ToolProfileCallback
    : public ProfileCallbackAdapter<ToolProfileCallback, IToolProfileCallback, IToolProfile> {
public:
    static const _GUID ID;

    ICreationStrategy* getCreationStrategy() override { return profile->getCreationStrategy(); }
    IObject* createInstance(IHost* host, IParameters* parameters) override {
        return profile->createInstance(host, parameters);
    }
    const char* getIcon() override { return profile->getIcon(); }
    IconStatus getIconStatus(IHost* host) override { return profile->getIconStatus(host); }

    ICreationStrategyCallback* getCreationStrategyCallback() override { return profile->getCreationStrategyCallback(); }
    IParametersFactory* getParametersFactory() override { return profile->getParametersFactory(); }
    void setIcon(const char* icon) override { profile->setIcon(icon); }
};

}  // namespace vexil3::js
