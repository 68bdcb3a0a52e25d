// Parameters that a person may change while the script runs.
#pragma once

#include <cstdio>

#include <vexil3/ref.h>

#include "host/lua/InstanceBase.h"

namespace vexil3::lua {

// The operations of strategies and tools about their parameters.
template <class Interface, class Callback>
class ChangeableParameters : public InstanceBase<Interface, Callback> {
public:
    using InstanceBase<Interface, Callback>::InstanceBase;

    // There is no slot for an error, so that the person at the host reads it in the log.
    bool canChangeParameters() override {
        if (!this->mCore.isStarted(nullptr)) return false;
        bool isAllowed = true;
        Ref<IError> error;
        const auto none = [](lua_State*) { return 0; };
        const auto read = [&](lua_State* L) { isAllowed = lua_toboolean(L, -1); };
        if (this->call("canChangeParameters", error.out(), none, read)) return isAllowed;
        guarded(nullptr, [&] { return log(error.get()), true; });
        return false;
    }

    bool checkParameters(IParameters* parameters, char* buffer, unsigned long size, IError** error) override {
        bool isRefused = false;
        const auto push = [&](lua_State* L) { return pushParameters(L, parameters), 1; };
        const auto read = [&](lua_State* L) {
            // Who gives false forgot the reason.
            if (lua_isboolean(L, -1) && !lua_toboolean(L, -1)) lua_pushliteral(L, "checkParameters gave false");
            isRefused = lua_type(L, -1) == LUA_TSTRING && lua_objlen(L, -1) > 0;
            if (isRefused && buffer && size > 0) std::snprintf(buffer, size, "%s", lua_tostring(L, -1));
        };
        return this->call("checkParameters", error, push, read) && !isRefused;
    }

    // The handler still finds the old values in `instance.parameters`; afterwards they are the new ones.
    bool changeParameters(IParameters* parameters, IError** error) override {
        const auto push = [&](lua_State* L) { return pushParameters(L, parameters), 1; };
        if (!this->call("changeParameters", error, push)) return false;
        return guarded(error, [&] {
            return this->mCore.state().run("changeParameters", error, [&](lua_State* L) {
                this->mCore.state().pushObject(L);
                lua_pushliteral(L, "parameters");
                pushParameters(L, parameters);
                lua_rawset(L, -3);
            });
        });
    }

private:
    void log(IError* error) {
        IHost* const host = this->mCore.state().host();
        for (std::uint64_t i = 0; host && error && i < error->count(); ++i) {
            const Ref<IErrorEntry> entry(error->get(i));
            if (entry && entry->message()) host->log(entry->message());
        }
    }
};

}  // namespace vexil3::lua
