#include "host/cli/Run.h"

#include "host/cli/Environment.h"

namespace vexil3::cli {

namespace {

ILanguageService::ObjectType kindOf(LanguageModule& language, IFileAccessor& accessor, const std::string& script) {
    ErrorSlot error;
    ILanguageService::ObjectType kind = ILanguageService::Unknown;
    const bool recognised = language->recognizeFile(&accessor, script.c_str(), kind, error);
    if (error.filled()) expect(recognised, error, "finding out what it is");
    return recognised ? kind : ILanguageService::Unknown;
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

Counted<FileSystemAccessor> openFiles() {
    Counted<FileSystemAccessor> accessor(new FileSystemAccessor);
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
    Prices prices(options.prices.empty() ? defaultPrices() : options.prices);
    Run run{options, script, language, *accessor, prices, output, messages, trace.get()};
    runAs(kind, run);
}

}  // namespace vexil3::cli
