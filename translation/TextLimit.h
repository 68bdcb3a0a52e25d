// How much text a translation may be made of.
#pragma once

#include <cstdint>

namespace vexil3::js {

// In bytes. A longer text is refused instead of read: nobody wrote it, and it may well hold nothing
// but fill the host's memory.
constexpr std::int64_t kLargestText = std::int64_t{1} << 30;

}  // namespace vexil3::js
