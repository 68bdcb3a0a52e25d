#include <basekit3/mutex.h>

#include <mutex>

namespace basekit3 {

Mutex::Mutex() : mHandle(new std::mutex) {}

Mutex::~Mutex() { delete static_cast<std::mutex*>(mHandle); }

void Mutex::lock() { static_cast<std::mutex*>(mHandle)->lock(); }

void Mutex::unlock() { static_cast<std::mutex*>(mHandle)->unlock(); }

}  // namespace basekit3
