#include <vexil3/file_system_accessor.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "host/services/File.h"
#include "host/services/FileEnumerator.h"
#include "host/services/Guarded.h"

namespace vexil3 {

namespace {

// Non-blocking, so that a pipe planted under a script's name cannot hang the host.
constexpr int kReadFlags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
constexpr int kWriteFlags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

Descriptor openDescriptor(const char* path, int flags) {
    int value = 0;
    do {
        value = ::open(path, flags, 0666);
    } while (value < 0 && errno == EINTR);
    return Descriptor(value);
}

IError::ErrorCode codeOf(int number) {
    return number == ENOENT || number == ENOTDIR ? IError::CodeNotFound : IError::CodeCannotOpen;
}

std::nullptr_t fail(IError** error, const std::string& path, const char* what, int number) {
    const std::string message = path + ": " + what + ": " + std::strerror(number);
    ErrorFactory::throwError(error, IError::StageFile, codeOf(number), message.c_str());
    return nullptr;
}

std::nullptr_t nothingNamed(IError** error) {
    ErrorFactory::throwError(error, IError::StageArgument, IError::CodeNullObject, "no file name");
    return nullptr;
}

IFile* openToRead(const std::string& path, const char* name, IError** error) {
    Descriptor descriptor = openDescriptor(path.c_str(), kReadFlags);
    struct stat status {};
    if (!descriptor || ::fstat(descriptor.get(), &status) != 0) return fail(error, path, "cannot open", errno);
    if (S_ISDIR(status.st_mode)) return fail(error, path, "cannot open", EISDIR);
    if (!S_ISREG(status.st_mode)) {
        const std::string message = path + ": cannot open: not a regular file";
        ErrorFactory::throwError(error, IError::StageFile, IError::CodeCannotOpen, message.c_str());
        return nullptr;
    }
    return File::reader(std::move(descriptor), name, status.st_size);
}

IFile* openToWrite(const std::string& path, const char* name, IError** error) {
    Descriptor descriptor = openDescriptor(path.c_str(), kWriteFlags);
    if (descriptor) return File::writer(std::move(descriptor), name);
    if (errno != ENOENT) return fail(error, path, "cannot write", errno);

    std::error_code status;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), status);
    if (status) return fail(error, path, "cannot create its folder", status.value());
    Descriptor created = openDescriptor(path.c_str(), kWriteFlags);
    if (!created) return fail(error, path, "cannot write", errno);
    return File::writer(std::move(created), name);
}

bool store(const std::string& text, char* buffer, int size) {
    if (!buffer || size <= 0 || text.size() >= static_cast<std::size_t>(size)) return false;
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return true;
}

}  // namespace

bool FileSystemAccessor::init(const char* root, IMetadataProvider*, IError** error) {
    return guarded(error, [&] {
        if (!root) return nothingNamed(error) != nullptr;
        struct stat status {};
        if (::stat(root, &status) != 0) return fail(error, root, "cannot use the folder", errno) != nullptr;
        if (!S_ISDIR(status.st_mode)) return fail(error, root, "cannot use the folder", ENOTDIR) != nullptr;
        // Relative names mean the working directory as they are, and read better so.
        mRoot = std::strcmp(root, ".") == 0 ? "" : root;
        return true;
    });
}

bool FileSystemAccessor::is(_GUID id) const { return id == IFileAccessor::ID || id == IObject::ID; }

bool FileSystemAccessor::to(_GUID id, void** object) const {
    *object = is(id) ? const_cast<FileSystemAccessor*>(this) : nullptr;
    return *object != nullptr;
}

bool FileSystemAccessor::resolvePath(const char* base, const char* name, char* buffer, int size) {
    if (!name) return false;
    return guarded(nullptr, [&] { return store(full(base, name), buffer, size); });
}

bool FileSystemAccessor::location(const char* name, char* buffer, int size) {
    if (!name) return false;
    return guarded(nullptr, [&] {
        return store(std::filesystem::path(full(nullptr, name)).parent_path().string(), buffer, size);
    });
}

IFileEnumerator* FileSystemAccessor::enumerator(bool recursive, IError** error) {
    return enumerator(nullptr, nullptr, recursive, error);
}

IFileEnumerator* FileSystemAccessor::enumerator(const char** patterns, bool recursive, IError** error) {
    return enumerator(nullptr, patterns, recursive, error);
}

IFileEnumerator* FileSystemAccessor::enumerator(const char* folder, const char** patterns, bool recursive,
                                                IError** error) {
    return guarded(error, [&]() -> IFileEnumerator* {
        std::string prefix = folder ? folder : "";
        if (!prefix.empty() && prefix.back() != '/') prefix += '/';
        return FileEnumerator::create(full(nullptr, prefix.c_str()), prefix, patterns, recursive, error);
    });
}

bool FileSystemAccessor::exists(const char* name, IError** error) {
    return guarded(error, [&] {
        if (!name) return nothingNamed(error) != nullptr;
        const std::string path = full(nullptr, name);
        struct stat status {};
        // A folder of that name is no file; it must not read as one.
        if (::stat(path.c_str(), &status) == 0) return S_ISREG(status.st_mode);
        if (codeOf(errno) != IError::CodeNotFound) fail(error, path, "cannot look for it", errno);
        return false;
    });
}

bool FileSystemAccessor::isSupported(const char* name, OpenMode openMode, AccessMode accessMode) {
    return name && ((openMode == Open && accessMode == Read) || (openMode == Create && accessMode == Write));
}

IFile* FileSystemAccessor::open(const char* name, OpenMode openMode, AccessMode accessMode, DataMode, IError** error) {
    return guarded(error, [&]() -> IFile* {
        if (!name) return nothingNamed(error);
        const std::string path = full(nullptr, name);
        if (!isSupported(name, openMode, accessMode)) {
            const std::string message = path + ": files are either read as they are or written anew";
            ErrorFactory::throwError(error, IError::StageFile, IError::CodeNotSupported, message.c_str());
            return nullptr;
        }
        return openMode == Open ? openToRead(path, name, error) : openToWrite(path, name, error);
    });
}

std::string FileSystemAccessor::full(const char* base, const char* name) const {
    if (*name == '/') return name;
    const std::string folder = base ? full(nullptr, base) : mRoot;
    return !folder.empty() && folder.back() != '/' ? folder + '/' + name : folder + name;
}

}  // namespace vexil3
