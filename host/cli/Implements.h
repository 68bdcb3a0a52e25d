// What the program's own objects share when they answer the platform's questions.
#pragma once

#include <memory>

#include <vexil3/object.h>

namespace vexil3::cli {

// An object of the interface Base that answers to the identifiers of `Interfaces`.
template <class Base, class... Interfaces>
class Implements : public Base {
public:
    bool is(_GUID id) const final { return ((id == Interfaces::ID) || ...); }
    bool to(_GUID id, void** object) const final {
        *object = is(id) ? const_cast<Base*>(static_cast<const Base*>(this)) : nullptr;
        return *object != nullptr;
    }
};

struct Release {
    void operator()(const IObject* object) const { object->release(); }
};

// Owns one reference.
template <class T>
using Counted = std::unique_ptr<T, Release>;

}  // namespace vexil3::cli
