// Owns a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace vexil3::js {

class Descriptor {
public:
    Descriptor() = default;
    // Takes `descriptor` over; a negative one is none.
    explicit Descriptor(int descriptor) noexcept : mDescriptor(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : mDescriptor(std::exchange(other.mDescriptor, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(mDescriptor, other.mDescriptor);
        return *this;
    }
    ~Descriptor() { close(); }

    explicit operator bool() const noexcept { return mDescriptor >= 0; }
    int get() const noexcept { return mDescriptor; }
    void close() noexcept {
        if (mDescriptor >= 0) ::close(std::exchange(mDescriptor, -1));
    }

private:
    int mDescriptor = -1;
};

}  // namespace vexil3::js
