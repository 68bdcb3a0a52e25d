#include "host/lua/Memory.h"

#include <cstdlib>
#include <lua.hpp>

#include "host/lua/ScriptState.h"

namespace vexil3::lua {

namespace {
constexpr int kUsualPace = 200;  // Lua's own choice for the collector
}

void* Memory::reallocate(void* memory, void* block, std::size_t oldSize, std::size_t newSize) {
    Memory& self = *static_cast<Memory*>(memory);
    if (newSize == 0) {
        std::free(block);
        self.mUsed -= oldSize;
        return nullptr;
    }
    const std::size_t used = self.mUsed - oldSize + newSize;
    if (newSize > oldSize && used / 2 > self.mLimit) return nullptr;
    void* result = std::realloc(block, newSize);
    if (!result) return nullptr;
    self.mUsed = used;
    if (used > self.mLimit && !self.mTight) self.mTight = self.mOwner.interrupt();
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
