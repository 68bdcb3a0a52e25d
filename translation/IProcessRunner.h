// The translation service as its callers see it.
#pragma once

#include "translation/ProcessResult.h"

namespace vexil3::js {

// Used by one thread at a time, but for cancel.
class VEXIL_API IProcessRunner {
public:
    virtual ~IProcessRunner() = default;

    // Translates the JavaScript in the file `sourcePath` and blocks until that is done. `scriptName`
    // is the name under which the host asked for the script. Failures are in the result, which is
    // never null. [owned: delete it]
    virtual ProcessResult* runExternalCommand(const char* sourcePath, const char* scriptName) = 0;

    // Lets a runner that was used run again. Stops nothing. [any thread]
    virtual void cancel() = 0;
};

}  // namespace vexil3::js
