// The Lua language's profiles and instances of the four kinds, as doubles: each operation is recorded,
// answers what it is told to, and reports a fault where one is set.
#pragma once

#include <new>

#include <vexil3/identify.h>
#include <vexil3/language.h>
#include <vexil3/ref.h>

#include "doubles/Journal.h"

namespace vexil3::test {

// What an object raises when it is called.
struct Raised {
    const char* message = nullptr;  // null: nothing
    const char* file = nullptr;
    int line = 0;
    IError* ready = nullptr;  // raised instead, into an empty slot; needs no memory
};

// False when something was raised.
inline bool raise(const Raised& raised, IError** error) {
    if (raised.ready) {
        raised.ready->addRef();
        *error = raised.ready;
    } else if (raised.message) {
        ErrorFactory::throwError(error, IError::StageScript, IError::CodeScriptFault, raised.message, raised.file,
                                 raised.line, 7);
    }
    return !raised.ready && !raised.message;
}

template <class Interface>
class Recorder : public TAddRefImpl<Interface> {
public:
    Journal journal;
    Raised raised;
    bool answer = true;
    int* gone = nullptr;            // counts objects that were destroyed
    std::uint64_t* left = nullptr;  // gets how many objects live when this one goes

    ~Recorder() override {
        if (gone) ++*gone;
        if (left) *left = MemoryDiagnostic::alive();
    }

protected:
    template <class... Arguments>
    bool called(IError** error, const char* name, const Arguments&... arguments) {
        journal.add(name, arguments...);
        raise(raised, error);
        return answer;
    }
};

template <class Interface, class Callback>
class InstanceRecorder : public Recorder<Interface> {
public:
    bool is(_GUID id) const override { return answers<Interface, IExecutable, IObject>(id); }
    bool to(_GUID id, void** object) const override {
        return answersTo<Interface, IExecutable, IObject>(id, this, object);
    }

    bool findMember(const char* name, int* id, IExecutable::MemberType* type) override {
        return this->called(nullptr, "findMember", name, id, type);
    }
    void invoke(int id, IExecutable::InvokeType type, IObjectNoRef* object, IExecutableArgs* args) override {
        Ref<IError> error;
        this->called(error.out(), "invoke", id, type, object, args);
        if (error) args->setError(error.get());
    }
    bool isArray() override { return this->called(nullptr, "isArray"); }
    bool init(Callback* callback, IError** error) override { return this->called(error, "init", callback); }

protected:
    using Recorder<Interface>::called;
};

class IndicatorRecorder final : public InstanceRecorder<IIndicatorInstanceImplementation, IIndicatorInstanceCallback> {
public:
    bool prepare(bool nameOnly, IError** e) override { return called(e, "prepare", nameOnly); }
    bool update(int period, UpdateType type, IError** e) override { return called(e, "update", period, type); }
    bool notifyFinished(int cookie, IValueMap* v, IError** e) override {
        return called(e, "notifyFinished", cookie, v);
    }
    bool releaseInstance(IError** e) override { return called(e, "releaseInstance"); }
    bool draw(IOwnerDrawnContext::Stage stage, IOwnerDrawnContext* c, IError** e) override {
        return called(e, "draw", stage, c);
    }
};

class StrategyRecorder final : public InstanceRecorder<IStrategyInstanceImplementation, IStrategyInstanceCallback> {
public:
    bool prepare(bool nameOnly, IError** e) override { return called(e, "prepare", nameOnly); }
    bool update(IError** e) override { return called(e, "update"); }
    bool notifyFinished(int cookie, IValueMap* v, IError** e) override {
        return called(e, "notifyFinished", cookie, v);
    }
    bool releaseInstance(IError** e) override { return called(e, "releaseInstance"); }
    bool canChangeParameters() override { return called(nullptr, "canChangeParameters"); }
    bool checkParameters(IParameters* p, char* buffer, unsigned long size, IError** e) override {
        return called(e, "checkParameters", p, static_cast<void*>(buffer), size);
    }
    bool changeParameters(IParameters* p, IError** e) override { return called(e, "changeParameters", p); }
};

class ToolRecorder final : public InstanceRecorder<IToolInstanceImplementation, IToolInstanceCallback> {
public:
    bool creationStarted(IError** e) override { return called(e, "creationStarted"); }
    bool click(int x, int y, double t, double p, IError** e) override { return called(e, "click", x, y, t, p); }
    bool doubleClick(int x, int y, double t, double p, IError** e) override {
        return called(e, "doubleClick", x, y, t, p);
    }
    bool drag(int x, int y, double t, double p, IError** e) override { return called(e, "drag", x, y, t, p); }
    bool dragEnd(int x, int y, double t, double p, IError** e) override { return called(e, "dragEnd", x, y, t, p); }
    bool creationFinished(IError** e) override { return called(e, "creationFinished"); }
    bool prepare(bool nameOnly, IError** e) override { return called(e, "prepare", nameOnly); }
    bool moveStart(IError** e) override { return called(e, "moveStart"); }
    bool move(int x, int y, double t, double p, IError** e) override { return called(e, "move", x, y, t, p); }
    bool moveFinished(IError** e) override { return called(e, "moveFinished"); }
    bool moveReferencePointStart(int point, IError** e) override { return called(e, "moveReferencePointStart", point); }
    bool moveReferencePoint(int x, int y, double t, double p, IError** e) override {
        return called(e, "moveReferencePoint", x, y, t, p);
    }
    bool moveReferencePointFinished(IError** e) override { return called(e, "moveReferencePointFinished"); }
    bool notifyFinished(int cookie, IValueMap* v, IError** e) override {
        return called(e, "notifyFinished", cookie, v);
    }
    bool releaseInstance(IError** e) override { return called(e, "releaseInstance"); }
    bool canChangeParameters() override { return called(nullptr, "canChangeParameters"); }
    bool checkParameters(IParameters* p, char* buffer, unsigned long size, IError** e) override {
        return called(e, "checkParameters", p, static_cast<void*>(buffer), size);
    }
    bool changeParameters(IParameters* p, IError** e) override { return called(e, "changeParameters", p); }
    bool draw(IOwnerDrawnContext::Stage stage, IOwnerDrawnContext* c, IError** e) override {
        return called(e, "draw", stage, c);
    }
};

class MacroRecorder final : public InstanceRecorder<IMacroInstanceImplementation, IMacroInstanceCallback> {
public:
    bool releaseInstance(IError** e) override { return called(e, "releaseInstance"); }
    bool execute(IError** e) override { return called(e, "execute"); }
    bool execute(IParameters* p, IError** e) override { return called(e, "execute", p); }
    bool notifyFinished(int cookie, IValueMap* v, IError** e) override {
        return called(e, "notifyFinished", cookie, v);
    }
    bool kill(IError** e) override { return called(e, "kill"); }
};

// A profile; it hands out instances that raise what it is told they raise.
template <class Interface, class Callback, class Instance>
class ProfileRecorder : public Recorder<Interface> {
public:
    Callback* callback = nullptr;
    Raised instancesRaise;
    Instance* lastInstance = nullptr;
    bool hasInstances = true;

