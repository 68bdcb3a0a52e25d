// An open file of the operating system.
#pragma once

#include <unistd.h>

#include <utility>

namespace vexil3 {

class Descriptor {
public:
    explicit Descriptor(int value) : mValue(value) {}
    Descriptor(Descriptor&& other) noexcept : mValue(std::exchange(other.mValue, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor() {
        if (mValue >= 0) ::close(mValue);
    }

    int get() const { return mValue; }
    explicit operator bool() const { return mValue >= 0; }

private:
    int mValue;
};

}  // namespace vexil3
