// Files as scripts and languages see them.
#pragma once

#include <cstdint>

#include <vexil3/error.h>

namespace vexil3 {

// An open file. [script thread]
class VEXIL_API IFile : public IObject {
public:
    static const _GUID ID;

    enum Position { FromBegin = 0, FromEnd = 1, FromCurrent = 2 };
    enum BufferingMode { Full = 0, Line = 1, None = 2 };

    // What names the file towards people and debuggers; valid while the file lives.
    virtual const char* id() = 0;

    virtual bool seek(long offset, Position origin, IError** error) = 0;
    // Bytes from the start, and bytes in all.
    virtual std::int64_t position(IError** error) = 0;
    virtual std::int64_t size(IError** error) = 0;
    virtual bool eof(IError** error) = 0;

    // Up to `count` bytes; `done` tells how many. At the end: true, and 0 bytes.
    virtual bool read(void* buffer, unsigned long count, unsigned long& done, IError** error) = 0;
    // One line with its line feed, at most size - 1 elements, terminated by a zero.
    virtual bool readLine(char* buffer, unsigned long size, IError** error) = 0;
    virtual bool readLineUnicode(wchar_t* buffer, unsigned long size, IError** error) = 0;
    virtual bool readDouble(double& value, IError** error) = 0;

    virtual bool setvbuf(BufferingMode mode, int size, IError** error) = 0;

    virtual bool write(const void* buffer, unsigned long count, IError** error) = 0;
    virtual bool writeLine(const char* text, IError** error) = 0;
    virtual bool writeLineUnicode(const wchar_t* text, IError** error) = 0;
    virtual bool flush(IError** error) = 0;
};

// A walk over names. [script thread]
class VEXIL_API IFileEnumerator : public IObject {
public:
    static const _GUID ID;

    // The next name, valid until the following call; null after the last.
    virtual const char* next() = 0;
};

// Where files come from.
class VEXIL_API IFileAccessor : public IObject {
public:
    static const _GUID ID;

    enum OpenMode { Create = 0, Open = 1 };
    enum AccessMode { Read = 0, Write = 1 };
    enum DataMode { Text = 0, Unicode = 1, Binary = 2 };

    // Writes the full path of `name` as seen from `base` (null: the root) into the buffer of `size`
    // bytes, terminated. False when it does not fit.
    virtual bool resolvePath(const char* base, const char* name, char* buffer, int size) = 0;
    // Writes the folder in which `name` lies, in the same way.
    virtual bool location(const char* name, char* buffer, int size) = 0;

    // The files of the root, or of `folder`, that match one of the null-terminated list of
    // `patterns` (null: all), with those of folders below if `recursive`. [owned]
    virtual IFileEnumerator* enumerator(bool recursive, IError** error) = 0;
    virtual IFileEnumerator* enumerator(const char** patterns, bool recursive, IError** error) = 0;
    virtual IFileEnumerator* enumerator(const char* folder, const char** patterns, bool recursive, IError** error) = 0;

    virtual bool exists(const char* name, IError** error) = 0;
    virtual bool isSupported(const char* name, OpenMode openMode, AccessMode accessMode) = 0;

    // Open, Read: an existing file. Create, Write: an empty file, missing folders included. [owned]
    virtual IFile* open(const char* name, OpenMode openMode, AccessMode accessMode, DataMode dataMode,
                        IError** error) = 0;
};

// Facts about files that a host keeps elsewhere.
class VEXIL_API IMetadataProvider : public IObjectNoRef {
public:
    static const _GUID ID;

    // The value of `key` for the file `name`, valid until the next call; null when there is none.
    virtual const char* find(const char* name, const char* key) = 0;
};

}  // namespace vexil3
