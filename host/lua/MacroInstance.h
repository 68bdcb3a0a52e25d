// A macro, ready to be started or running.
#pragma once

#include <vexil3/macro.h>

#include <atomic>

#include "host/lua/InstanceBase.h"
#include "host/lua/Prices.h"

namespace vexil3::lua {

class MacroInstance final : public InstanceBase<IMacroInstanceImplementation, IMacroInstanceCallback> {
public:
    MacroInstance(Environment& environment, std::shared_ptr<const Script> script)
        : InstanceBase(environment, std::move(script),
                       environment.compilesMacros ? ScriptState::Use::Run : ScriptState::Use::Killable) {
        mCore.setPhase(&mPhase);
    }

    bool findMember(const char* name, int* id, MemberType* type) override;
    bool init(IMacroInstanceCallback* callback, IError** error) override;
    void invoke(int id, InvokeType type, IObjectNoRef* object, IExecutableArgs* args) override;
    bool releaseInstance(IError** error) override;
    bool execute(IError** error) override;
    bool execute(IParameters* parameters, IError** error) override;
    bool notifyFinished(int cookie, IValueMap* values, IError** error) override;
    // The script's own `kill` runs too: after what was ended, on that thread, or, when the script
    // stood still, at once.
    bool kill(IError** error) override;

private:
    void detach() override;
    void fill(lua_State* L) override;
    void synchronize(lua_State* L) override;

    template <class Work>
    bool exclusively(IError** error, Work&& work);

    using Phase = ScriptState::Phase;

    std::atomic<Phase> mPhase{Phase::Idle};
    Prices mPrices;
};

}  // namespace vexil3::lua
