#include "translation/CacheProcessRunner.h"

#include <boost/filesystem.hpp>
#include <cerrno>
#include <climits>
#include <cstdio>

#include <vexil3/file_system_accessor.h>
#include <vexil3/ref.h>

#include "language/Resources.h"
#include "translation/CacheLock.h"
#include "translation/ExecutableDir.h"
#include "translation/MD5Calc.h"
#include "translation/TextLimit.h"

namespace vexil3::js {

namespace {

constexpr int kFailed = 1;

std::string messagesOf(IError* error) {
    std::string text;
    for (std::uint64_t i = 0; i < error->count(); ++i) {
        const Ref<IErrorEntry> entry(error->get(i));
        if (i) text += '\n';
        if (const char* message = entry ? entry->message() : nullptr) text += message;
    }
    return text;
}

std::unique_ptr<ProcessResult> failure(const Ref<IError>& error) {
    return std::make_unique<ProcessResult>(kFailed, error ? messagesOf(error.get()) : Resources::getErrorCantRead(),
                                           std::string());
}

// Hands a local error on, or reports `message` where there is none.
void forward(IError** error, const Ref<IError>& local, const char* message) {
    if (local)
        ErrorFactory::throwStack(error, local.get());
    else
        ErrorFactory::throwError(error, IError::StageFile, IError::CodeInvalidContent, message);
}

// False when the marker may still be there.
bool unmark(const std::string& okPath, IFileAccessor* accessor) {
    // The accessor takes a relative path for one below its own folder.
    char resolved[PATH_MAX];
    const bool isRelative = !okPath.starts_with('/');
    if (isRelative && !accessor->resolvePath(nullptr, okPath.c_str(), resolved, sizeof resolved)) return false;
    return std::remove(isRelative ? resolved : okPath.c_str()) == 0 || errno == ENOENT;
}

}  // namespace

struct CacheProcessRunner::Entry {
    Entry(const std::string& cacheDir, const char* scriptName)
        : md5sum(cacheDir + md5(scriptName)), content(md5sum), lines(md5sum), ok(md5sum) {
        md5sum += "/md5sum";
        content += "/content";
        lines += "/lines";
        ok += "/ok";
    }

