// What the JavaScript module needs of the machine: where things lie, and what is missing.
#pragma once

#include <optional>
#include <string>

namespace vexil3::cli {

// The prefix that the program is built or installed under, with share/vexil below it.
std::string prefix();

// The bundled prices.
std::string defaultPrices();

// Sets VEXIL_JS_CACHE, VEXIL_CLASSPATH, VEXIL_LUA_COMPILE_MACROS and JDK_JAVA_OPTIONS for this process where they are
// unset (the first three also where empty), makes relative folders absolute, and sets a UTF-8 locale where there is
// none.
void setEnvironment();

// The cache directory that the module uses.
std::string cacheDirectory();

// Looks why the script cannot be translated here: a sentence that says what is missing and how to get
// it, or nothing when all is there. Makes the cache directory.
std::optional<std::string> whatIsMissing(const std::string& script);

}  // namespace vexil3::cli
