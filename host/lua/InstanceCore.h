// What the instances of every kind share: the script's state, its handlers and its members.
#pragma once

#include <vexil3/profile.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/lua/Guarded.h"
#include "host/lua/Script.h"
#include "host/lua/ScriptState.h"

namespace vexil3::lua {

// [script thread]
class InstanceCore {
public:
    InstanceCore(Environment& environment, std::shared_ptr<const Script> script, ScriptState::Use use)
        : mEnvironment(environment), mScript(std::move(script)), mUse(use) {}

    // Makes a fresh state, lets fill(lua_State*) add fields to the instance's object, which is the
    // table at the top, and runs the script. False after an error; the instance then has no state.
    template <class Fill>
    bool start(IInstanceCallback* callback, IError** error, Fill&& fill) {
        if (!open(callback, error)) return false;
        const bool done = mState->run("init", error, [&](lua_State* L) {
            pushObject(L, callback);
            fill(L);
            mState->setObject(L);
        });
        // The top level ran when the profile was declared, and what it logs was seen then.
        mState->setHost(nullptr);
        mIsStarted = done && mState->runChunk(mScript->bytecode, error);
        mState->setHost(callback->getHost());
        return mIsStarted;
    }

    // Calls the script's function `name` with the instance's object and what push(lua_State*) pushes
    // and counts, then result(lua_State*) with what came back at the top. Without such a function,
    // neither is called. `prepare` is called before, in any case.
    template <class Prepare, class Push, class Result>
    bool call(const char* name, IError** error, Prepare&& prepare, Push&& push, Result&& result) {
        if (!isStarted(error)) return false;
        return mState->run(name, error, [&](lua_State* L) {
            prepare(L);
            if (!mState->pushHandler(L, name)) return;
            mState->pushObject(L);
            lua_call(L, 1 + push(L), 1);
            result(L);
            mState->refreshUpdate(L);
        });
    }

    // False, with an error, unless the last start succeeded.
    bool isStarted(IError** error) const;
    // From the beginning of start on, the state.
    ScriptState& state() { return *mState; }

    // What start lets the script watch, so that another thread can end it.
    void setPhase(const std::atomic<ScriptState::Phase>* phase) { mPhase = phase; }

    // Functions of the script are methods, plain values properties.
    bool findMember(const char* name, int* id, IExecutable::MemberType* type);
    void invoke(int id, IExecutable::InvokeType type, IExecutableArgs* args);

private:
    bool open(IInstanceCallback* callback, IError** error);
    void pushObject(lua_State* L, IInstanceCallback* callback);
    bool invoke(const std::string& name, IExecutable::InvokeType type, IExecutableArgs* args, IError** error);

    Environment& mEnvironment;
    const std::shared_ptr<const Script> mScript;
    const ScriptState::Use mUse;
    const std::atomic<ScriptState::Phase>* mPhase = nullptr;
    std::optional<ScriptState> mState;
    bool mIsStarted = false;
    std::vector<std::string> mMembers;  // by id
};

}  // namespace vexil3::lua
