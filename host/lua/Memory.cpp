#include "host/lua/Memory.h"

#include "host/lua/ScriptState.h"

namespace vexil3::lua {

namespace {

constexpr int kUsualPace = 200;  // Lua's own choice for the collector
constexpr std::size_t kMiB = 1 << 20;

// A refusal in compiled code ends the process in LuaJIT. So a state that is interrupted is refused only what a turn of
// a compiled loop does not take: there, tables double, and what is made besides is small.
constexpr std::size_t kLargeBlock = kMiB;
constexpr std::size_t kInLargeBlocks = 4096 * kMiB;
constexpr std::size_t kInSmallBlocks = 64 * kMiB;

}  // namespace

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
    if (newSize > oldSize && used / 2 > self.mLimit && !self.mayOverdraw(newSize, newSize - oldSize)) return nullptr;
    void* const result = self.mAllocate(self.mArena, block, oldSize, newSize);
    if (!result && newSize) return nullptr;
    self.mUsed = used;
    if (used > self.mLimit && newSize > oldSize && !self.mTight) {
        self.mTight = true;  // so that the owner sees it
        self.mTight = self.mOwner.interrupt();
    }
    return result;
}

bool Memory::mayOverdraw(std::size_t block, std::size_t bytes) {
    const bool isLarge = block >= kLargeBlock;
    std::size_t& overdrawn = isLarge ? mOverdrawnLarge : mOverdrawnSmall;
    if (bytes > (isLarge ? kInLargeBlocks : kInSmallBlocks) - overdrawn) return false;
    overdrawn += bytes;
    return true;
}

bool Memory::makeRoom(lua_State* L) {
    lua_gc(L, LUA_GCCOLLECT, 0);
    lua_gc(L, LUA_GCSETSTEPMUL, kUsualPace);
    mTight = false;
    mOverdrawnLarge = mOverdrawnSmall = 0;
    // Little room would soon be used up again, at the price of another full collection.
    return mUsed <= mLimit - mLimit / 8;
}

}  // namespace vexil3::lua
