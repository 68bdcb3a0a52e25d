#include "host/lua/Memory.h"

#include "host/lua/ScriptState.h"

namespace vexil3::lua {

namespace {
constexpr int kUsualPace = 200;  // Lua's own choice for the collector
}

void Memory::attach(lua_State* L) {
    mUsed = static_cast<std::size_t>(lua_gc(L, LUA_GCCOUNT, 0)) * 1024 +
            static_cast<std::size_t>(lua_gc(L, LUA_GCCOUNTB, 0));
    mAllocate = lua_getallocf(L, &mArena);
    lua_setallocf(L, &reallocate, this);
}

ScriptState& Memory::ownerOf(lua_State* L) {
    void* memory = nullptr;
    lua_getallocf(L, &memory);
    return static_cast<Memory*>(memory)->mOwner;
}

void* Memory::reallocate(void* memory, void* block, std::size_t oldSize, std::size_t newSize) {
    Memory& self = *static_cast<Memory*>(memory);
    const std::size_t used = self.mUsed - oldSize + newSize;
    if (newSize > oldSize && used / 2 > self.mLimit) return nullptr;
    void* const result = self.mAllocate(self.mArena, block, oldSize, newSize);
    if (!result && newSize) return nullptr;
    self.mUsed = used;
    if (used > self.mLimit && newSize > oldSize && !self.mTight) self.mTight = self.mOwner.interrupt();
    return result;
}

bool Memory::makeRoom(lua_State* L) {
    lua_gc(L, LUA_GCCOLLECT, 0);
    lua_gc(L, LUA_GCSETSTEPMUL, kUsualPace);
    mTight = false;
    // Little room would soon be used up again, at the price of another full collection.
    return mUsed <= mLimit - mLimit / 8;
}

}  // namespace vexil3::lua
