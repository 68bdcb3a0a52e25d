// Follows a script line by line.
#pragma once

#include <memory>
#include <string>

#include <vexil3/debugger.h>

#include "host/cli/Implements.h"
#include "host/cli/Output.h"
#include "host/cli/SourceText.h"

namespace vexil3::cli {

// Writes every line that the script at `script` is about to run as "file:line: source text", and the
// call stack beneath.
class Trace final : public Implements<IDebugger, IDebugger, IObjectNoRef> {
public:
    Trace(std::string script, Output& output);

    void objectCreated(IObjectNoRef*) override {}
    int lineExecuting(IObjectNoRef* object, IDebuggerCallback* callback, const char* file, int line) noexcept override;

private:
    void stack(IDebuggerCallback& callback);
    void place(std::string_view file, int line);

    const std::string mScript;
    Output& mOutput;
    SourceText mSources;
    const std::unique_ptr<IString> mFile;
    const std::unique_ptr<IString> mFunction;
    const std::unique_ptr<IString> mKind;
};

}  // namespace vexil3::cli
