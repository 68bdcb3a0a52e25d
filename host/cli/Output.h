// Buffered output to one of the standard streams.
#pragma once

#include <memory>
#include <string_view>

namespace vexil3::cli {

class Output {
public:
    explicit Output(int descriptor);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    // Drops what was not flushed: a command that fails shows no half of a result.
    ~Output() = default;

    // A stream that takes no more (a full disk) loses what comes; finish tells.
    void text(std::string_view text);
    void character(char c);
    void padded(std::string_view text, int width, bool right);
    // The shortest exact text; nothing for not-a-number.
    void number(double value);
    void time(double seconds);
    void flush();
    // Flushes. Throws Failure when anything was lost.
    void finish();

    bool isTerminal() const { return mTerminal; }

private:
    // Room for `size` more bytes.
    char* room(unsigned long size);
    void took(const char* end) { mUsed = static_cast<unsigned long>(end - mBuffer.get()); }

    const int mDescriptor;
    const bool mTerminal;
    const std::unique_ptr<char[]> mBuffer;
    unsigned long mUsed = 0;
    int mLost = 0;  // the first errno of a write
};

}  // namespace vexil3::cli
