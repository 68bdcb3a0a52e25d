// Keeps exceptions inside a library of the platform.
#pragma once

#include <exception>
#include <new>

#include <vexil3/error.h>

namespace vexil3 {

// What `work` returns, or, when it throws, an error and the value-initialised result.
template <class Work>
auto guarded(IError** error, Work&& work) noexcept -> decltype(work()) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        ErrorFactory::throwError(error, IError::StageLanguage, IError::CodeInternal, "out of memory");
    } catch (const std::exception& e) {
        ErrorFactory::throwError(error, IError::StageLanguage, IError::CodeInternal, e.what());
    }
    return {};
}

}  // namespace vexil3
