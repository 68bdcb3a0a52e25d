// Keeps translations on disk.
//
// The cache directory is VEXIL_JS_CACHE, or "/vexil.js.cache" beside the running program. Below it,
// one folder a script, the entry, named by the MD5 digest of the script's name in hexadecimal:
//
//   md5sum    the digest of the JavaScript source, 32 hexadecimal characters and nothing else
//   lines     the line listing
//   content   the Lua text
//   ok        empty: the other three were written whole
//
// An entry counts when all four exist and md5sum is the digest of the source at hand. They are
// written in this order, after the ok of an earlier translation was removed, and only once the
// translation has succeeded. Nothing else is ever removed.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include <vexil3/files.h>

#include "translation/IProcessRunner.h"

namespace vexil3::js {

class VEXIL_API CacheProcessRunner : public IProcessRunner {
public:
    // Takes `inner` over. Creates the cache directory with its parents; throws what the file system
    // library throws when it cannot.
    explicit CacheProcessRunner(IProcessRunner* inner);
    ~CacheProcessRunner() override;

    // Answers from the entry while it counts, else runs `inner` and keeps what succeeded. Null
    // arguments, an empty source or files that cannot be read: a result with code 1.
    ProcessResult* runExternalCommand(const char* sourcePath, const char* scriptName) override;
    // Passed on to `inner` while that runs.
    void cancel() override;

    // Translates and keeps a success; the first computes the digest of the source itself. [owned]
    ProcessResult* externalLoad(const std::string& sourcePath, const std::string& scriptName, IFileAccessor* accessor,
                                const std::string& md5sumPath, const std::string& contentPath,
                                const std::string& linesPath, const std::string& okPath);
    ProcessResult* externalLoad(const std::string& sourcePath, const std::string& scriptName, IFileAccessor* accessor,
                                const std::string& md5sumPath, const std::string& contentPath,
                                const std::string& linesPath, const std::string& okPath, const std::string& digest);

    // The whole content; "" and an error when it cannot be read.
    std::string loadFile(const std::string& path, IFileAccessor* accessor, IError** error);
    // Replaces the whole content; false when something of it was not written.
    bool writeFile(const std::string& path, const std::string& text, IFileAccessor* accessor);
    // The digest of a file that is not empty; false and an error otherwise.
    bool calcMD5(const std::string& path, IFileAccessor* accessor, std::string& digest, IError** error);

private:
    struct Entry;

    std::unique_ptr<ProcessResult> answerFromEntry(const Entry& entry, const char* sourcePath, IFileAccessor* accessor,
                                                   std::string& digest);
    bool store(const ProcessResult& result, IFileAccessor* accessor, const std::string& md5sumPath,
               const std::string& contentPath, const std::string& linesPath, const std::string& okPath,
               const std::string& digest);

    std::unique_ptr<IProcessRunner> inner;
    std::atomic<bool> innerRunning;
    std::string cacheDir;  // ends with "/"
};

}  // namespace vexil3::js
