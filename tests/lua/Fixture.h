// The module as a host loads it, and scripts run through it.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/lua/Doubles.h"

namespace vexil3::test {

// What one entry of an error says.
struct Fault {
    std::string message, file;
    int stage = 0, code = 0, line = 0;
    std::uint64_t count = 0;
};

inline Fault faultOf(const Ref<IError>& error) {
    if (!error) return {};
    const Ref<IErrorEntry> entry(error->get(0));
    return {entry->message(), entry->file() ? entry->file() : "", entry->stage(), entry->code(), entry->line(),
            error->count()};
}

// A script of one kind from text to running instance.
template <class ProfileImplementation, class InstanceImplementation, class ProfileDouble, class InstanceDouble>
struct Running {
    Ref<ProfileImplementation> profile;
    Ref<InstanceImplementation> instance;
    ProfileDouble profileCallback;
    InstanceDouble callback;
    Ref<IError> error;

    InstanceImplementation* operator->() { return instance.get(); }
    Fault fault() const { return faultOf(error); }
};

using Indicator =
    Running<IIndicatorProfileImplementation, IIndicatorInstanceImplementation, IndicatorProfile, IndicatorInstance>;
using Strategy =
    Running<IStrategyProfileImplementation, IStrategyInstanceImplementation, StrategyProfile, StrategyInstance>;
using Tool = Running<IToolProfileImplementation, IToolInstanceImplementation, ToolProfile, ToolInstance>;
using Macro = Running<IMacroProfileImplementation, IMacroInstanceImplementation, MacroProfile, MacroInstance>;

// Demands, at its end, that every counted object is gone.
class LuaTest : public testing::Test {
protected:
    static constexpr const char* kFile = "some folder/script.lua";

    explicit LuaTest(const char* compileMacros = "0") {
        ::setenv("VEXIL_LUA_COMPILE_MACROS", compileMacros, 1);
        MemoryDiagnostic::gEnabled = 1;
        MemoryDiagnostic::reset();
        void* const module = dlopen(VEXIL_LUA_MODULE, RTLD_NOW);
        if (!module) throw std::runtime_error(dlerror());
        language = reinterpret_cast<ILanguage* (*)()>(dlsym(module, "createLanguage"))();
        accessor = Ref<MemoryAccessor>(new MemoryAccessor);
    }
    ~LuaTest() override {
        language->release();
        accessor = Ref<MemoryAccessor>();
        EXPECT_EQ(MemoryDiagnostic::alive(), 0u);
        MemoryDiagnostic::gEnabled = 0;
    }

    // Loads and declares; false, with the error kept, when either fails.
    bool load(Indicator& run, const std::string& text) { return load(run, text, &ILanguage::createIndicatorProfile); }
    bool load(Strategy& run, const std::string& text) { return load(run, text, &ILanguage::createStrategyProfile); }
    bool load(Tool& run, const std::string& text) { return load(run, text, &ILanguage::createToolProfile); }
    bool load(Macro& run, const std::string& text) { return load(run, text, &ILanguage::createMacroProfile); }

    // The whole way to an initialised instance.
    template <class Kind>
    bool start(Kind& run, const std::string& text) {
        if (!load(run, text)) return false;
        run.instance = Ref(run.profile->getInstanceImplementation());
        return run.instance->init(&run.callback, run.error.out());
    }

    ILanguage* language = nullptr;
    Ref<MemoryAccessor> accessor;

private:
    template <class Kind, class Create>
    bool load(Kind& run, const std::string& text, Create create) {
        accessor->files[kFile] = text;
        run.profile = Ref((language->*create)(accessor.get(), kFile, nullptr, run.error.out()));
        return run.profile && run.profile->init(&run.profileCallback, run.error.out());
    }
};

}  // namespace vexil3::test
