// The two roots of the interface tree and the reference count.
//
// Words used in every contract of these headers:
//   [any thread]      may be called from several threads at once
//   [script thread]   one call at a time for one script object, on any thread
//   [owned]           the caller receives a reference (or the object) and must release it
//   [borrowed]        valid as told, never released by the receiver
//   IError**          the last parameter of an operation that can fail: null, or the address of a
//                     slot that holds null or an error; entries are added to it on failure, and
//                     what the operation returns then is false, null or 0
#pragma once

#include <atomic>
#include <cstdint>

#include <vexil3/diagnostics.h>
#include <vexil3/guid.h>

namespace vexil3 {

// An object without a count: one holder owns it, everybody else borrows it.
class VEXIL_API IObjectNoRef {
public:
    static const _GUID ID;

    virtual ~IObjectNoRef() = default;

    // True when the object implements what `id` names. [any thread]
    virtual bool is(_GUID id) const = 0;
    // Stores the object seen as `id` and returns true; else stores null and returns false. Adds no
    // reference. [any thread]
    virtual bool to(_GUID id, void** object) const = 0;

    // Destroys the object. Only its owner may call it.
    void releaseIfNeeded();
};

// A counted object. It starts with one reference, which belongs to whoever made it.
class VEXIL_API IObject {
public:
    static const _GUID ID;

    virtual ~IObject() = default;

    // As in IObjectNoRef. [any thread]
    virtual bool is(_GUID id) const = 0;
    virtual bool to(_GUID id, void** object) const = 0;

    // [any thread]
    virtual void addRef() const = 0;
    // Drops a reference; the last one destroys the object. True while the object lives on.
    // [any thread]
    virtual bool release() const = 0;
};

// Counts the references of an implementation of the interface T and, while diagnostics are on,
// reports the object's life under T's identifier.
template <class T>
class TAddRefImpl : public T {
public:
    TAddRefImpl(const TAddRefImpl&) = delete;
    TAddRefImpl& operator=(const TAddRefImpl&) = delete;

    void addRef() const override { mCount.fetch_add(1, std::memory_order_relaxed); }

    bool release() const override {
        if (mCount.fetch_sub(1, std::memory_order_acq_rel) > 1) return true;
        delete this;
        return false;
    }

protected:
    TAddRefImpl() {
        mCount.store(1, std::memory_order_seq_cst);
        if (MemoryDiagnostic::gEnabled) MemoryDiagnostic::registerObject(this, T::ID);
    }

    ~TAddRefImpl() override {
        if (MemoryDiagnostic::gEnabled) MemoryDiagnostic::releaseObject(this);
    }

private:
    mutable std::atomic<std::int64_t> mCount;
};

}  // namespace vexil3
