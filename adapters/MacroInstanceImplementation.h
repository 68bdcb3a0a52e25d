#pragma once

#include <vexil3/macro.h>

#include "adapters/InstanceAdapter.h"

namespace vexil3::js {

class VEXIL_API MacroInstanceImplementation
    : public InstanceAdapter<MacroInstanceImplementation, IMacroInstanceImplementation, IMacroInstanceCallback> {
public:
    static const _GUID ID;

    using InstanceAdapter::InstanceAdapter;

    bool releaseInstance(IError** error) override { return inner->releaseInstance(mapped(error)); }
    bool execute(IError** error) override { return inner->execute(mapped(error)); }
    bool execute(IParameters* parameters, IError** error) override { return inner->execute(parameters, mapped(error)); }
    bool notifyFinished(int cookie, IValueMap* values, IError** error) override {
        return inner->notifyFinished(cookie, values, mapped(error));
    }
    bool kill(IError** error) override { return inner->kill(mapped(error)); }
};

}  // namespace vexil3::js
