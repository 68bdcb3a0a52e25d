#include <atomic>
#include <mutex>
#include <new>
#include <unordered_set>

#include <vexil3/diagnostics.h>

namespace vexil3 {

std::int32_t MemoryDiagnostic::gEnabled = 0;

namespace {

struct Ledger {
    std::atomic<std::uint64_t> registered{0};
    std::atomic<std::uint64_t> released{0};
    std::mutex mutex;
    std::unordered_set<const void*> alive;
};

Ledger& ledger() {
    // In static storage for good: objects may still go while the process ends.
    alignas(Ledger) static unsigned char storage[sizeof(Ledger)];
    static Ledger* const instance = new (storage) Ledger;
    return *instance;
}

}  // namespace

void MemoryDiagnostic::registerObject(const void* object, _GUID) {
    Ledger& book = ledger();
    book.registered.fetch_add(1, std::memory_order_relaxed);
    const std::lock_guard lock(book.mutex);
    try {
        book.alive.insert(object);
    } catch (const std::bad_alloc&) {
        // Diagnostics must not fail the object; it is counted all the same.
    }
}

void MemoryDiagnostic::releaseObject(const void* object) {
    Ledger& book = ledger();
    book.released.fetch_add(1, std::memory_order_relaxed);
    const std::lock_guard lock(book.mutex);
    book.alive.erase(object);
}

std::uint64_t MemoryDiagnostic::registered() { return ledger().registered.load(std::memory_order_relaxed); }

std::uint64_t MemoryDiagnostic::released() { return ledger().released.load(std::memory_order_relaxed); }

std::uint64_t MemoryDiagnostic::alive() {
    Ledger& book = ledger();
    const std::lock_guard lock(book.mutex);
    return book.alive.size();
}

void MemoryDiagnostic::reset() {
    Ledger& book = ledger();
    const std::lock_guard lock(book.mutex);
    book.registered = 0;
    book.released = 0;
}

}  // namespace vexil3
