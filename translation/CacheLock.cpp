#include "translation/CacheLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

namespace vexil3::js {

namespace {

constexpr int kTries = 2000;
constexpr useconds_t kPause = 1000;

}  // namespace

CacheLock::CacheLock(const std::string& directory, Kind kind) noexcept
    : mDirectory(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)), mHeld(true) {
    if (!mDirectory) {
        // Nobody can be kept apart where there is no directory; without descriptors, nothing will work.
        mHeld = errno != EMFILE && errno != ENFILE && errno != ENOMEM;
        return;
    }
    const int operation = (kind == Shared ? LOCK_SH : LOCK_EX) | LOCK_NB;
    for (int i = 0; i < kTries; ++i) {
        mHeld = flock(mDirectory.get(), operation) == 0 || (errno != EWOULDBLOCK && errno != EINTR);
        if (mHeld) return;
        usleep(kPause);
    }
}

CacheLock::~CacheLock() {
    // Closing is not enough: a child that the host forked meanwhile has a share in the lock.
    if (mDirectory) flock(mDirectory.get(), LOCK_UN);
}

}  // namespace vexil3::js
