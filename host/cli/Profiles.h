// What the program tells a language about a profile, and what the script's declaration fills.
// Setters copy; memory running out in one ends the program rather than cross the language.
#pragma once

#include <string>

#include <vexil3/indicator.h>
#include <vexil3/macro.h>
#include <vexil3/strategy.h>
#include <vexil3/tool.h>

#include "host/cli/Host.h"
#include "host/cli/Implements.h"
#include "host/cli/Parameters.h"

namespace vexil3::cli {

// Where a profile's script comes from. All pointers are borrowed.
struct ScriptOrigin {
    std::string script;
    ILanguageService::Language language = ILanguageService::Lua;
    IFileAccessor* accessor = nullptr;
    IHost* host = nullptr;
};

// What the callbacks of all kinds share.
template <ILanguageService::ObjectType Kind, class Callback, class Profile>
class ProfileBase : public Implements<Callback, Callback, Profile, IProfile, IObjectNoRef> {
public:
    explicit ProfileBase(ScriptOrigin origin) : mOrigin(std::move(origin)) {}

    // The declared parameters, to be changed before an instance runs with them.
    Parameters& parameters() { return mParameters; }

    ILanguageService::ObjectType getType() override { return Kind; }
    ILanguageService::Language getLanguage() override { return mOrigin.language; }
    const char* getObjectID() override { return mOrigin.script.c_str(); }
    const char* getID() override { return mID.c_str(); }
    const char* getName() override { return mName.c_str(); }
    const char* getDescription() override { return mDescription.c_str(); }
    IParameters* getParameters() override { return &mParameters; }
    const char* getTags() override { return ""; }
    bool isPublic() override { return false; }
    IFileAccessor* getFileAccessor() override {
        mOrigin.accessor->addRef();
        return mOrigin.accessor;
    }
    int activeInstances() override { return 1; }
    const char* getDomain() override { return ""; }
    IHost* getHost() override { return mOrigin.host; }

    void setID(const char* id) noexcept override { copy(mID, id); }
    void setName(const char* name) noexcept override { copy(mName, name); }
    void setDescription(const char* description) noexcept override { copy(mDescription, description); }
    IPermissions* getPermissions() override { return &mPermissions; }

protected:
    static void copy(std::string& to, const char* from) { to = from ? from : ""; }

    Parameters mParameters;
    ParametersFactory mFactory{mParameters};

private:
    const ScriptOrigin mOrigin;
    NoPermissions mPermissions;
    std::string mID;
    std::string mName;
    std::string mDescription;
};

class IndicatorProfile final
    : public ProfileBase<ILanguageService::Indicator, IIndicatorProfileCallback, IIndicatorProfile> {
public:
    using ProfileBase::ProfileBase;

    RequiredSource getRequiredSource() override { return mSource; }
    IndicatorType getIndicatorType() override { return mType; }
    IObject* createInstance(IHost*, IPriceStream*, IParameters*) override { return nullptr; }
    IParametersFactory* getParametersFactory() override { return &mFactory; }
    void setRequiredSource(RequiredSource source) override { mSource = source; }
    void setIndicatorType(IndicatorType type) override { mType = type; }

private:
    RequiredSource mSource = Bar;
    IndicatorType mType = Indicator;
};

class StrategyProfile final
    : public ProfileBase<ILanguageService::Strategy, IStrategyProfileCallback, IStrategyProfile> {
public:
    using ProfileBase::ProfileBase;

    StrategyType getStrategyType() override { return mType; }
    IObject* createInstance(IHost*, IPriceStream*, IPriceStream*, IParameters*) override { return nullptr; }
    IParametersFactory* getParametersFactory() override { return &mFactory; }
    void setStrategyType(StrategyType type) override { mType = type; }

private:
    StrategyType mType = Trading;
};

class CreationStrategy final
    : public Implements<ICreationStrategyCallback, ICreationStrategyCallback, ICreationStrategy, IObjectNoRef> {
public:
    int getPointCount() override { return mPoints; }
    void setPointCount(int count) override { mPoints = count; }

private:
    int mPoints = 1;
};

class ToolProfile final : public ProfileBase<ILanguageService::Tool, IToolProfileCallback, IToolProfile> {
public:
    using ProfileBase::ProfileBase;

    ICreationStrategy* getCreationStrategy() override { return &mCreation; }
    IObject* createInstance(IHost*, IParameters*) override { return nullptr; }
    const char* getIcon() override { return mIcon.c_str(); }
    IconStatus getIconStatus(IHost*) override { return IconEnabled; }
    ICreationStrategyCallback* getCreationStrategyCallback() override { return &mCreation; }
    IParametersFactory* getParametersFactory() override { return &mFactory; }
    void setIcon(const char* icon) noexcept override { copy(mIcon, icon); }

private:
    CreationStrategy mCreation;
    std::string mIcon;
};

class MacroProfile final : public ProfileBase<ILanguageService::Macro, IMacroProfileCallback, IMacroProfile> {
public:
    using ProfileBase::ProfileBase;

    IObject* createInstance(IHost*) override { return nullptr; }
    const char* getIcon() override { return mIcon.c_str(); }
    const char* getTooltip() override { return mTooltip.c_str(); }
    IconStatus getIconStatus(IHost*) override { return IconEnabled; }
    void setIcon(const char* icon) noexcept override { copy(mIcon, icon); }
    void setTooltip(const char* tooltip) noexcept override { copy(mTooltip, tooltip); }

private:
    std::string mIcon;
    std::string mTooltip;
};

// What the instance callbacks of all kinds share. The profile is borrowed.
template <class Callback>
class InstanceBase : public Implements<Callback, Callback, IInstanceCallback, IObjectNoRef> {
public:
    explicit InstanceBase(IProfile& profile) : mProfile(profile) {}

    IProfile* getProfile() override { return &mProfile; }
    IHost* getHost() override { return mProfile.getHost(); }
    IParameters* getParameters() override { return mProfile.getParameters(); }

private:
    IProfile& mProfile;
};

}  // namespace vexil3::cli
