#include "host/lua/MacroInstance.h"

#include <vexil3/ref.h>

namespace vexil3::lua {

// Keeps kill, which may come at any time, from entering a state that another thread is in.
template <class Work>
bool MacroInstance::exclusively(IError** error, Work&& work) {
    Phase phase = Phase::Idle;
    if (!mPhase.compare_exchange_strong(phase, Phase::Busy)) {
        ErrorFactory::throwError(error, IError::StageScript, IError::CodeNotSupported, "The macro is running already");
        return false;
    }
    bool done = work();
    // Killed, perhaps too late for the script to see it.
    while (!mPhase.compare_exchange_strong(phase = Phase::Busy, Phase::Idle)) {
        mPhase = Phase::Busy;
        done = mCore.isStarted(nullptr) && call("kill", error) && done;
    }
    return done;
}

bool MacroInstance::kill(IError** error) {
    Phase idle = Phase::Idle;
    while (!mPhase.compare_exchange_strong(idle, Phase::Busy)) {
        Phase busy = Phase::Busy;
        if (mPhase.compare_exchange_strong(busy, Phase::Ending) || busy == Phase::Ending) return true;
        idle = Phase::Idle;
    }
    const bool done = !mCore.isStarted(nullptr) || call("kill", error);
    mPhase = Phase::Idle;
    return done;
}

bool MacroInstance::findMember(const char* name, int* id, MemberType* type) {
    return exclusively(nullptr, [&] { return InstanceBase::findMember(name, id, type); });
}

bool MacroInstance::init(IMacroInstanceCallback* callback, IError** error) {
    return exclusively(error, [&] { return InstanceBase::init(callback, error); });
}

void MacroInstance::detach() { mPrices.attach(nullptr); }

void MacroInstance::fill(lua_State* L) {
    const unsigned long size = hostCall(L, [&] {
        IHost* const host = mCallback->getHost();
        mPrices.attach(host ? host->getPrices() : nullptr);
        return mPrices.size();
    });
    mPrices.push(L, size);
    lua_setfield(L, -2, "prices");
}

void MacroInstance::synchronize(lua_State* L) {
    const unsigned long size = hostCall(L, [&] { return mPrices.size(); });
    if (!mPrices.shows(size)) mPrices.synchronize(L, size, size);
}

void MacroInstance::invoke(int id, InvokeType type, IObjectNoRef* object, IExecutableArgs* args) {
    Ref<IError> error;
    exclusively(error.out(), [&] { return InstanceBase::invoke(id, type, object, args), true; });
    if (error && args) args->setError(error.get());
}

bool MacroInstance::releaseInstance(IError** error) {
    return exclusively(error, [&] { return call("releaseInstance", error); });
}

bool MacroInstance::execute(IError** error) {
    return exclusively(error, [&] { return call("execute", error); });
}

bool MacroInstance::execute(IParameters* parameters, IError** error) {
    return exclusively(
        error, [&] { return call("execute", error, [&](lua_State* L) { return pushParameters(L, parameters), 1; }); });
}

bool MacroInstance::notifyFinished(int cookie, IValueMap* values, IError** error) {
    return exclusively(error, [&] { return callNotifyFinished(cookie, values, error); });
}

}  // namespace vexil3::lua
