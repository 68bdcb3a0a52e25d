// A mutual exclusion.
#pragma once

namespace basekit3 {

// Not recursive. Usable with std::lock_guard.
class __attribute__((visibility("default"))) Mutex {
public:
    Mutex();
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    // [any thread]
    void lock();
    void unlock();

private:
    void* mHandle;
};

}  // namespace basekit3
