// Owning pointers to counted objects.
#pragma once

#include <utility>

namespace vexil3 {

// Owns one reference to a T, or none.
template <class T>
class Ref {
public:
    Ref() = default;
    // Adopts the reference that comes with `object`.
    explicit Ref(T* object) noexcept : mObject(object) {}
    Ref(Ref&& other) noexcept : mObject(other.detach()) {}
    Ref& operator=(Ref&& other) noexcept {
        Ref(std::move(other)).swap(*this);
        return *this;
    }
    ~Ref() {
        if (mObject) mObject->release();
    }

    // Adds a reference of its own to `object`, which may be null.
    static Ref share(T* object) noexcept {
        if (object) object->addRef();
        return Ref(object);
    }

    T* get() const noexcept { return mObject; }
    T* operator->() const noexcept { return mObject; }
    explicit operator bool() const noexcept { return mObject != nullptr; }

    // The address of an empty slot, for an out-parameter that hands over a reference.
    T** out() noexcept {
        Ref().swap(*this);
        return &mObject;
    }
    // Gives the reference away.
    T* detach() noexcept { return std::exchange(mObject, nullptr); }
    void swap(Ref& other) noexcept { std::swap(mObject, other.mObject); }

private:
    T* mObject = nullptr;
};

}  // namespace vexil3
