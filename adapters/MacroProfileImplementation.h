#pragma once

#include <vexil3/localization.h>

#include "adapters/MacroInstanceImplementation.h"
#include "adapters/MacroProfileCallback.h"
#include "adapters/ProfileImplementationAdapter.h"

namespace vexil3::js {

class VEXIL_API MacroProfileImplementation
    : public ProfileImplementationAdapter<MacroProfileImplementation, IMacroProfileImplementation, MacroProfileCallback,
                                          MacroInstanceImplementation>,
      public IProfileLocalization {
public:
    static const _GUID ID;

    using ProfileImplementationAdapter::ProfileImplementationAdapter;

    bool is(_GUID id) const override { return id == IProfileLocalization::ID || ProfileImplementationAdapter::is(id); }
    // The localization is a part of the object with an address of its own.
    bool to(_GUID id, void** object) const override {
        if (!(id == IProfileLocalization::ID)) return ProfileImplementationAdapter::to(id, object);
        *object = const_cast<IProfileLocalization*>(static_cast<const IProfileLocalization*>(this));
        return true;
    }

    IProfile::IconStatus getIconStatus(IHost* host) override { return inner->getIconStatus(host); }

    // Null where the Lua language's profile has no localization.
    const char* getLocalizationFile() override {
        void* localization = nullptr;
        if (!inner->is(IProfileLocalization::ID) || !inner->to(IProfileLocalization::ID, &localization)) return nullptr;
        return localization ? static_cast<IProfileLocalization*>(localization)->getLocalizationFile() : nullptr;
    }
};

}  // namespace vexil3::js
