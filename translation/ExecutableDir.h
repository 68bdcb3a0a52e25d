// Default places beside the host program.
#pragma once

#include <string>

namespace vexil3::js {

// The folder of the running program, with a "/" at its end; "./" when the system doesn't tell.
std::string getExecutableDir();

// The folder of the translation cache, with a "/" at its end: VEXIL_JS_CACHE, else a folder beside
// the running program.
std::string getCacheDir();

}  // namespace vexil3::js
