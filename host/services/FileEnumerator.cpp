#include "host/services/FileEnumerator.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include <vexil3/strings.h>

#include "host/services/Guarded.h"

namespace vexil3 {

namespace {

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

bool matches(const char* const* patterns, const char* name) {
    if (!patterns) return true;
    for (; *patterns; ++patterns)
        if (StringUtil::like(*patterns, name)) return true;
    return false;
}

// Not the standard library's iterator, which ends the process when memory runs out.
struct Walk {
    const std::string& root;
    const char* const* patterns;
    const bool recursive;
    std::vector<std::string> names;

    // Collects below `folder`, which is empty or ends with a slash; false with errno.
    bool collect(const std::string& folder) {
        const std::unique_ptr<DIR, CloseFolder> open(::opendir((root + folder).c_str()));
        if (!open) return false;
        errno = 0;
        while (const dirent* entry = ::readdir(open.get())) {
            const std::string name = entry->d_name;
            struct stat status {};
            if (name == "." || name == ".." || ::fstatat(::dirfd(open.get()), name.c_str(), &status, 0) != 0) continue;
            if (S_ISREG(status.st_mode) && matches(patterns, name.c_str())) names.push_back(folder + name);
            if (recursive && S_ISDIR(status.st_mode) && !isLink(open.get(), name) && !collect(folder + name + '/'))
                return false;
            errno = 0;
        }
        return errno == 0;
    }

    // A link could lead around in a circle.
    static bool isLink(DIR* folder, const std::string& name) {
        struct stat status {};
        return ::fstatat(::dirfd(folder), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode);
    }
};

}  // namespace

FileEnumerator* FileEnumerator::create(const std::string& path, const std::string& prefix, const char** patterns,
                                       bool recursive, IError** error) {
    return guarded(error, [&]() -> FileEnumerator* {
        const std::string root = path.empty() ? "./" : path.ends_with('/') ? path : path + '/';
        Walk walk{root, patterns, recursive, {}};
        if (!walk.collect("")) {
            const int number = errno;
            const std::string message = path + ": cannot list: " + std::strerror(number);
            ErrorFactory::throwError(error, IError::StageFile,
                                     number == ENOENT ? IError::CodeNotFound : IError::CodeCannotOpen, message.c_str());
            return nullptr;
        }
        for (std::string& name : walk.names) name.insert(0, prefix);
        std::sort(walk.names.begin(), walk.names.end());
        return new FileEnumerator(std::move(walk.names));
    });
}

bool FileEnumerator::is(_GUID id) const { return id == IFileEnumerator::ID || id == IObject::ID; }

bool FileEnumerator::to(_GUID id, void** object) const {
    *object = is(id) ? const_cast<FileEnumerator*>(this) : nullptr;
    return *object != nullptr;
}

const char* FileEnumerator::next() { return mNext < mNames.size() ? mNames[mNext++].c_str() : nullptr; }

}  // namespace vexil3
