// Keeps processes that share a cache directory apart.
#pragma once

#include <string>

#include "translation/Descriptor.h"

namespace vexil3::js {

// An advisory lock on the directory itself, so that it adds no file; the kernel drops it when the
// process dies. Shared for reading an entry, exclusive for writing one.
class CacheLock {
public:
    enum Kind { Shared, Exclusive };

    // Waits for a short while at most: a holder that was stopped must not stop us.
    CacheLock(const std::string& directory, Kind kind) noexcept;
    ~CacheLock();

    // False when another process kept the lock. Where the file system has no locks: true.
    bool held() const noexcept { return mHeld; }

private:
    Descriptor mDirectory;
    bool mHeld;
};

}  // namespace vexil3::js
