#include "host/lua/MacroInstance.h"

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
    while (!mPhase.compare_exchange_strong(phase = Phase::Busy, Phase::Idle)) {
        // Killed, perhaps too late to be seen by the script.
        mPhase = Phase::Busy;
        if (mCore.state()) mCore.state()->forgetKill();
        done = mCore.state() && call("kill", error) && done;
    }
    return done;
}

bool MacroInstance::kill(IError** error) {
    Phase phase = Phase::Busy;
    while (!mPhase.compare_exchange_strong(phase = Phase::Busy, Phase::Ending)) {
        if (phase == Phase::Ending) return true;
        phase = Phase::Idle;
        if (mPhase.compare_exchange_strong(phase, Phase::Busy)) {
            const bool done = !mCore.state() || call("kill", error);
            mPhase = Phase::Idle;
            return done;
        }
    }
    mCore.state()->kill();
    return true;
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
    exclusively(nullptr, [&] { return InstanceBase::invoke(id, type, object, args), true; });
}

bool MacroInstance::releaseInstance(IError** error) {
    return exclusively(error, [&] { return call("releaseInstance", error); });
}

bool MacroInstance::execute(IError** error) {
    return exclusively(error, [&] { return call("execute", error); });
}

bool MacroInstance::execute(IParameters* parameters, IError** error) {
    return exclusively(error, [&] {
        return call("execute", error, [&](lua_State* L) { return pushParameters(L, parameters), 1; });
    });
}

bool MacroInstance::notifyFinished(int cookie, IValueMap* values, IError** error) {
    return exclusively(error, [&] { return callNotifyFinished(cookie, values, error); });
}

}  // namespace vexil3::lua
