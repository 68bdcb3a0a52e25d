#include "files/JsFileAccessor.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <system_error>

#include <vexil3/identify.h>
#include <vexil3/strings.h>

#include "files/JsFile.h"
#include "files/LineListing.h"
#include "files/split.h"
#include "language/Resources.h"
#include "translation/ProcessRunnerFactory.h"
#include "translation/TemporaryFile.h"
#include "translation/TextLimit.h"

namespace vexil3::js {

constinit const _GUID JsFileAccessor::ID = {
    0xB5564FC1, 0x7A44, 0x4615, {0xA9, 0x39, 0x22, 0x9A, 0x47, 0x04, 0x43, 0xAE}};

basekit3::Mutex JsFileAccessor::mMutex;

namespace {

constexpr int kSourceNameLength = 16;
// More than anybody reads, and little enough to hold as errors.
constexpr int kMostRows = 100000;

void reportTranslation(IError** error, const char* message) {
    ErrorFactory::throwError(error, IError::StageTranslation, IError::CodeInvalidContent, message);
}

void reportTemporary(IError** error, const char* path, const char* reason) {
    ErrorFactory::throwError(error, IError::StageFile, IError::CodeCannotOpen, Resources::getErrorCantOpen(path));
    ErrorFactory::throwError(error, IError::StageFile, IError::CodeCannotOpen, reason);
}

// The whole text of a file; nothing, with what the file reported passed on, when it cannot be read.
std::optional<std::string> readScript(IFile* file, const char* name, IError** error) {
    Ref<IError> local;
    const std::int64_t size = file->size(local.out());
    if (local) {
        ErrorFactory::throwStack(error, local.get());
        return std::nullopt;
    }
    if (size > kLargestText) {
        ErrorFactory::throwError(error, IError::StageFile, IError::CodeInvalidContent, "The file is too large", name,
                                 0);
        return std::nullopt;
    }
    std::string text(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
    unsigned long done = 0;
    if (!file->read(text.empty() ? nullptr : text.data(), text.size(), done, local.out())) {
        if (local) ErrorFactory::throwStack(error, local.get());
        return std::nullopt;
    }
    text.resize(std::min<std::size_t>(text.size(), done));
    return text;
}

std::string_view firstRows(std::string_view text, int count) {
    std::size_t end = 0;
    for (; count > 0 && end < text.size(); --count) end = std::min(text.find('\n', end), text.size() - 1) + 1;
    return text.substr(0, end);
}

// One error a line: "source(LINE,...): MESSAGE" with its line, any other with its own text.
void reportFailures(std::string_view text, const char* name, IError** error) {
    static constexpr std::string_view marker = "source(";
    const std::string_view rows = firstRows(text, kMostRows);
    for (const std::string& piece : split(std::string(rows), '\n')) {
        if (!piece.starts_with(marker)) {
            reportTranslation(error, piece.c_str());
            continue;
        }
        const std::string number = piece.substr(marker.size(), piece.find(',') - marker.size());
        const int line = static_cast<int>(std::strtol(number.c_str(), nullptr, 10));
        const std::size_t colon = piece.find(": ");
        const char* message = piece.c_str() + (colon == std::string::npos ? 0 : colon + 2);
        ErrorFactory::throwError(error, IError::StageTranslation, IError::CodeInvalidContent, message, name, line);
    }
    if (rows.size() < text.size()) reportTranslation(error, "More errors are left out");
}

// Has the translation service translate `script`, which is handed over in a temporary file.
std::unique_ptr<ProcessResult> runTranslation(const std::string& script, const char* name, IError** error) {
    const char* directory = std::getenv("VEXIL_TEMP_DIR");
    std::optional<TemporaryFile> source;
    try {
        source.emplace(std::string(directory ? directory : "/tmp") + "/", kSourceNameLength, ".lua");
    } catch (const std::exception& failure) {
        reportTemporary(error, "", failure.what());
        return nullptr;
    }
    // A place where no file can be made shows as a source that the service cannot read. A name that
    // belongs to somebody else must not be read at all.
    if (source->error() == EEXIST) {
        reportTemporary(error, source->path().c_str(), std::generic_category().message(EEXIST).c_str());
        return nullptr;
    }
    if (!source->error()) source->write(script);
    const std::unique_ptr<IProcessRunner> runner(ProcessRunnerFactory::create());
    return std::unique_ptr<ProcessResult>(runner->runExternalCommand(source->path().c_str(), name));
}

}  // namespace

std::string genRandomString() { return gen_random_string(kSourceNameLength); }

JsFileAccessor::JsFileAccessor(IFileAccessor* inner_) : inner(Ref<IFileAccessor>::share(inner_)) {}

bool JsFileAccessor::is(_GUID id) const { return answers<JsFileAccessor, IFileAccessor, IObject>(id); }

bool JsFileAccessor::to(_GUID id, void** object) const {
    return answersTo<JsFileAccessor, IFileAccessor, IObject>(id, this, object);
}

bool JsFileAccessor::resolvePath(const char* base, const char* name, char* buffer, int size) {
    return inner->resolvePath(base, name, buffer, size);
}

bool JsFileAccessor::location(const char* name, char* buffer, int size) { return inner->location(name, buffer, size); }

IFileEnumerator* JsFileAccessor::enumerator(bool recursive, IError** error) {
    return inner->enumerator(recursive, error);
}

IFileEnumerator* JsFileAccessor::enumerator(const char** patterns, bool recursive, IError** error) {
    return inner->enumerator(patterns, recursive, error);
}

IFileEnumerator* JsFileAccessor::enumerator(const char* folder, const char** patterns, bool recursive, IError** error) {
    return inner->enumerator(folder, patterns, recursive, error);
}

bool JsFileAccessor::exists(const char* name, IError** error) { return inner->exists(name, error); }

bool JsFileAccessor::isSupported(const char* name, OpenMode openMode, AccessMode accessMode) {
    return inner->isSupported(name, openMode, accessMode);
}

IFile* JsFileAccessor::open(const char* name, OpenMode openMode, AccessMode accessMode, DataMode dataMode,
                            IError** error) {
    if (!name) {
        ErrorFactory::throwError(error, IError::StageArgument, IError::CodeNullObject, Resources::getErrorNULL());
        return nullptr;
    }
    const std::lock_guard lock(mMutex);
    try {
        return translate(name, openMode, accessMode, dataMode, error).detach();
    } catch (const std::exception& failure) {
        reportTranslation(error, failure.what());
    } catch (...) {
        reportTranslation(error, "Unknown failure");
    }
    return nullptr;
}

Ref<IFile> JsFileAccessor::translate(const char* name, OpenMode openMode, AccessMode accessMode, DataMode dataMode,
                                     IError** error) {
    Ref<IFile> script(inner->open(name, openMode, accessMode, dataMode, error));
    if (!script || !StringUtil::like(kScripts, name)) return script;

    std::optional<std::string> text = readScript(script.get(), name, error);
    if (!text) return Ref<IFile>();
    const std::unique_ptr<ProcessResult> result = runTranslation(*text, name, error);
    text.reset();
    if (!result) return Ref<IFile>();
    if (result->getCode() != 0) {
        reportFailures(result->getErr(), name, error);
        return Ref<IFile>();
    }
    std::vector<int> lines = parseLineListing(result->getErr());
    return Ref<IFile>(new JsFile(script->id(), result->takeOut(), std::move(lines), openMode, accessMode, dataMode));
}

}  // namespace vexil3::js
