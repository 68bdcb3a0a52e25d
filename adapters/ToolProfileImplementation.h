#pragma once

#include "adapters/ProfileImplementationAdapter.h"
#include "adapters/ToolInstanceImplementation.h"
#include "adapters/ToolProfileCallback.h"

namespace vexil3::js {

class VEXIL_API ToolProfileImplementation
    : public ProfileImplementationAdapter<ToolProfileImplementation, IToolProfileImplementation, ToolProfileCallback,
                                          ToolInstanceImplementation> {
public:
    static const _GUID ID;

    using ProfileImplementationAdapter::ProfileImplementationAdapter;

    IProfile::IconStatus getIconStatus(IHost* host) override { return inner->getIconStatus(host); }
};

}  // namespace vexil3::js
