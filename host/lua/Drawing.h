// What a script draws on.
#pragma once

#include <vexil3/host.h>

#include <cstddef>

struct lua_State;

namespace vexil3::lua {

// A table with the methods line, rectangle and text, which reach the context of the draw in
// progress. [script thread]
class Drawing {
public:
    // Keeps a context for the life of this object.
    class Scope {
    public:
        Scope(Drawing& drawing, IOwnerDrawnContext* context) : mDrawing(drawing) {
            drawing.mContext = context;
            drawing.mRoom = kRoom;
        }
        ~Scope() { mDrawing.mContext = nullptr; }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        Drawing& mDrawing;
    };

    // Pushes the table. May raise a Lua error.
    void push(lua_State* L);

private:
    // What one draw may hold, in bytes: a context keeps it outside of the script's own memory.
    static constexpr std::size_t kRoom = 64UL << 20;

    IOwnerDrawnContext* context(lua_State* L, std::size_t textSize = 0);
    int line(lua_State* L);
    int rectangle(lua_State* L);
    int text(lua_State* L);

    IOwnerDrawnContext* mContext = nullptr;
    std::size_t mRoom = 0;
};

}  // namespace vexil3::lua
