// Tools: drawings that a person places on a chart.
#pragma once

#include <vexil3/profile.h>

namespace vexil3 {

// How a person places a tool.
class VEXIL_API ICreationStrategy : public IObjectNoRef {
public:
    static const _GUID ID;

    // Clicks until the tool is complete.
    virtual int getPointCount() = 0;
};

class VEXIL_API ICreationStrategyCallback : public ICreationStrategy {
public:
    static const _GUID ID;

    virtual void setPointCount(int count) = 0;
};

class VEXIL_API IToolProfile : public IProfile {
public:
    static const _GUID ID;

    // [borrowed]
    virtual ICreationStrategy* getCreationStrategy() = 0;
    // A new instance of the host's, or null. [owned]
    virtual IObject* createInstance(IHost* host, IParameters* parameters) = 0;
    virtual const char* getIcon() = 0;
    virtual IProfile::IconStatus getIconStatus(IHost* host) = 0;
};

// What the script's declaration fills.
class VEXIL_API IToolProfileCallback : public IToolProfile {
public:
    static const _GUID ID;

    virtual void setID(const char* id) = 0;
    virtual void setName(const char* name) = 0;
    virtual void setDescription(const char* description) = 0;
    // [borrowed]
    virtual ICreationStrategyCallback* getCreationStrategyCallback() = 0;
    virtual IParametersFactory* getParametersFactory() = 0;
    virtual IPermissions* getPermissions() = 0;
    virtual void setIcon(const char* icon) = 0;
};

class VEXIL_API IToolInstanceCallback : public IInstanceCallback {
public:
    static const _GUID ID;

    // The prices of the chart that the tool stands on. [borrowed]
    virtual IPriceStream* getPrices() = 0;
};

// Positions are pixels (x, y) with the time and the price under them. [script thread]
class VEXIL_API IToolInstanceImplementation : public IExecutable {
public:
    static const _GUID ID;

    virtual bool init(IToolInstanceCallback* callback, IError** error) = 0;
    virtual bool creationStarted(IError** error) = 0;
    virtual bool click(int x, int y, double time, double price, IError** error) = 0;
    virtual bool doubleClick(int x, int y, double time, double price, IError** error) = 0;
    virtual bool drag(int x, int y, double time, double price, IError** error) = 0;
    virtual bool dragEnd(int x, int y, double time, double price, IError** error) = 0;
    virtual bool creationFinished(IError** error) = 0;
    virtual bool prepare(bool nameOnly, IError** error) = 0;
    virtual bool moveStart(IError** error) = 0;
    virtual bool move(int x, int y, double time, double price, IError** error) = 0;
    virtual bool moveFinished(IError** error) = 0;
    virtual bool moveReferencePointStart(int point, IError** error) = 0;
    virtual bool moveReferencePoint(int x, int y, double time, double price, IError** error) = 0;
    virtual bool moveReferencePointFinished(IError** error) = 0;
    virtual bool notifyFinished(int cookie, IValueMap* values, IError** error) = 0;
    virtual bool releaseInstance(IError** error) = 0;
    virtual bool canChangeParameters() = 0;
    // False with a text for the person in the buffer of `size` bytes when the values won't do.
    virtual bool checkParameters(IParameters* parameters, char* buffer, unsigned long size, IError** error) = 0;
    virtual bool changeParameters(IParameters* parameters, IError** error) = 0;
    virtual bool draw(IOwnerDrawnContext::Stage stage, IOwnerDrawnContext* context, IError** error) = 0;
};

class VEXIL_API IToolProfileImplementation : public IObject {
public:
    static const _GUID ID;

    // Runs the script's declaration. `callback` is borrowed for as long as the profile lives.
    virtual bool init(IToolProfileCallback* callback, IError** error) = 0;
    virtual ILanguageService::Language getLanguage() = 0;
    // A new one at each call, or null. [owned]
    virtual IToolInstanceImplementation* getInstanceImplementation() = 0;
    virtual IProfile::IconStatus getIconStatus(IHost* host) = 0;
};

}  // namespace vexil3
