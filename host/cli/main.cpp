// vexil, a command-line host for people who write chart scripts.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <filesystem>

#include "host/cli/Check.h"
#include "host/cli/CommandLine.h"
#include "host/cli/Console.h"
#include "host/cli/Environment.h"
#include "host/cli/Failure.h"
#include "host/cli/Interruption.h"
#include "host/cli/Run.h"

namespace vexil3::cli {

namespace {

struct Findings {
    bool located = false;   // names a line
    bool inScript = false;  // a script or its translation is at fault
    bool hasRun = false;    // the translation was there
};

Findings look(IError& error) {
    Findings findings;
    for (std::uint64_t i = 0; i < error.count(); ++i) {
        const Counted<IErrorEntry> entry(error.get(i));
        if (!entry) continue;
        findings.located |= entry->line() > 0;
        findings.hasRun |= entry->stage() == IError::StageScript;
        findings.inScript |= entry->stage() == IError::StageScript || entry->stage() == IError::StageTranslation;
    }
    return findings;
}

bool isReadable(const std::string& script) {
    std::error_code unknown;
    return ::access(script.c_str(), R_OK) == 0 && std::filesystem::is_regular_file(script, unknown);
}

// Reports a fault; what it comes to for the exit code.
ExitCode explain(Console& console, const std::string& script, const ScriptFault& fault) {
    const Findings findings = fault.error ? look(*fault.error) : Findings();
    const bool isJavaScript = languageOf(script) == ILanguageService::JavaScript;
    // Only the module knows that it could not translate, and it may have had to keep silent.
    if (isJavaScript && !findings.located && !findings.hasRun && isReadable(script)) {
        if (const auto missing = whatIsMissing(script)) {
            console.complain(*missing);
            return WrongCall;
        }
        if (!findings.inScript) {
            console.complain("java did not translate " + script +
                             "; see whether `java -version` runs and says 17 or more");
            if (!fault.error) return WrongCall;
        }
    }
    if (!fault.error) {
        console.complain(script + ": " + fault.doing + " failed without saying why");
        return WrongCall;
    }
    console.report(*fault.error, script);
    return findings.inScript ? FaultInScript : WrongCall;
}

ExitCode perform(const Options& options, Output& output, Output& messages, Console& console) {
    ExitCode code = Success;
    try {
        switch (options.command) {
            case Options::Run:
                runScript(options, output, messages);
                break;
            case Options::Translate:
                translateScript(options, output);
                break;
            case Options::Check:
                checkScripts(options, [&](const std::string& script, const ScriptFault& fault) {
                    code = std::max(code, explain(console, script, fault));
                });
                break;
        }
    } catch (const ScriptFault& fault) {
        return explain(console, options.scripts.front(), fault);
    }
    output.finish();
    messages.flush();
    return code;
}

// So that no file that is opened later takes the place of a stream that is closed, and its text.
void fillStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(stream, F_GETFD) < 0) ::open("/dev/null", O_RDONLY);
}

}  // namespace

}  // namespace vexil3::cli

int main(int argc, char** argv) {
    using namespace vexil3::cli;
    fillStandardStreams();
    Output messages(STDERR_FILENO);
    Console console(messages);
    try {
        int exitCode = Success;
        const auto options = parseCommandLine(argc, argv, exitCode);
        if (!options) return exitCode;
        setEnvironment();
        Interruption::arm();
        Output output(STDOUT_FILENO);
        return perform(*options, output, messages, console);
    } catch (const std::exception& e) {
        console.complain(e.what());
        return WrongCall;
    }
}
