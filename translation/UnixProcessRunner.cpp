#include "translation/UnixProcessRunner.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <system_error>
#include <utility>

#include "language/Resources.h"
#include "translation/Descriptor.h"
#include "translation/ExecutableDir.h"
#include "translation/TemporaryFile.h"
#include "translation/TextLimit.h"
#include "translation/TranslatorProcess.h"

namespace vexil3::js {

namespace {

constexpr int kRefused = 1;
constexpr int kResultNameLength = 10;

std::string classPath() {
    static constexpr const char* jars[] = {"antlr-3.5.2-complete-no-st3.jar",
                                           "scrivel.jar",
                                           "serializer.jar",
                                           "xalan.jar",
                                           "xercesImpl.jar",
                                           "xml-apis.jar",
                                           "scrivelbin.jar"};
    const char* variable = std::getenv("VEXIL_CLASSPATH");
    const std::string prefix = variable ? std::string(variable) : getExecutableDir() + "/scrivel/";
    std::string path;
    for (const char* jar : jars) path += (path.empty() ? "" : ":") + prefix + jar;
    return path;
}

// `what` could not be had, for the system's reason.
std::unique_ptr<ProcessResult> systemFailure(const std::string& what, int errorNumber) {
    return std::make_unique<ProcessResult>(kRefused, what + ": " + std::generic_category().message(errorNumber),
                                           std::string());
}

// Adds the file's bytes to `text`. 0, or the errno that kept them from being read whole: ENOENT where
// no file is, or something that nobody was to put there.
int readWhole(const std::string& path, std::string& text) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file) return errno == ELOOP ? ENOENT : errno;
    struct stat facts;
    if (fstat(file.get(), &facts) != 0) return errno;
    if (!S_ISREG(facts.st_mode)) return ENOENT;
    if (facts.st_size > kLargestText) return EFBIG;
    text.resize(static_cast<std::size_t>(facts.st_size));
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = read(file.get(), text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    text.resize(done);
    return 0;
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    if (from.empty() || text.find(from) == std::string::npos) return;
    std::string replaced;
    std::size_t start = 0;
    for (std::size_t at; (at = text.find(from, start)) != std::string::npos; start = at + from.size())
        replaced.append(text, start, at - start).append(to);
    text = replaced.append(text, start);
}

// A line listing holds numbers only; an error text says something.
bool isListing(const std::string& text) { return text.find_first_not_of("0123456789\r\n") == std::string::npos; }

}  // namespace

UnixProcessRunner::UnixProcessRunner() : busy(false) {}

ProcessResult* UnixProcessRunner::runExternalCommand(const char* sourcePath_, const char* scriptName_) {
    if (busy.exchange(true)) return new ProcessResult(kRefused, Resources::getErrorIsBusy(), "");
    sourcePath = sourcePath_;
    scriptName = scriptName_;
    command = "java -cp " + classPath() + " com.morrow.scrivel.Program " + sourcePath;
    return readFromPipe().release();
}

void UnixProcessRunner::cancel() { busy = false; }

std::unique_ptr<ProcessResult> UnixProcessRunner::readFromPipe() {
    std::srand(static_cast<unsigned int>(std::time(nullptr)));
    const std::string directory = getCacheDir();
    const TemporaryFile outFile(directory, kResultNameLength, "");
    if (outFile.error()) return systemFailure(directory, outFile.error());
    const TemporaryFile errFile(directory, kResultNameLength, "");
    if (errFile.error()) return systemFailure(directory, errFile.error());

    TranslatorProcess process(command + " " + outFile.path() + " " + errFile.path());
    if (const int reason = process.startError()) return systemFailure("/bin/sh", reason);
    const std::optional<int> status = process.wait();

    std::string out, err;
    bool whole = true;
    for (const auto& [file, text] : {std::pair(&outFile, &out), std::pair(&errFile, &err)}) {
        const int reason = readWhole(file->path(), *text);
        // A translation that is there but cannot be had must not pass for an empty one. Where the translator failed,
        // what it said counts.
        if (reason && reason != ENOENT && !(status && *status != 0)) return systemFailure(file->path(), reason);
        whole = whole && !reason;
    }
    // Where the status is lost, the files tell: only a translation leaves a text and its listing.
    const int code = status ? *status : out.empty() || err.empty() || !isListing(err);
    if (code != 0) replaceAll(err, sourcePath, scriptName);
    return std::make_unique<ProcessResult>(code, std::move(err), std::move(out), whole);
}

}  // namespace vexil3::js
