// What all scripts of one language share.
#pragma once

#include <vexil3/debugger.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <string_view>

#include "host/lua/Libraries.h"

namespace vexil3::lua {

// True when an environment variable holds something other than "0".
inline bool isSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value && *value && std::string_view(value) != "0";
}

// Outlives every profile and instance of the language. [any thread]
struct Environment {
    std::atomic<std::size_t> memoryLimit{std::size_t{1} << 30};
    std::atomic<IDebugger*> debugger{nullptr};
    // Compiled code sees no request to stop: kill then takes effect when the macro has ended by itself.
    const bool compilesMacros = isSet("VEXIL_LUA_COMPILE_MACROS");
    Libraries libraries;
};

}  // namespace vexil3::lua
