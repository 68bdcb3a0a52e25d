#include "translation/ProcessResult.h"

#include <utility>

namespace vexil3::js {

ProcessResult::ProcessResult(int code_, const char* err_, const char* out_)
    : code(code_), err(err_), out(out_), whole(true) {}

ProcessResult::ProcessResult(int code_, std::string&& err_, std::string&& out_, bool whole_) noexcept
    : code(code_), err(std::move(err_)), out(std::move(out_)), whole(whole_) {}

}  // namespace vexil3::js
