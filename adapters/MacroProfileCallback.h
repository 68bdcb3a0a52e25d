#pragma once

#include <vexil3/macro.h>

#include "adapters/ProfileCallbackAdapter.h"

namespace vexil3::js {

class VEXIL_API MacroProfileCallback
    : public ProfileCallbackAdapter<MacroProfileCallback, IMacroProfileCallback, IMacroProfile> {
public:
    static const _GUID ID;

    IObject* createInstance(IHost* host) override { return profile->createInstance(host); }
    const char* getIcon() override { return profile->getIcon(); }
    const char* getTooltip() override { return profile->getTooltip(); }
    IconStatus getIconStatus(IHost* host) override { return profile->getIconStatus(host); }

    void setIcon(const char* icon) override { profile->setIcon(icon); }
    void setTooltip(const char* tooltip) override { profile->setTooltip(tooltip); }
};

}  // namespace vexil3::js