    std::string md5sum;
    std::string content;
    std::string lines;
    std::string ok;
};

CacheProcessRunner::CacheProcessRunner(IProcessRunner* inner_)
    : inner(inner_), innerRunning(false), cacheDir(getCacheDir()) {
    const boost::filesystem::path directory = boost::filesystem::path(cacheDir).parent_path();
    if (!directory.empty() && !boost::filesystem::exists(directory)) boost::filesystem::create_directories(directory);
}

CacheProcessRunner::~CacheProcessRunner() = default;

ProcessResult* CacheProcessRunner::runExternalCommand(const char* sourcePath, const char* scriptName) {
    if (!sourcePath || !scriptName) return new ProcessResult(kFailed, Resources::getErrorNULL(), "");

    const Ref<FileSystemAccessor> accessor(new FileSystemAccessor);
    Ref<IError> error;
    if (!accessor->init(cacheDir.c_str(), nullptr, error.out())) return failure(error).release();

    const Entry entry(cacheDir, scriptName);
    std::string digest;
    if (auto answer = answerFromEntry(entry, sourcePath, accessor.get(), digest)) return answer.release();
    if (digest.empty())
        return externalLoad(sourcePath, scriptName, accessor.get(), entry.md5sum, entry.content, entry.lines, entry.ok);
    return externalLoad(sourcePath, scriptName, accessor.get(), entry.md5sum, entry.content, entry.lines, entry.ok,
                        digest);
}

void CacheProcessRunner::cancel() {
    if (innerRunning) inner->cancel();
}

// What the entry gives: its translation, or a failure to read it. Null when it has to be made;
// `digest` is then that of the source, if it was needed.
std::unique_ptr<ProcessResult> CacheProcessRunner::answerFromEntry(const Entry& entry, const char* sourcePath,
                                                                   IFileAccessor* accessor, std::string& digest) {
    const CacheLock lock(cacheDir, CacheLock::Shared);
    if (!lock.held()) return nullptr;

    Ref<IError> error;
    for (const std::string* file : {&entry.md5sum, &entry.content, &entry.lines, &entry.ok}) {
        if (accessor->exists(file->c_str(), error.out())) continue;
        return error ? failure(error) : nullptr;
    }
    const std::string stored = loadFile(entry.md5sum, accessor, error.out());
    if (error || !calcMD5(sourcePath, accessor, digest, error.out())) return failure(error);
    if (stored != digest) return nullptr;

    std::string lines = loadFile(entry.lines, accessor, error.out());
    if (error) return failure(error);
    std::string content = loadFile(entry.content, accessor, error.out());
    if (error) return failure(error);
    return std::make_unique<ProcessResult>(0, std::move(lines), std::move(content));
}

ProcessResult* CacheProcessRunner::externalLoad(const std::string& sourcePath, const std::string& scriptName,
                                                IFileAccessor* accessor, const std::string& md5sumPath,
                                                const std::string& contentPath, const std::string& linesPath,
                                                const std::string& okPath) {
    std::string digest;
    Ref<IError> error;
    if (!calcMD5(sourcePath, accessor, digest, error.out())) return failure(error).release();
    return externalLoad(sourcePath, scriptName, accessor, md5sumPath, contentPath, linesPath, okPath, digest);
}

ProcessResult* CacheProcessRunner::externalLoad(const std::string& sourcePath, const std::string& scriptName,
                                                IFileAccessor* accessor, const std::string& md5sumPath,
                                                const std::string& contentPath, const std::string& linesPath,
                                                const std::string& okPath, const std::string& digest) {
    innerRunning = true;
    std::unique_ptr<ProcessResult> result(inner->runExternalCommand(sourcePath.c_str(), scriptName.c_str()));
    innerRunning = false;
    if (result && result->getCode() == 0 && result->isWhole())
        store(*result, accessor, md5sumPath, contentPath, linesPath, okPath, digest);
    return result.release();
}

bool CacheProcessRunner::store(const ProcessResult& result, IFileAccessor* accessor, const std::string& md5sumPath,
                               const std::string& contentPath, const std::string& linesPath, const std::string& okPath,
                               const std::string& digest) {
    const CacheLock lock(cacheDir, CacheLock::Exclusive);
    if (!lock.held()) return false;
    // Unmarked first: a rewrite that stops half-way must not leave an old text under a new digest.
    if (!unmark(okPath, accessor)) return false;
    return writeFile(md5sumPath, digest, accessor) && writeFile(linesPath, result.errText(), accessor) &&
           writeFile(contentPath, result.outText(), accessor) && writeFile(okPath, std::string(), accessor);
}

std::string CacheProcessRunner::loadFile(const std::string& path, IFileAccessor* accessor, IError** error) {
    Ref<IError> local;
    const Ref<IFile> file(
        accessor->open(path.c_str(), IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Binary, local.out()));
    if (!file) {
        forward(error, local, Resources::getErrorCantRead());
        return std::string();
    }
    const std::int64_t size = file->size(local.out());
    if (!local && size > kLargestText) {
        forward(error, local, (path + ": the file is too large").c_str());
        return std::string();
    }
    std::string text(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
    unsigned long done = 0;
    if (!local && file->read(text.data(), text.size(), done, local.out())) return text;
    forward(error, local, Resources::getErrorCantRead());
    return std::string();
}

bool CacheProcessRunner::writeFile(const std::string& path, const std::string& text, IFileAccessor* accessor) {
    Ref<IError> local;
    const Ref<IFile> file(
        accessor->open(path.c_str(), IFileAccessor::Create, IFileAccessor::Write, IFileAccessor::Binary, local.out()));
    if (!file) return false;
    file->write(text.data(), text.size(), local.out());
    return !local;
}

bool CacheProcessRunner::calcMD5(const std::string& path, IFileAccessor* accessor, std::string& digest,
                                 IError** error) {
    Ref<IError> local;
    std::string content = loadFile(path, accessor, local.out());
    if (!content.empty()) {
        digest = md5(std::move(content));
        return true;
    }
    forward(error, local, Resources::getErrorEmptyFile());
    return false;
}

}  // namespace vexil3::js
