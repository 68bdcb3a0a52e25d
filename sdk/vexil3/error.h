// Errors: a stack of entries behind an IError** slot.
#pragma once

#include <cstdint>

#include <vexil3/object.h>

namespace vexil3 {

class IErrorEntry;

// [script thread]
class VEXIL_API IError : public IObject {
public:
    static const _GUID ID;

    // Where a fault arose.
    enum ErrorStage {
        StageArgument = 1,     // the caller's arguments
        StageFile = 2,         // reading and writing
        StageTranslation = 3,  // a script's source
        StageScript = 4,       // a running script
        StageLanguage = 1000   // the language module itself
    };

    enum ErrorCode {
        CodeNullObject = 5,
        CodeNotSupported = 8,
        CodeCannotOpen = 9,
        CodeInvalidContent = 23,
        CodeNotFound = 24,
        CodeScriptFault = 100,
        CodeInternal = 10000
    };

    virtual std::uint64_t count() = 0;
    // The entry at `index` < count(). [owned]
    virtual IErrorEntry* get(std::uint64_t index) = 0;
};

// One fault. Texts may be null; they live as long as the entry. A line or column of 0 is unknown.
class VEXIL_API IErrorEntry : public IObject {
public:
    static const _GUID ID;

    virtual IError::ErrorStage stage() = 0;
    virtual IError::ErrorCode code() = 0;
    virtual const char* message() = 0;
    virtual const char* file() = 0;
    virtual int line() = 0;
    virtual int column() = 0;
};

// The one place where errors are made. Each throwError adds one entry: a null slot address takes
// nothing, an empty slot receives a new error [owned], a filled one is appended to. Texts are
// copied; null texts stay null.
class VEXIL_API ErrorFactory {
public:
    static void throwError(IError** error, IError::ErrorStage stage, IError::ErrorCode code, const char* message);
    static void throwError(IError** error, IError::ErrorStage stage, IError::ErrorCode code, const char* message,
                           const char* file, int line);
    static void throwError(IError** error, IError::ErrorStage stage, IError::ErrorCode code, const char* message,
                           const char* file, int line, int column);
    // Adds all entries of `source`, which stays the caller's; null adds nothing.
    static void throwStack(IError** error, IError* source);
};

}  // namespace vexil3
