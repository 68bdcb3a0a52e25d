// The host's callbacks of the four kinds, as doubles: each operation is recorded and answers something
// that no other operation answers.
#pragma once

#include <cstdint>

#include <vexil3/identify.h>
#include <vexil3/language.h>
#include <vexil3/ref.h>

#include "doubles/Journal.h"

namespace vexil3::test {

// An address to be passed on, never used.
template <class T>
T* somewhere(std::uintptr_t number) {
    return reinterpret_cast<T*>(number << 4);
}

template <class Callback, class Profile>
class HostProfile : public Callback {
public:
    Journal journal;
    Ref<IFileAccessor> accessor;
    const char* objectID = "a.jsl";

    bool is(_GUID id) const override { return answers<Callback, Profile, IProfile, IObjectNoRef>(id); }
    bool to(_GUID id, void** object) const override {
        return answersTo<Callback, Profile, IProfile, IObjectNoRef>(id, this, object);
    }

    ILanguageService::ObjectType getType() override { return told("getType", ILanguageService::Macro); }
    ILanguageService::Language getLanguage() override { return told("getLanguage", ILanguageService::JavaScript); }
    const char* getObjectID() override { return told("getObjectID", objectID); }
    const char* getID() override { return told("getID", "an id"); }
    const char* getName() override { return told("getName", "a name"); }
    const char* getDescription() override { return told("getDescription", ""); }
    IParameters* getParameters() override { return told("getParameters", somewhere<IParameters>(1)); }
    const char* getTags() override { return told("getTags", "tags"); }
    bool isPublic() override { return told("isPublic", true); }
    IFileAccessor* getFileAccessor() override {
        return told("getFileAccessor", Ref<IFileAccessor>::share(accessor.get()).detach());
    }
    int activeInstances() override { return told("activeInstances", 3); }
    const char* getDomain() override { return told("getDomain", "domain"); }
    IHost* getHost() override { return told("getHost", somewhere<IHost>(2)); }

    void setID(const char* id) override { journal.add("setID", id); }
    void setName(const char* name) override { journal.add("setName", name); }
    void setDescription(const char* text) override { journal.add("setDescription", text); }
    IPermissions* getPermissions() override { return told("getPermissions", somewhere<IPermissions>(3)); }

protected:
    template <class Result, class... Arguments>
    Result told(const char* name, Result result, const Arguments&... arguments) {
        journal.add(name, arguments...);
        return result;
    }
};

class HostIndicator final : public HostProfile<IIndicatorProfileCallback, IIndicatorProfile> {
public:
    RequiredSource getRequiredSource() override { return told("getRequiredSource", Bar); }
    IndicatorType getIndicatorType() override { return told("getIndicatorType", Oscillator); }
    IObject* createInstance(IHost* host, IPriceStream* source, IParameters* parameters) override {
        return told("createInstance", somewhere<IObject>(4), host, source, parameters);
    }
    IParametersFactory* getParametersFactory() override {
        return told("getParametersFactory", somewhere<IParametersFactory>(5));
    }
    void setRequiredSource(RequiredSource source) override { journal.add("setRequiredSource", source); }
    void setIndicatorType(IndicatorType type) override { journal.add("setIndicatorType", type); }
};

class HostStrategy final : public HostProfile<IStrategyProfileCallback, IStrategyProfile> {
public:
    StrategyType getStrategyType() override { return told("getStrategyType", Trading); }
    IObject* createInstance(IHost* host, IPriceStream* bid, IPriceStream* ask, IParameters* parameters) override {
        return told("createInstance", somewhere<IObject>(4), host, bid, ask, parameters);
    }
    IParametersFactory* getParametersFactory() override {
        return told("getParametersFactory", somewhere<IParametersFactory>(5));
    }
    void setStrategyType(StrategyType type) override { journal.add("setStrategyType", type); }
};

class HostTool final : public HostProfile<IToolProfileCallback, IToolProfile> {
public:
    ICreationStrategy* getCreationStrategy() override {
        return told("getCreationStrategy", somewhere<ICreationStrategy>(6));
    }
    IObject* createInstance(IHost* host, IParameters* parameters) override {
        return told("createInstance", somewhere<IObject>(4), host, parameters);
    }
    const char* getIcon() override { return told("getIcon", "icon"); }
    IconStatus getIconStatus(IHost* host) override { return told("getIconStatus", IconHidden, host); }
    ICreationStrategyCallback* getCreationStrategyCallback() override {
        return told("getCreationStrategyCallback", somewhere<ICreationStrategyCallback>(7));
    }
    IParametersFactory* getParametersFactory() override {
        return told("getParametersFactory", somewhere<IParametersFactory>(5));
    }
    void setIcon(const char* icon) override { journal.add("setIcon", icon); }
};

class HostMacro final : public HostProfile<IMacroProfileCallback, IMacroProfile> {
public:
    IObject* createInstance(IHost* host) override { return told("createInstance", somewhere<IObject>(4), host); }
    const char* getIcon() override { return told("getIcon", "icon"); }
    const char* getTooltip() override { return told("getTooltip", "tip"); }
    IconStatus getIconStatus(IHost* host) override { return told("getIconStatus", IconDisabled, host); }
    void setIcon(const char* icon) override { journal.add("setIcon", icon); }
    void setTooltip(const char* tip) override { journal.add("setTooltip", tip); }
};

// The host's side of an instance: it knows its profile, and nothing else is asked.
template <class Callback>
class HostInstanceBase : public Callback {
public:
    explicit HostInstanceBase(IProfile* profile) : mProfile(profile) {}

    int asked = 0;

    bool is(_GUID id) const override { return answers<Callback, IInstanceCallback, IObjectNoRef>(id); }
    bool to(_GUID id, void** object) const override {
        return answersTo<Callback, IInstanceCallback, IObjectNoRef>(id, this, object);
    }
    IProfile* getProfile() override {
        ++asked;
        return mProfile;
    }
    IHost* getHost() override { return nullptr; }
    IParameters* getParameters() override { return nullptr; }

private:
    IProfile* mProfile;
};

class HostIndicatorInstance final : public HostInstanceBase<IIndicatorInstanceCallback> {
public:
    using HostInstanceBase::HostInstanceBase;
    IPriceStream* getSource() override { return nullptr; }
    bool addStream(const char*, const char*, IStreamValues*) override { return false; }
};

class HostStrategyInstance final : public HostInstanceBase<IStrategyInstanceCallback> {
public:
    using HostInstanceBase::HostInstanceBase;
    IPriceStream* getBid() override { return nullptr; }
    IPriceStream* getAsk() override { return nullptr; }
    int getPeriod() override { return 0; }
    bool buy(double, IError**) override { return false; }
    bool sell(double, IError**) override { return false; }
    double getPosition() override { return 0; }
};

class HostToolInstance final : public HostInstanceBase<IToolInstanceCallback> {
public:
    using HostInstanceBase::HostInstanceBase;
    IPriceStream* getPrices() override { return nullptr; }
};

class HostMacroInstance final : public HostInstanceBase<IMacroInstanceCallback> {
public:
    using HostInstanceBase::HostInstanceBase;
};

}  // namespace vexil3::test
