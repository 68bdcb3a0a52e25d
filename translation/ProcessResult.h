// What came of one translation.
#pragma once

#include <string>

#include <vexil3/guid.h>

namespace vexil3::js {

// code 0: `out` is the Lua text, `err` the line listing (a JavaScript line number for each Lua line,
// counted from 0, separated by "\n"). Any other code: `err` is what went wrong. The code of a
// translator that failed is its wait status; a failure of the module itself has code 1.
class VEXIL_API ProcessResult {
public:
    // Copies both texts; neither may be null.
    ProcessResult(int code, const char* err, const char* out);
    ProcessResult(int code, std::string&& err, std::string&& out, bool whole = true) noexcept;

    int getCode() const { return code; }
    // Valid while the result lives.
    const char* getErr() const { return err.c_str(); }
    const char* getOut() const { return out.c_str(); }

    // The whole texts, NUL bytes included.
    const std::string& errText() const { return err; }
    const std::string& outText() const { return out; }
    // False where a result that the translator was to write had gone: an answer, but none to keep.
    bool isWhole() const { return whole; }
    // Gives the output text away; the result's own is unspecified from then on.
    std::string takeOut() noexcept { return std::move(out); }

private:
    int code;
    std::string err;
    std::string out;
    bool whole;
};

}  // namespace vexil3::js
