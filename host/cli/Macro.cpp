// Macros: run once, and what they log is all that is written.
#include "host/cli/Run.h"

namespace vexil3::cli {

namespace {

class MacroInstance final : public InstanceBase<IMacroInstanceCallback> {
    using InstanceBase::InstanceBase;
};

void execute(Run& run) {
    LoadedScript<MacroProfile, IMacroProfileImplementation> loaded(run, run.output, &ILanguage::createMacroProfile);
    MacroInstance callback(loaded.profile);
    const auto instance = loaded.start(callback);
    warnWithout(run, *instance, {"execute"});
    ErrorSlot error;
    expect(instance->execute(error), error, "execute");
    expect(instance->releaseInstance(error), error, "releaseInstance");
}

}  // namespace

void runMacro(Run& run) {
    run.prices.show(run.prices.total());
    try {
        execute(run);
    } catch (const ScriptFault&) {
        // What was logged before the fault belongs to the story.
        run.output.flush();
        throw;
    }
}

}  // namespace vexil3::cli
