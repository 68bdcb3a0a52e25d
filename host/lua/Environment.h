// What all scripts of one language share.
#pragma once

#include <vexil3/debugger.h>

#include <atomic>
#include <cstddef>

#include "host/lua/Libraries.h"

namespace vexil3::lua {

// Outlives every profile and instance of the language. [any thread]
struct Environment {
    std::atomic<std::size_t> memoryLimit{std::size_t{1} << 30};
    std::atomic<IDebugger*> debugger{nullptr};
    Libraries libraries;
};

}  // namespace vexil3::lua
