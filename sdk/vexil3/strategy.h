// Strategies: scripts that trade on the bars of a chart.
#pragma once

#include <vexil3/profile.h>

namespace vexil3 {

class VEXIL_API IStrategyProfile : public IProfile {
public:
    static const _GUID ID;

    enum StrategyType { Signal = 0, Trading = 1 };

    virtual StrategyType getStrategyType() = 0;
    // A new instance of the host's, or null. [owned]
    virtual IObject* createInstance(IHost* host, IPriceStream* bid, IPriceStream* ask, IParameters* parameters) = 0;
};

// What the script's declaration fills.
class VEXIL_API IStrategyProfileCallback : public IStrategyProfile {
public:
    static const _GUID ID;

    virtual void setID(const char* id) = 0;
    virtual void setName(const char* name) = 0;
    virtual void setDescription(const char* description) = 0;
    // [borrowed]
    virtual IParametersFactory* getParametersFactory() = 0;
    virtual void setStrategyType(IStrategyProfile::StrategyType type) = 0;
    virtual IPermissions* getPermissions() = 0;
};

class VEXIL_API IStrategyInstanceCallback : public IInstanceCallback {
public:
    static const _GUID ID;

    // [borrowed]
    virtual IPriceStream* getBid() = 0;
    virtual IPriceStream* getAsk() = 0;
    // The newest bar that the strategy may see; -1 before the first.
    virtual int getPeriod() = 0;
    // Trades `amount` > 0 units at the bar's closing price. False: refused, with its error.
    virtual bool buy(double amount, IError** error) = 0;
    virtual bool sell(double amount, IError** error) = 0;
    // Units held; negative when sold short.
    virtual double getPosition() = 0;
};

// [script thread]
class VEXIL_API IStrategyInstanceImplementation : public IExecutable {
public:
    static const _GUID ID;

    virtual bool init(IStrategyInstanceCallback* callback, IError** error) = 0;
    virtual bool prepare(bool nameOnly, IError** error) = 0;
    // A bar was added.
    virtual bool update(IError** error) = 0;
    virtual bool notifyFinished(int cookie, IValueMap* values, IError** error) = 0;
    virtual bool releaseInstance(IError** error) = 0;
    virtual bool canChangeParameters() = 0;
    // False with a text for the person in the buffer of `size` bytes when the values won't do.
    virtual bool checkParameters(IParameters* parameters, char* buffer, unsigned long size, IError** error) = 0;
    virtual bool changeParameters(IParameters* parameters, IError** error) = 0;
};

class VEXIL_API IStrategyProfileImplementation : public IObject {
public:
    static const _GUID ID;

    // Runs the script's declaration. `callback` is borrowed for as long as the profile lives.
    virtual bool init(IStrategyProfileCallback* callback, IError** error) = 0;
    virtual ILanguageService::Language getLanguage() = 0;
    // A new one at each call, or null. [owned]
    virtual IStrategyInstanceImplementation* getInstanceImplementation() = 0;
};

}  // namespace vexil3
