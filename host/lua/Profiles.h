// Loaded scripts, from which instances are made.
#pragma once

#include <vexil3/identify.h>

#include "host/lua/IndicatorInstance.h"
#include "host/lua/MacroInstance.h"
#include "host/lua/ProfileObject.h"
#include "host/lua/StrategyInstance.h"
#include "host/lua/ToolInstance.h"

namespace vexil3::lua {

// Holds the compiled script, and no state but while init runs.
template <class Interface, class Callback, class Instance>
class ProfileBase : public TAddRefImpl<Interface> {
public:
    ProfileBase(Environment& environment, std::shared_ptr<const Script> script)
        : mEnvironment(environment), mScript(std::move(script)) {}

    bool is(_GUID id) const override { return answers<Interface, IObject>(id); }
    bool to(_GUID id, void** object) const override {
        return answersTo<Interface, IObject>(id, static_cast<const Interface*>(this), object);
    }

    bool init(Callback* callback, IError** error) override {
        return guarded(error, [&] { return declare(callback, error); });
    }

    ILanguageService::Language getLanguage() override { return ILanguageService::Lua; }

    typename Instance::Interface* getInstanceImplementation() override {
        return guarded(nullptr, [&] { return new Instance(mEnvironment, mScript); });
    }

private:
    bool declare(Callback* callback, IError** error) {
        if (!callback) {
            ErrorFactory::throwError(error, IError::StageArgument, IError::CodeNullObject, "Object is NULL");
            return false;
        }
        ProfileObject<Callback> profile(callback);
        ScriptState state(mEnvironment, mScript->id, ScriptState::Use::Survey);
        state.attach(callback->getHost(), callback);
        const char* const name = kindName(mScript->type);
        return state.runChunk(mScript->bytecode, error) && state.run(name, error, [&](lua_State* L) {
            if (!state.pushHandler(L, name)) luaL_error(L, "the script has no function '%s' any more", name);
            profile.push(L);
            lua_call(L, 1, 0);
        });
    }

    Environment& mEnvironment;
    const std::shared_ptr<const Script> mScript;
};

using IndicatorProfile = ProfileBase<IIndicatorProfileImplementation, IIndicatorProfileCallback, IndicatorInstance>;
using StrategyProfile = ProfileBase<IStrategyProfileImplementation, IStrategyProfileCallback, StrategyInstance>;

class ToolProfile final : public ProfileBase<IToolProfileImplementation, IToolProfileCallback, ToolInstance> {
public:
    using ProfileBase::ProfileBase;
    IProfile::IconStatus getIconStatus(IHost*) override { return IProfile::IconEnabled; }
};

class MacroProfile final : public ProfileBase<IMacroProfileImplementation, IMacroProfileCallback, MacroInstance> {
public:
    using ProfileBase::ProfileBase;
    IProfile::IconStatus getIconStatus(IHost*) override { return IProfile::IconEnabled; }
};

}  // namespace vexil3::lua
