#include "adapters/ErrorMapper.h"

#include <vexil3/ref.h>

#include "lines/ErrorLines.h"

namespace vexil3::js {

void ErrorMapper::pass(IError** error, IError* source, FileLinesCache* cache, const char* name) noexcept {
    if (name)
        updateErrorLines(error, source, cache, name);
    else if (source)
        ErrorFactory::throwStack(error, source);
}

void ErrorMapper::handOver() noexcept {
    const Ref<IError> local(mLocal);
    pass(mError, local.get(), mCache, mNameOf(mObject));
}

}  // namespace vexil3::js
