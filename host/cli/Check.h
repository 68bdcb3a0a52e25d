// The commands that look at scripts without running them.
#pragma once

#include <functional>
#include <string>

#include "host/cli/Failure.h"
#include "host/cli/LanguageModule.h"
#include "host/cli/Options.h"
#include "host/cli/Output.h"

namespace vexil3::cli {

// Throws ScriptFault.
void checkSyntax(LanguageModule& language, const std::string& script);

// Checks all scripts; hands what is wrong with one to `report` and goes on.
void checkScripts(const Options& options,
                  const std::function<void(const std::string& script, const ScriptFault&)>& report);

// Writes a JavaScript script's Lua text with the JavaScript line before each line. Throws ScriptFault
// or Failure.
void translateScript(const Options& options, Output& output);

}  // namespace vexil3::cli
