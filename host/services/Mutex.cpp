#include <basekit3/mutex.h>

#include <mutex>

namespace basekit3 {

Mutex::Mutex() : mHandle(new std::recursive_mutex) {}

Mutex::~Mutex() { delete static_cast<std::recursive_mutex*>(mHandle); }

void Mutex::lock() { static_cast<std::recursive_mutex*>(mHandle)->lock(); }

void Mutex::unlock() { static_cast<std::recursive_mutex*>(mHandle)->unlock(); }

}  // namespace basekit3
