// An instance implementation of any kind, but for the kind's own operations.
#pragma once

#include <vexil3/identify.h>

#include "host/lua/HostCall.h"
#include "host/lua/InstanceCore.h"
#include "host/lua/Values.h"

namespace vexil3::lua {

// Interface is the kind's instance interface, Callback its callback.
template <class InterfaceT, class CallbackT>
class InstanceBase : public TAddRefImpl<InterfaceT> {
public:
    using Interface = InterfaceT;

    InstanceBase(Environment& environment, std::shared_ptr<const Script> script,
                 ScriptState::Use use = ScriptState::Use::Run)
        : mCore(environment, std::move(script), use) {}

    bool is(_GUID id) const override { return answers<InterfaceT, IExecutable, IObject>(id); }
    bool to(_GUID id, void** object) const override {
        return answersTo<InterfaceT, IExecutable, IObject>(id, static_cast<const InterfaceT*>(this), object);
    }

    bool findMember(const char* name, int* id, IExecutable::MemberType* type) override {
        return guarded(nullptr, [&] { return mCore.findMember(name, id, type); });
    }
    void invoke(int id, IExecutable::InvokeType type, IObjectNoRef*, IExecutableArgs* args) override {
        guarded(nullptr, [&] { return mCore.invoke(id, type, args), true; });
    }
    bool isArray() override { return false; }

    bool init(CallbackT* callback, IError** error) override {
        return guarded(error, [&] {
            mCallback = callback;
            detach();
            return mCore.start(callback, error, [this](lua_State* L) { fill(L); });
        });
    }

protected:
    // Forgets what belongs to an earlier state.
    virtual void detach() {}
    // Adds the kind's fields to the instance's object at the top. May raise a Lua error.
    virtual void fill(lua_State* L) = 0;
    // Brings the script's view of the prices up to date. May raise a Lua error.
    virtual void synchronize(lua_State*) {}

    // Calls a handler; push(lua_State*) pushes its arguments and counts them.
    template <class Push>
    bool call(const char* name, IError** error, Push&& push) {
        return call(name, error, push, [](lua_State*) {});
    }
    template <class Push, class Result>
    bool call(const char* name, IError** error, Push&& push, Result&& result) {
        return guarded(error, [&] {
            return mCore.call(
                name, error, [this](lua_State* L) { synchronize(L); }, push, result);
        });
    }
    bool call(const char* name, IError** error) {
        return call(name, error, [](lua_State*) { return 0; });
    }

    bool callPrepare(bool nameOnly, IError** error) {
        return call("prepare", error, [&](lua_State* L) { return lua_pushboolean(L, nameOnly), 1; });
    }
    bool callNotifyFinished(int cookie, IValueMap* values, IError** error) {
        return call("notifyFinished", error, [&](lua_State* L) {
            lua_pushinteger(L, cookie);
            pushValues(L, values);
            return 2;
        });
    }

    CallbackT* mCallback = nullptr;
    InstanceCore mCore;
};

}  // namespace vexil3::lua
