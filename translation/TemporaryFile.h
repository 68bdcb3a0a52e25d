// Files that live for one translation.
#pragma once

#include <string>
#include <string_view>

#include "translation/Descriptor.h"

namespace vexil3::js {

// `length` characters of 0-9A-Za-z from the process-wide rand().
std::string gen_random_string(int length);

// Removes the file that it names when it goes; whether that worked is ignored.
class AutoFileRemover {
public:
    AutoFileRemover() = default;
    explicit AutoFileRemover(std::string path) noexcept : mPath(std::move(path)) {}
    ~AutoFileRemover();
    AutoFileRemover(const AutoFileRemover&) = delete;
    AutoFileRemover& operator=(const AutoFileRemover&) = delete;

    void setPath(std::string&& path) noexcept { mPath = std::move(path); }
    const std::string& path() const noexcept { return mPath; }

private:
    std::string mPath;
};

// A new, empty file that its owner alone may read and write, removed when this goes. Its name is
// `prefix`, `length` random characters and `suffix`; a name that is taken, even by a link, is passed
// over and another drawn.
class TemporaryFile {
public:
    TemporaryFile(const std::string& prefix, int length, const std::string& suffix);

    // 0, or the errno that kept the file from being made.
    int error() const noexcept { return mError; }
    // Where the file is, or where it could not be made.
    const std::string& path() const noexcept { return mError ? mFailed : mRemover.path(); }

    // Writes the whole content and closes the file. A file that does not take it is left empty.
    void write(std::string_view content) noexcept;

private:
    AutoFileRemover mRemover;
    std::string mFailed;
    Descriptor mDescriptor;
    int mError;
};

}  // namespace vexil3::js
