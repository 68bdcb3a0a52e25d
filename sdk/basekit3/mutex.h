// A mutual exclusion.
#pragma once

namespace basekit3 {

// A thread that holds it may lock it again, and unlocks it as often. Usable with std::lock_guard.
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
