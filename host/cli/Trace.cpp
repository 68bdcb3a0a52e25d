#include "host/cli/Trace.h"

#include <string_view>

namespace vexil3::cli {

namespace {

// Languages mark a file's name by one character in front.
std::string_view unmarked(const char* file) {
    const std::string_view name = file ? file : "";
    return name.empty() ? name : name.substr(1);
}

}  // namespace

Trace::Trace(std::string script, Output& output)
    : mScript(std::move(script)),
      mOutput(output),
      mFile(IString::create()),
      mFunction(IString::create()),
      mKind(IString::create()) {}

int Trace::lineExecuting(IObjectNoRef*, IDebuggerCallback* callback, const char* file, int line) noexcept {
    // Libraries, and lines that a translation added to the script, are nobody's to follow.
    if (unmarked(file) != mScript) return 1;
    const auto text = mSources.line(mScript, line);
    if (!text) return 1;
    place(mScript, line);
    mOutput.text(": ");
    mOutput.text(*text);
    mOutput.character('\n');
    if (callback) stack(*callback);
    if (mOutput.isTerminal()) mOutput.flush();
    return 1;
}

void Trace::stack(IDebuggerCallback& callback) {
    if (!callback.prepareCallStack(false)) return;
    const unsigned long depth = callback.callStackDepth();
    for (unsigned long i = 0; i < depth; ++i) {
        int line = 0;
        if (!callback.getCallStackFrame(i, mFile.get(), mFunction.get(), mKind.get(), line)) continue;
        const std::string_view file = mFile->text();
        const bool marked = file.size() == mScript.size() + 1 && file.ends_with(mScript);
        if (!marked && file != mScript) continue;
        mOutput.text("    ");
        place(mScript, line);
        mOutput.text(": in ");
        const std::string_view function = mFunction->text(), kind = mKind->text();
        mOutput.text(!function.empty() ? function : kind == "main" ? "the script" : "a function");
        mOutput.character('\n');
    }
}

void Trace::place(std::string_view file, int line) {
    mOutput.text(file);
    mOutput.character(':');
    mOutput.number(line);
}

}  // namespace vexil3::cli
