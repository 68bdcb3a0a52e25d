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

bool isChunkOf(const char* source, const std::string& id) { return source[0] == '@' && id == source + 1; }

bool frameInfo(lua_State* L, int level, lua_Debug& info) {
    return lua_getstack(L, level, &info) && lua_getinfo(L, "Sln", &info);
}

std::vector<Frame> captureFrames(lua_State* L, const std::string& id, const char* entry) {
    std::vector<Frame> frames;
    const int depth = stackDepth(L);
    const bool tooDeep = depth > kInnermost + kOutermost;
    frames.reserve(std::min(depth, kInnermost + kOutermost + 2));
    bool innerIsScript = false;
    lua_Debug info;
    for (int level = 0; frameInfo(L, level, info); ++level) {
        const bool isScript = isChunkOf(info.source, id);
        // A library calls functions by names of its own, which say nothing to the script's author.
        if (innerIsScript && !isScript) frames.back().name.clear();
        if (isScript) {
            const bool isMain = *info.what == 'm';
            frames.push_back({info.name && !isMain ? info.name : "", info.currentline, isMain, info.linedefined});
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
