// Takes the error of one call into the Lua language and hands it on in JavaScript lines.
#pragma once

#include <vexil3/error.h>
#include <vexil3/ref.h>

#include "lines/ErrorLines.h"

namespace vexil3::js {

// The name under which an error's lines are looked up: the object ID of the reporting object's
// profile, asked of the host only when there is an error. Null: the host has not said yet.
template <class NameOf>
class ErrorMapper {
public:
    ErrorMapper(IError** error, FileLinesCache* cache, NameOf nameOf) noexcept
        : mError(error), mCache(cache), mNameOf(nameOf) {}
    ErrorMapper(const ErrorMapper&) = delete;
    ErrorMapper& operator=(const ErrorMapper&) = delete;

    // A temporary that is passed for an IError** goes when the call it was passed to has returned;
    // the caller's slot is written then, and only if there was an error.
    ~ErrorMapper() {
        if (mLocal) [[unlikely]]
            handOver();
    }

    operator IError**() && noexcept { return &mLocal; }

private:
    void handOver() {
        const Ref<IError> local(mLocal);
        if (const char* name = mNameOf())
            updateErrorLines(mError, local.get(), mCache, name);
        else
            ErrorFactory::throwStack(mError, local.get());
    }

    IError* mLocal = nullptr;
    IError** mError;
    FileLinesCache* mCache;
    NameOf mNameOf;
};

}  // namespace vexil3::js
