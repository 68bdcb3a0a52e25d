// Leak diagnostics of counted objects.
#pragma once

#include <cstdint>

#include <vexil3/guid.h>

namespace vexil3 {

class VEXIL_API MemoryDiagnostic {
public:
    // Non-zero: objects are reported. Set it before objects are made, not while they live.
    static std::int32_t gEnabled;

    // An object came to life, an object went. [any thread]
    static void registerObject(const void* object, _GUID id);
    static void releaseObject(const void* object);

    // How many reports of either kind have come since the last reset, and how many objects that were
    // reported still live. [any thread]
    static std::uint64_t registered();
    static std::uint64_t released();
    static std::uint64_t alive();
    static void reset();
};

}  // namespace vexil3
