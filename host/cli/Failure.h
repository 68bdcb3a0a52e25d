// How a command ends early.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include <vexil3/error.h>

#include "host/cli/Implements.h"

namespace vexil3::cli {

enum ExitCode { Success = 0, FaultInScript = 1, WrongCall = 2 };

// A wrong call, or a machine that lacks something: a sentence for the person.
class Failure : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A slot for the last parameter of an operation of the platform.
class ErrorSlot {
public:
    ErrorSlot() = default;
    ErrorSlot(const ErrorSlot&) = delete;
    ErrorSlot& operator=(const ErrorSlot&) = delete;
    ~ErrorSlot() {
        if (mError) mError->release();
    }

    operator IError**() { return &mError; }
    bool filled() const { return mError != nullptr; }
    Counted<IError> take() { return Counted<IError>(std::exchange(mError, nullptr)); }

private:
    IError* mError = nullptr;
};

// An operation on a script failed. `error` may be null: it failed without saying why.
struct ScriptFault {
    Counted<IError> error;
    std::string doing;
};

// Throws a ScriptFault unless `succeeded` and the slot is empty. `doing` says what was tried.
inline void expect(bool succeeded, ErrorSlot& slot, const char* doing) {
    if (!succeeded || slot.filled()) throw ScriptFault{slot.take(), doing};
}

}  // namespace vexil3::cli
