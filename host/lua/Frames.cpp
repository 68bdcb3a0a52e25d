#include "host/lua/Frames.h"

#include <algorithm>
#include <lua.hpp>

namespace vexil3::lua {

namespace {

constexpr int kInnermost = 60;
constexpr int kOutermost = 12;

// Finding a level takes time in proportion to it, so that a deep stack is measured by halving.
int stackDepth(lua_State* L) {
    lua_Debug info;
    int below = 0, above = 1;
    while (lua_getstack(L, above, &info)) {
        below = above;
        above *= 2;
    }
    while (above - below > 1) {
        const int middle = below + (above - below) / 2;
        (lua_getstack(L, middle, &info) ? below : above) = middle;
    }
    return below + 1;
}

}  // namespace

int firstLine(const std::vector<Frame>& frames) {
    const auto first = std::find_if(frames.begin(), frames.end(), [](const Frame& frame) { return frame.line > 0; });
    return first == frames.end() ? 0 : first->line;
}

bool isChunkOf(const char* source, const std::string& id) { return source[0] == '@' && id == source + 1; }

std::vector<Frame> captureFrames(lua_State* L, const std::string& id, const char* entry) {
    std::vector<Frame> frames;
    const int depth = stackDepth(L);
    const bool tooDeep = depth > kInnermost + kOutermost;
    frames.reserve(std::min(depth, kInnermost + kOutermost + 2));
    bool innerIsScript = false;
    lua_Debug info;
    for (int level = 0; lua_getstack(L, level, &info); ++level) {
        lua_getinfo(L, "Sl", &info);
        const bool isScript = isChunkOf(info.source, id);
        // A library calls functions by names of its own, which say nothing to the script's author.
        if (innerIsScript && !isScript) frames.back().name.clear();
        if (isScript) {
            // Only now: where compiled code ran out of stack, LuaJIT does not know the place that the error handler
            // was called from, and looks for the handler's name far outside of the bytecode.
            lua_getinfo(L, "n", &info);
            const bool isMain = *info.what == 'm';
            // Nor does it know that place's line then.
            const int line = info.currentline > 0 ? info.currentline : std::max(info.linedefined, 1);
            frames.push_back({info.name && !isMain ? info.name : "", line, isMain, info.linedefined});
        }
        innerIsScript = isScript;
        if (tooDeep && level == kInnermost) {
            level = depth - kOutermost;
            innerIsScript = false;
            frames.emplace_back();
        }
    }
    if (!frames.empty() && !frames.back().isMain && frames.back().name.empty()) frames.back().name = entry;
    return frames;
}

}  // namespace vexil3::lua
