// Macros: scripts that a person starts once.
#pragma once

#include <vexil3/localization.h>
#include <vexil3/profile.h>

namespace vexil3 {

class VEXIL_API IMacroProfile : public IProfile {
public:
    static const _GUID ID;

    // A new instance of the host's, or null. [owned]
    virtual IObject* createInstance(IHost* host) = 0;
    virtual const char* getIcon() = 0;
    virtual const char* getTooltip() = 0;
    virtual IProfile::IconStatus getIconStatus(IHost* host) = 0;
};

// What the script's declaration fills.
class VEXIL_API IMacroProfileCallback : public IMacroProfile {
public:
    static const _GUID ID;

    virtual void setID(const char* id) = 0;
    virtual void setName(const char* name) = 0;
    virtual void setDescription(const char* description) = 0;
    // [borrowed]
    virtual IPermissions* getPermissions() = 0;
    virtual void setIcon(const char* icon) = 0;
    virtual void setTooltip(const char* tooltip) = 0;
};

class VEXIL_API IMacroInstanceCallback : public IInstanceCallback {
public:
    static const _GUID ID;
};

// [script thread], but for kill
class VEXIL_API IMacroInstanceImplementation : public IExecutable {
public:
    static const _GUID ID;

    virtual bool init(IMacroInstanceCallback* callback, IError** error) = 0;
    virtual bool releaseInstance(IError** error) = 0;
    virtual bool execute(IError** error) = 0;
    virtual bool execute(IParameters* parameters, IError** error) = 0;
    virtual bool notifyFinished(int cookie, IValueMap* values, IError** error) = 0;
    // Ends an execute in progress, which reports an error. [any thread]
    virtual bool kill(IError** error) = 0;
};

class VEXIL_API IMacroProfileImplementation : public IObject {
public:
    static const _GUID ID;

    // Runs the script's declaration. `callback` is borrowed for as long as the profile lives.
    virtual bool init(IMacroProfileCallback* callback, IError** error) = 0;
    virtual ILanguageService::Language getLanguage() = 0;
    // A new one at each call, or null. [owned]
    virtual IMacroInstanceImplementation* getInstanceImplementation() = 0;
    virtual IProfile::IconStatus getIconStatus(IHost* host) = 0;
};

}  // namespace vexil3
