// One run of a script, as its kind.
#pragma once

#include <initializer_list>
#include <string>

#include <vexil3/file_system_accessor.h>

#include "host/cli/Failure.h"
#include "host/cli/Host.h"
#include "host/cli/LanguageModule.h"
#include "host/cli/Options.h"
#include "host/cli/Output.h"
#include "host/cli/Prices.h"
#include "host/cli/Profiles.h"
#include "host/cli/Trace.h"

namespace vexil3::cli {

// What a run of any kind stands on.
struct Run {
    const Options& options;
    const std::string& script;
    LanguageModule& language;
    IFileAccessor& accessor;
    Prices& prices;
    Output& output;
    Output& messages;
    Trace* trace;  // null: none was asked for
};

// Each runs the script to its end and writes what came of it. Throws ScriptFault or Failure.
void runIndicator(Run& run);
void runStrategy(Run& run);
void runTool(Run& run);
void runMacro(Run& run);

// The command. The same.
void runScript(const Options& options, Output& output, Output& messages);

// Files of the machine, seen from the working directory.
Counted<FileSystemAccessor> openFiles();

template <class Implementation>
using CreateProfile = Implementation* (ILanguage::*)(IFileAccessor*, const char*, ILoadMetadata*, IError**);

// A script that is loaded and declared, ready for an instance.
template <class Profile, class Implementation>
struct LoadedScript {
    LoadedScript(Run& run, Output& log, CreateProfile<Implementation> create)
        : host(log, run.prices), profile({run.script, run.language.name(), &run.accessor, &host}) {
        ErrorSlot error;
        implementation.reset((run.language.get()->*create)(&run.accessor, run.script.c_str(), nullptr, error));
        expect(implementation != nullptr, error, "loading it");
        if (run.trace) run.language->setDebugger(run.trace);
        expect(implementation->init(&profile, error), error, "its declaration");
        for (const std::string& setting : run.options.settings) profile.parameters().set(setting, run.script);
    }

    // A new instance that runs under `callback`.
    template <class Callback>
    auto start(Callback& callback) {
        Counted<std::remove_pointer_t<decltype(implementation->getInstanceImplementation())>> instance(
            implementation->getInstanceImplementation());
        ErrorSlot error;
        expect(instance && instance->init(&callback, error), error, "starting it");
        return instance;
    }

    Host host;
    Profile profile;
    Counted<Implementation> implementation;
};

// Warns of a script that has none of these functions: it does nothing, most likely for a misspelt name.
void warnWithout(Run& run, IExecutable& instance, std::initializer_list<const char*> names);

// Asks an instance that has a say in its parameters whether the given settings will do. Throws
// Failure with its answer when they won't.
template <class Instance>
void checkSettings(Run& run, Instance& instance, IProfile& profile) {
    if (run.options.settings.empty()) return;
    char answer[1024] = "";
    ErrorSlot error;
    const bool accepted = instance.checkParameters(profile.getParameters(), answer, sizeof answer, error);
    if (!accepted && !error.filled()) throw Failure(run.script + " refuses the values of --set: " + answer);
    expect(accepted, error, "checkParameters");
}

}  // namespace vexil3::cli
