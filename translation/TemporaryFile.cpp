#include "translation/TemporaryFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace vexil3::js {

namespace {

// Processes that seeded alike draw the same names in turn, so a clash costs one draw.
constexpr int kDraws = 10000;

}  // namespace

std::string gen_random_string(int length) {
    static constexpr char alphabet[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    std::string text;
    for (int i = 0; i < length; ++i) text += alphabet[std::rand() % 62];
    return text;
}

AutoFileRemover::~AutoFileRemover() {
    if (!mPath.empty()) std::remove(mPath.c_str());
}

TemporaryFile::TemporaryFile(const std::string& prefix, int length, const std::string& suffix) : mError(EEXIST) {
    for (int draw = 0; draw < kDraws && (mError == EEXIST || mError == EINTR); ++draw) {
        std::string path = prefix;
        path.append(gen_random_string(length)).append(suffix);
        mDescriptor = Descriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        mError = mDescriptor ? 0 : errno;
        if (mError)
            mFailed = std::move(path);
        else
            mRemover.setPath(std::move(path));
    }
}

void TemporaryFile::write(std::string_view content) noexcept {
    while (!content.empty()) {
        const ssize_t count = ::write(mDescriptor.get(), content.data(), content.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    // Half a script may well be a script too, and a wrong one.
    if (!content.empty() && ftruncate(mDescriptor.get(), 0) != 0) std::remove(mRemover.path().c_str());
    mDescriptor.close();
}

}  // namespace vexil3::js
