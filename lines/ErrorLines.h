// Turns the Lua lines in errors into JavaScript lines.
#pragma once

#include <vexil3/error.h>

#include "lines/FileLinesCache.h"

namespace vexil3::js {

// Adds the entries of `source` to `error`, in order, with their lines mapped: the entry's own line,
// and in its message every number behind ".jsl:" (in an entry without a file: behind `scriptName`
// and ":"). What cannot be mapped stays. `source` may be null, which adds nothing, and stays the
// caller's. Throws nothing: where memory runs out, the entries come as they were.
void updateErrorLines(IError** error, IError* source, FileLinesCache* cache, const char* scriptName) noexcept;

}  // namespace vexil3::js
