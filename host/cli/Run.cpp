#include "host/cli/Run.h"

#include "host/cli/ScriptFiles.h"

namespace vexil3::cli {

namespace {

bool hasRun(IError& error) {
    const Counted<IErrorEntry> first(error.get(0));
    return first && first->stage() == IError::StageScript;
}

// A script that fails while its kind is found out is reported in the lines of its translation;
// loading it fails in the same way and reports the script's lines.
[[noreturn]] void failAsLoading(LanguageModule& language, IFileAccessor& accessor, const std::string& script,
                                Counted<IError> otherwise) {
    ErrorSlot error;
    const Counted<IIndicatorProfileImplementation> none(
        language->createIndicatorProfile(&accessor, script.c_str(), nullptr, error));
    throw ScriptFault{error.filled() ? error.take() : std::move(otherwise), "loading it"};
}

ILanguageService::ObjectType kindOf(LanguageModule& language, IFileAccessor& accessor, const std::string& script) {
    ErrorSlot slot;
    ILanguageService::ObjectType kind = ILanguageService::Unknown;
    const bool recognised = language->recognizeFile(&accessor, script.c_str(), kind, slot);
    Counted<IError> error = slot.take();
    if (!error) return recognised ? kind : ILanguageService::Unknown;
    if (hasRun(*error)) failAsLoading(language, accessor, script, std::move(error));
    throw ScriptFault{std::move(error), "finding out what it is"};
}

void runAs(ILanguageService::ObjectType kind, Run& run) {
    switch (kind) {
        case ILanguageService::Indicator:
            return runIndicator(run);
        case ILanguageService::Strategy:
            return runStrategy(run);
        case ILanguageService::Tool:
            return runTool(run);
        case ILanguageService::Macro:
            return runMacro(run);
        case ILanguageService::Unknown:
            break;
    }
    ErrorSlot error;
    ErrorFactory::throwError(error, IError::StageTranslation, IError::CodeInvalidContent,
                             "declares no function named indicator, strategy, tool or macro", run.script.c_str(), 0);
    expect(false, error, "finding out what it is");
}

}  // namespace

void warnWithout(Run& run, IExecutable& instance, std::initializer_list<const char*> names) {
    std::string all;
    for (const char* const name : names) {
        if (instance.findMember(name, nullptr, nullptr)) return;
        all.append(all.empty() ? "" : " or ").append(name);
    }
    run.messages.text(run.script + ": warning: has no function named " + all +
                      " at the top level, and so does nothing\n");
}

Counted<FileSystemAccessor> openFiles() {
    Counted<FileSystemAccessor> accessor(new ScriptFiles);
    ErrorSlot error;
    expect(accessor->init(".", nullptr, error), error, "opening the working directory");
    return accessor;
}

void runScript(const Options& options, Output& output, Output& messages) {
    const std::string& script = options.scripts.front();
    const Counted<FileSystemAccessor> accessor = openFiles();
    const std::unique_ptr<Trace> trace(options.trace ? new Trace(script, messages) : nullptr);
    LanguageModule language(languageOf(script));
    const ILanguageService::ObjectType kind = kindOf(language, *accessor, script);
    if (kind != ILanguageService::Tool && !options.gestures.empty())
        throw Failure(script + " is no tool, so that it takes no clicks and no moves");
    Prices prices(options.prices);
    Run run{options, script, language, *accessor, prices, output, messages, trace.get()};
    runAs(kind, run);
}

}  // namespace vexil3::cli
