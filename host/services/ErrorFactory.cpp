#include "host/services/Error.h"

namespace vexil3 {

namespace {

// Adds all entries of `source` to `target`, or none when memory runs out.
void append(Error& target, IError& source) {
    const std::uint64_t count = source.count();
    target.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i)
        if (IErrorEntry* entry = source.get(i)) target.adopt(entry);
}

// An error in the slot that takes entries. An error of another maker is replaced by one of ours
// with the same entries.
Error& growable(IError*& slot) {
    void* object = nullptr;
    if (slot && slot->to(Error::ID, &object)) return *static_cast<Error*>(object);
    Error* error = new Error;
    if (slot) {
        try {
            append(*error, *slot);
        } catch (...) {
            error->release();
            throw;
        }
        slot->release();
    }
    slot = error;
    return *error;
}

// An error that ran out of memory before it had an entry gives way to one that needs none.
void settle(IError*& slot) {
    if (slot && slot->count() > 0) return;
    if (slot) slot->release();
    slot = outOfMemoryError();
}

}  // namespace

void ErrorFactory::throwError(IError** error, IError::ErrorStage stage, IError::ErrorCode code, const char* message) {
    throwError(error, stage, code, message, nullptr, 0, 0);
}

void ErrorFactory::throwError(IError** error, IError::ErrorStage stage, IError::ErrorCode code, const char* message,
                              const char* file, int line) {
    throwError(error, stage, code, message, file, line, 0);
}

void ErrorFactory::throwError(IError** error, IError::ErrorStage stage, IError::ErrorCode code, const char* message,
                              const char* file, int line, int column) {
    if (!error || *error == outOfMemoryError()) return;
    IErrorEntry* entry = nullptr;
    try {
        entry = new ErrorEntry(stage, code, message, file, line, column);
        Error& target = growable(*error);
        target.reserve(1);
        target.adopt(entry);
    } catch (...) {
        if (entry) entry->release();
        settle(*error);
    }
}

void ErrorFactory::throwStack(IError** error, IError* source) {
    if (!error || !source || *error == outOfMemoryError() || source->count() == 0) return;
    // The slot may hold the last reference to `source` itself.
    source->addRef();
    try {
        append(growable(*error), *source);
    } catch (...) {
        settle(*error);
    }
    source->release();
}

}  // namespace vexil3
