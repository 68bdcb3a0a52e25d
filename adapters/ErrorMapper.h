// Takes the error of one call into the Lua language and hands it on in JavaScript lines.
#pragma once

#include <vexil3/error.h>

#include "lines/FileLinesCache.h"

namespace vexil3::js {

// A temporary that is passed for an IError** and goes when the call it was passed to has returned:
// only if there was an error then, the caller's slot is written.
class VEXIL_API ErrorMapper {
public:
    // Gives the name under which an error's lines are looked up, the object ID of the reporting
    // object's profile; null while the host has not said. Asked only when there is an error.
    using NameOf = const char* (*)(void* object);

    ErrorMapper(IError** error, FileLinesCache* cache, NameOf nameOf, void* object) noexcept
        : mError(error), mCache(cache), mNameOf(nameOf), mObject(object) {}
    ErrorMapper(const ErrorMapper&) = delete;
    ErrorMapper& operator=(const ErrorMapper&) = delete;
    ~ErrorMapper() {
        if (mLocal) [[unlikely]]
            handOver();
    }

    operator IError**() && noexcept { return &mLocal; }

    // Adds the entries of `source`, which may be null, to `error`, with their lines mapped by `name`,
    // or as they are where that is null.
    static void pass(IError** error, IError* source, FileLinesCache* cache, const char* name) noexcept;

private:
    void handOver() noexcept;

    IError* mLocal = nullptr;
    IError** mError;
    FileLinesCache* mCache;
    NameOf mNameOf;
    void* mObject;
};

}  // namespace vexil3::js
