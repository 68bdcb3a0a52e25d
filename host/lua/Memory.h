// The memory of one Lua state, counted and bounded.
#pragma once

#include <cstddef>
#include <cstdint>

struct lua_State;

namespace vexil3::lua {

class ScriptState;

// An allocator for Lua. When a state first goes over its limit, the allocation is still granted (up
// to as much again) and the state is interrupted, so that the garbage can go or, where there is
// none, the script fails at a line: Lua itself would report such a failure without one.
class Memory {
public:
    explicit Memory(ScriptState& owner) : mOwner(owner) {}
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    // The lua_Alloc of a state whose user data is a Memory.
    static void* reallocate(void* memory, void* block, std::size_t oldSize, std::size_t newSize);

    ScriptState& owner() const { return mOwner; }

    // Without a limit, until this is called: LuaJIT does not survive a failure while it makes a state.
    void setLimit(std::size_t bytes) { mLimit = bytes; }

    // Over the limit and not yet dealt with.
    bool isTight() const { return mTight; }
    // Collects the garbage; true when that made room. [inside a hook]
    bool makeRoom(lua_State* L);

private:
    ScriptState& mOwner;
    std::size_t mLimit = SIZE_MAX;
    std::size_t mUsed = 0;
    bool mTight = false;
};

}  // namespace vexil3::lua
