#include "host/cli/Output.h"

#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <string>

#include "host/cli/Failure.h"
#include "host/cli/Numbers.h"

namespace vexil3::cli {

namespace {

constexpr unsigned long kSize = 1 << 16;

}  // namespace

Output::Output(int descriptor)
    : mDescriptor(descriptor), mTerminal(::isatty(descriptor) == 1), mBuffer(new char[kSize]) {}

void Output::text(std::string_view text) {
    while (!text.empty()) {
        const std::string_view part = text.substr(0, kSize);
        std::memcpy(room(part.size()), part.data(), part.size());
        mUsed += part.size();
        text.remove_prefix(part.size());
    }
}

void Output::character(char c) {
    *room(1) = c;
    ++mUsed;
}

void Output::padded(std::string_view value, int width, bool right) {
    // Continuation bytes of UTF-8 take no column.
    int columns = 0;
    for (const char c : value) columns += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    if (!right) text(value);
    for (int i = columns; i < width; ++i) character(' ');
    if (right) text(value);
}

void Output::number(double value) {
    if (!std::isnan(value)) took(writeShortest(room(kNumberRoom), value));
}

void Output::time(double seconds) { took(writeTime(room(kNumberRoom), seconds)); }

void Output::flush() {
    const char* from = mBuffer.get();
    while (mUsed) {
        const ssize_t written = ::write(mDescriptor, from, mUsed);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) {
            if (!mLost) mLost = errno;
            mUsed = 0;
            return;
        }
        from += written;
        mUsed -= static_cast<unsigned long>(written);
    }
}

void Output::finish() {
    flush();
    if (mLost) throw Failure(std::string("cannot write the output: ") + std::strerror(mLost));
}

char* Output::room(unsigned long size) {
    if (kSize - mUsed < size) flush();
    return mBuffer.get() + mUsed;
}

}  // namespace vexil3::cli