    bool is(_GUID id) const override { return answers<Interface, IObject>(id); }
    bool to(_GUID id, void** object) const override { return answersTo<Interface, IObject>(id, this, object); }

    bool init(Callback* given, IError** error) override {
        callback = given;
        return this->called(error, "init");
    }
    ILanguageService::Language getLanguage() override { return ILanguageService::Lua; }
    Instance* getInstanceImplementation() override {
        lastInstance = hasInstances ? new (std::nothrow) Instance : nullptr;
        if (lastInstance) {
            lastInstance->raised = instancesRaise;
            lastInstance->gone = this->gone;
            lastInstance->journal.recording = this->journal.recording;
        }
        return lastInstance;
    }
};

class IndicatorProfileRecorder final
    : public ProfileRecorder<IIndicatorProfileImplementation, IIndicatorProfileCallback, IndicatorRecorder> {};

class StrategyProfileRecorder final
    : public ProfileRecorder<IStrategyProfileImplementation, IStrategyProfileCallback, StrategyRecorder> {};

class ToolProfileRecorder final
    : public ProfileRecorder<IToolProfileImplementation, IToolProfileCallback, ToolRecorder> {
public:
    IProfile::IconStatus getIconStatus(IHost* host) override {
        called(nullptr, "getIconStatus", host);
        return IProfile::IconHidden;
    }
};

class MacroProfileRecorder final
    : public ProfileRecorder<IMacroProfileImplementation, IMacroProfileCallback, MacroRecorder>,
      public IProfileLocalization {
public:
    bool localized = true;

    bool is(_GUID id) const override {
        return (localized && id == IProfileLocalization::ID) || ProfileRecorder::is(id);
    }
    bool to(_GUID id, void** object) const override {
        if (!localized || !(id == IProfileLocalization::ID)) return ProfileRecorder::to(id, object);
        *object = const_cast<IProfileLocalization*>(static_cast<const IProfileLocalization*>(this));
        return true;
    }
    IProfile::IconStatus getIconStatus(IHost* host) override {
        called(nullptr, "getIconStatus", host);
        return IProfile::IconHidden;
    }
    const char* getLocalizationFile() override { return "texts.xml"; }
};

// The arguments of one call; only what tells of its outcome does anything.
class Arguments final : public IExecutableArgs {
public:
    bool is(_GUID id) const override { return answers<IExecutableArgs, IObjectNoRef>(id); }
    bool to(_GUID id, void** object) const override {
        return answersTo<IExecutableArgs, IObjectNoRef>(id, this, object);
    }
    unsigned long count() override { return 0; }
    ValueType type(unsigned long) override { return Nothing; }
    double number(unsigned long) override { return 0; }
    const char* text(unsigned long) override { return ""; }
    void setNothing() override {}
    void setBoolean(bool) override {}
    void setNumber(double) override {}
    void setText(const char*) override {}
    bool isSucceeded() override { return !mError; }
    void setError(IError* error) override { mError = Ref<IError>::share(error); }
    IError* getError() override { return Ref<IError>::share(mError.get()).detach(); }

private:
    Ref<IError> mError;
};

}  // namespace vexil3::test
