// Indicators: values computed beside the bars of a chart.
#pragma once

#include <vexil3/profile.h>

namespace vexil3 {

class VEXIL_API IIndicatorProfile : public IProfile {
public:
    static const _GUID ID;

    enum RequiredSource { Tick = 0, Bar = 1 };
    enum IndicatorType { Indicator = 0, Oscillator = 1 };

    virtual RequiredSource getRequiredSource() = 0;
    virtual IndicatorType getIndicatorType() = 0;
    // A new instance of the host's, or null. [owned]
    virtual IObject* createInstance(IHost* host, IPriceStream* source, IParameters* parameters) = 0;
};

// What the script's declaration fills.
class VEXIL_API IIndicatorProfileCallback : public IIndicatorProfile {
public:
    static const _GUID ID;

    virtual void setID(const char* id) = 0;
    virtual void setName(const char* name) = 0;
    virtual void setDescription(const char* description) = 0;
    // [borrowed]
    virtual IParametersFactory* getParametersFactory() = 0;
    virtual void setRequiredSource(IIndicatorProfile::RequiredSource source) = 0;
    virtual void setIndicatorType(IIndicatorProfile::IndicatorType type) = 0;
    virtual IPermissions* getPermissions() = 0;
};

// The values of an output stream, held by the language. Valid until releaseInstance.
class VEXIL_API IStreamValues : public IObjectNoRef {
public:
    static const _GUID ID;

    // Stores the values of the bars [first, first + count); NaN where none was set. [script thread]
    virtual void copy(unsigned long first, unsigned long count, double* values) = 0;
};

class VEXIL_API IIndicatorInstanceCallback : public IInstanceCallback {
public:
    static const _GUID ID;

    // [borrowed]
    virtual IPriceStream* getSource() = 0;
    // Announces an output stream. False: the id is taken.
    virtual bool addStream(const char* id, const char* label, IStreamValues* values) = 0;
};

// A running script. Every operation but findMember and isArray may report what the script raised.
// [script thread]
class VEXIL_API IIndicatorInstanceImplementation : public IExecutable {
public:
    static const _GUID ID;

    enum UpdateType { AddBar = 0, UpdateLast = 1 };

    virtual bool init(IIndicatorInstanceCallback* callback, IError** error) = 0;
    // `nameOnly`: the host only wants to know the streams.
    virtual bool prepare(bool nameOnly, IError** error) = 0;
    // The bar `period` was added or has changed.
    virtual bool update(int period, UpdateType type, IError** error) = 0;
    // Something that the script asked for under `cookie` is done.
    virtual bool notifyFinished(int cookie, IValueMap* values, IError** error) = 0;
    virtual bool releaseInstance(IError** error) = 0;
    virtual bool draw(IOwnerDrawnContext::Stage stage, IOwnerDrawnContext* context, IError** error) = 0;
};

class VEXIL_API IIndicatorProfileImplementation : public IObject {
public:
    static const _GUID ID;

    // Runs the script's declaration. `callback` is borrowed for as long as the profile lives.
    virtual bool init(IIndicatorProfileCallback* callback, IError** error) = 0;
    virtual ILanguageService::Language getLanguage() = 0;
    // A new one at each call, or null. [owned]
    virtual IIndicatorInstanceImplementation* getInstanceImplementation() = 0;
};

}  // namespace vexil3
