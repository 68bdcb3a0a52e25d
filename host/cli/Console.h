// Errors for the person at the terminal.
#pragma once

#include <string>
#include <string_view>

#include <vexil3/error.h>

#include "host/cli/Output.h"
#include "host/cli/SourceText.h"

namespace vexil3::cli {

class Console {
public:
    explicit Console(Output& output);

    // Writes every entry as "file:line: error: text", the source line and the traceback. An entry that
    // names no file is laid to `script` if scripts can have such a fault.
    void report(IError& error, const std::string& script);
    // Writes "vexil: error: text".
    void complain(std::string_view text);

private:
    void report(IErrorEntry& entry, const std::string& script);
    void heading(std::string_view place, std::string_view text);

    Output& mOutput;
    SourceText mSources;
    const bool mColour;
};

}  // namespace vexil3::cli
