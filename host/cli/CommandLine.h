// The command line of the program.
#pragma once

#include <optional>

#include "host/cli/Options.h"

namespace vexil3::cli {

// Nothing when there is nothing left to do: help or a complaint was written, and `exitCode` says
// which. Throws Failure for a gesture that cannot be understood.
std::optional<Options> parseCommandLine(int argc, char** argv, int& exitCode);

}  // namespace vexil3::cli
