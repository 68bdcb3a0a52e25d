// How an object answers `is` and `to`.
#pragma once

#include <vexil3/guid.h>

namespace vexil3 {

// True when `id` is the ID of one of the classes, tried in order.
template <class... Classes>
bool answers(_GUID id) noexcept {
    return ((id == Classes::ID) || ...);
}

// The body of `to` for an object whose interfaces all start at its own address.
template <class... Classes>
bool answersTo(_GUID id, const void* self, void** object) noexcept {
    const bool known = answers<Classes...>(id);
    *object = known ? const_cast<void*>(self) : nullptr;
    return known;
}

}  // namespace vexil3
