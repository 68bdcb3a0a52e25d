#pragma once

#include "adapters/ProfileImplementationAdapter.h"
#include "adapters/StrategyInstanceImplementation.h"
#include "adapters/StrategyProfileCallback.h"

namespace vexil3::js {

class VEXIL_API StrategyProfileImplementation
    : public ProfileImplementationAdapter<StrategyProfileImplementation, IStrategyProfileImplementation,
                                          StrategyProfileCallback, StrategyInstanceImplementation> {
public:
    static const _GUID ID;

    using ProfileImplementationAdapter::ProfileImplementationAdapter;
};

}  // namespace vexil3::js
