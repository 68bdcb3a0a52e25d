#pragma once

#include "adapters/IndicatorInstanceImplementation.h"
#include "adapters/IndicatorProfileCallback.h"
#include "adapters/ProfileImplementationAdapter.h"

namespace vexil3::js {

class VEXIL_API IndicatorProfileImplementation
    : public ProfileImplementationAdapter<IndicatorProfileImplementation, IIndicatorProfileImplementation,
                                          IndicatorProfileCallback, IndicatorInstanceImplementation> {
public:
    static const _GUID ID;

    using ProfileImplementationAdapter::ProfileImplementationAdapter;
};

}  // namespace vexil3::js
