// Keeps exceptions inside the module.
#pragma once

#include <vexil3/error.h>

#include <exception>
#include <new>

namespace vexil3::lua {

// What `work` returns or, when it throws, an error and false, null or 0.
template <class Work>
auto guarded(IError** error, Work&& work) noexcept -> decltype(work()) {
    const auto report = [error](const char* text) {
        ErrorFactory::throwError(error, IError::StageLanguage, IError::CodeInternal, text);
    };
    try {
        return work();
    } catch (const std::bad_alloc&) {
        report("not enough memory");
    } catch (const std::exception& e) {
        report(e.what());
    } catch (...) {
        report("the host failed");
    }
    return {};
}

}  // namespace vexil3::lua
