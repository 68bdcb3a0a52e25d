// Files in memory. Every operation is recorded, and a chosen one fails.
#pragma once

#include <algorithm>
#include <cstring>
#include <map>
#include <string>

#include <vexil3/files.h>
#include <vexil3/identify.h>
#include <vexil3/ref.h>

#include "doubles/Journal.h"

namespace vexil3::test {

class MemoryAccessor : public TAddRefImpl<IFileAccessor> {
public:
    std::map<std::string, std::string> files;
    // The ids of files that are to have others than "id of NAME".
    std::map<std::string, std::string> ids;
    // What files give as their size, in place of their own.
    std::int64_t claimedSize = -1;
    // What one read gives at most.
    unsigned long mostAtOnce = ~0ul;
    Journal journal;
    // Counts down over the operations of accessor and files; the one that finds 0 fails, ...
    int callsUntilFailure = -1;
    // ... and reports as many errors, unless it does so silently.
    int reports = 1;
    bool silent = false;

    template <class... Arguments>
    bool passes(IError** error, const char* name, const Arguments&... arguments) {
        journal.add(name, arguments...);
        if (callsUntilFailure < 0 || callsUntilFailure-- > 0) return true;
        for (int i = 0; i < reports && !silent; ++i)
            ErrorFactory::throwError(error, IError::StageFile, IError::CodeCannotOpen, "broken");
        return false;
    }

    bool is(_GUID id) const override { return answers<IFileAccessor, IObject>(id); }
    bool to(_GUID id, void** object) const override { return answersTo<IFileAccessor, IObject>(id, this, object); }

    bool resolvePath(const char* base, const char* name, char* buffer, int size) override {
        return passes(nullptr, "resolvePath", base, name, static_cast<void*>(buffer), size);
    }
    bool location(const char* name, char* buffer, int size) override {
        return passes(nullptr, "location", name, static_cast<void*>(buffer), size);
    }
    IFileEnumerator* enumerator(bool recursive, IError** error) override {
        passes(error, "enumerator", recursive);
        return nullptr;
    }
    IFileEnumerator* enumerator(const char** patterns, bool recursive, IError** error) override {
        passes(error, "enumerator", patterns, recursive);
        return nullptr;
    }
    IFileEnumerator* enumerator(const char* folder, const char** patterns, bool recursive, IError** error) override {
        passes(error, "enumerator", folder, patterns, recursive);
        return nullptr;
    }
    bool exists(const char* name, IError** error) override {
        return passes(error, "exists", name) && files.count(name);
    }
    bool isSupported(const char* name, OpenMode openMode, AccessMode accessMode) override {
        return passes(nullptr, "isSupported", name, openMode, accessMode);
    }
    IFile* open(const char* name, OpenMode openMode, AccessMode accessMode, DataMode dataMode, IError** error) override;
};

class MemoryFile : public TAddRefImpl<IFile> {
public:
    MemoryFile(MemoryAccessor& accessor, const char* name)
        : mAccessor(Ref<MemoryAccessor>::share(&accessor)), mName(name), mId("id of " + mName) {
        if (accessor.ids.count(mName)) mId = accessor.ids[mName];
    }

    bool is(_GUID id) const override { return answers<IFile, IObject>(id); }
    bool to(_GUID id, void** object) const override { return answersTo<IFile, IObject>(id, this, object); }

    const char* id() override { return mId.c_str(); }
    bool seek(long, Position, IError** error) override { return mAccessor->passes(error, "seek"); }
    std::int64_t position(IError**) override { return 0; }
    std::int64_t size(IError** error) override {
        if (!mAccessor->passes(error, "size")) return 0;
        return mAccessor->claimedSize < 0 ? static_cast<std::int64_t>(text().size()) : mAccessor->claimedSize;
    }
    bool eof(IError**) override { return false; }
    bool read(void* buffer, unsigned long count, unsigned long& done, IError** error) override {
        if (!mAccessor->passes(error, "read", count)) return false;
        done = std::min({count, text().size(), mAccessor->mostAtOnce});
        if (done) std::memcpy(buffer, text().data(), done);
        return true;
    }
    bool readLine(char*, unsigned long, IError**) override { return false; }
    bool readLineUnicode(wchar_t*, unsigned long, IError**) override { return false; }
    bool readDouble(double&, IError**) override { return false; }
    bool setvbuf(BufferingMode, int, IError**) override { return true; }
    // Half of it is written when it fails.
    bool write(const void* buffer, unsigned long count, IError** error) override {
        const bool whole = mAccessor->passes(error, "write", count);
        text().assign(static_cast<const char*>(buffer), whole ? count : count / 2);
        return whole;
    }
    bool writeLine(const char*, IError**) override { return false; }
    bool writeLineUnicode(const wchar_t*, IError**) override { return false; }
    bool flush(IError**) override { return true; }

private:
    std::string& text() { return mAccessor->files[mName]; }

    Ref<MemoryAccessor> mAccessor;
    std::string mName;
    std::string mId;
};

inline IFile* MemoryAccessor::open(const char* name, OpenMode openMode, AccessMode accessMode, DataMode dataMode,
                                   IError** error) {
    if (!passes(error, "open", name, openMode, accessMode, dataMode)) return nullptr;
    if (openMode == Create) files[name].clear();
    if (!files.count(name)) {
        ErrorFactory::throwError(error, IError::StageFile, IError::CodeNotFound, "no such file");
        return nullptr;
    }
    return new MemoryFile(*this, name);
}

}  // namespace vexil3::test
