// Identity of interfaces and classes.
#pragma once

#include <cstdint>

// Marks what a library of the platform exports.
#define VEXIL_API __attribute__((visibility("default")))

namespace vexil3 {

// The first group is a native unsigned long, so that the upper half is zero on 64-bit targets.
struct _GUID {
    unsigned long Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};

constexpr bool operator==(const _GUID& a, const _GUID& b) noexcept {
    if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3) return false;
    for (int i = 0; i < 8; ++i)
        if (a.Data4[i] != b.Data4[i]) return false;
    return true;
}

#if __cplusplus < 202002L
constexpr bool operator!=(const _GUID& a, const _GUID& b) noexcept { return !(a == b); }
#endif

}  // namespace vexil3
