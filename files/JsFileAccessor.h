// The file accessor that the Lua language reads scripts through.
#pragma once

#include <string>

#include <basekit3/mutex.h>
#include <vexil3/files.h>
#include <vexil3/ref.h>

namespace vexil3::js {

// The names of JavaScript scripts, for StringUtil::like.
inline constexpr char kScripts[] = "*.jsl";

// 16 random characters of 0-9A-Za-z.
std::string genRandomString();

// Passes everything on to the accessor that it wraps, but opens a script ("*.jsl") as its
// translation. [any thread]
class VEXIL_API JsFileAccessor : public TAddRefImpl<IFileAccessor> {
public:
    static const _GUID ID;

    // Adds a reference of its own to `inner`, which must not be null.
    explicit JsFileAccessor(IFileAccessor* inner);

    bool is(_GUID id) const override;
    bool to(_GUID id, void** object) const override;

    bool resolvePath(const char* base, const char* name, char* buffer, int size) override;
    bool location(const char* name, char* buffer, int size) override;
    IFileEnumerator* enumerator(bool recursive, IError** error) override;
    IFileEnumerator* enumerator(const char** patterns, bool recursive, IError** error) override;
    IFileEnumerator* enumerator(const char* folder, const char** patterns, bool recursive, IError** error) override;
    bool exists(const char* name, IError** error) override;
    bool isSupported(const char* name, OpenMode openMode, AccessMode accessMode) override;

    // The wrapped accessor's file, or for a script a JsFile with that file's id. One open runs at a
    // time in the process, for as long as its translation takes. Null with what the wrapped accessor
    // reported, or with an error for each line that the translator did; null without an error where
    // the one to blame reported none.
    IFile* open(const char* name, OpenMode openMode, AccessMode accessMode, DataMode dataMode, IError** error) override;

private:
    Ref<IFile> translate(const char* name, OpenMode openMode, AccessMode accessMode, DataMode dataMode, IError** error);

    Ref<IFileAccessor> inner;

    static basekit3::Mutex mMutex;
};

}  // namespace vexil3::js
