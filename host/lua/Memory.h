// The memory of one Lua state, counted and bounded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <lua.hpp>

namespace vexil3::lua {

class ScriptState;

// Stands before a state's own allocator, which is quicker than the C library's. When a state first goes over its limit,
// the allocation is still granted and the state is interrupted, so that the garbage can go or, where there is none,
// the script fails at a line: Lua itself would report such a failure without one. A state that does not see the
// interruption is refused more than as much again, and some.
class Memory {
public:
    explicit Memory(ScriptState& owner) : mOwner(owner) {}
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    // Counts all that the state has and will have, without a limit until one is set. The state must be
    // released before it is closed.
    void attach(lua_State* L);
    void release(lua_State* L) { lua_setallocf(L, mAllocate, mArena); }

    // The owner of the Memory that is attached to a state.
    static ScriptState& ownerOf(lua_State* L);

    void setLimit(std::size_t bytes) { mLimit = bytes; }

    // Over the limit and not yet dealt with.
    bool isTight() const { return mTight; }
    // Collects the garbage; true when that made room. [inside a hook]
    bool makeRoom(lua_State* L);

private:
    // True when a state that has as much again may have `bytes` more, for a block of that size in all.
    bool mayOverdraw(std::size_t block, std::size_t bytes);
    static void* reallocate(void* memory, void* block, std::size_t oldSize, std::size_t newSize);

    ScriptState& mOwner;
    lua_Alloc mAllocate = nullptr;
    void* mArena = nullptr;
    std::size_t mLimit = SIZE_MAX;
    std::size_t mUsed = 0;
    std::size_t mOverdrawnLarge = 0, mOverdrawnSmall = 0;
    bool mTight = false;
};

}  // namespace vexil3::lua
