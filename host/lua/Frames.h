// The calls that a script is in.
#pragma once

#include <string>
#include <vector>

struct lua_State;

namespace vexil3::lua {

struct Frame {
    std::string name;  // empty: unknown
    int line = 0;      // 0: the frames between its neighbours are left out
    bool isMain = false;
    int defined = 0;  // the line where the function begins
};

// The frames of the chunk `id` on the stack of L, innermost first; of a very deep stack its two ends,
// with a frame of line 0 between them.
// The outermost one goes by `entry`, since Lua knows no name for what the host calls. Never raises;
// throws std::bad_alloc.
std::vector<Frame> captureFrames(lua_State* L, const std::string& id, const char* entry);

// The line of the innermost frame that has one; 0 without.
int firstLine(const std::vector<Frame>& frames);

// True when `source`, as Lua gives it, is a chunk from the file `id`.
bool isChunkOf(const char* source, const std::string& id);

}  // namespace vexil3::lua
