// A script's view of the bars of a chart.
#pragma once

#include <vexil3/host.h>

#include <array>

struct lua_State;

namespace vexil3::lua {

// A table with the fields `instrument` and `length`, the method size, and the columns open, high, low,
// close, volume and time. A column is a table of numbers from index 0 with the same `length` and size;
// it is filled when the script first reads it and follows the stream from then on. [script thread]
class Prices {
public:
    // Starts over with a stream, or with none.
    void attach(IPriceStream* stream);

    // Bars that the stream has; 0 without one.
    unsigned long size() const { return mStream ? mStream->size() : 0; }
    // True when the table shows exactly `visible` bars.
    bool shows(unsigned long visible) const { return mSize == visible; }

    // Pushes the table with the first `visible` bars; nil without a stream. May raise a Lua error.
    void push(lua_State* L, unsigned long visible);
    // Shows the first `visible` bars; the one that was last so far, and those from `changed` on, anew.
    // May raise a Lua error.
    void synchronize(lua_State* L, unsigned long visible, unsigned long changed);

private:
    static constexpr int kColumns = 6;

    int findColumn(lua_State* L);
    void fill(lua_State* L, int column, unsigned long first);

    IPriceStream* mStream = nullptr;
    unsigned long mSize = 0;
    int mTable = 0;
    int mColumnMeta = 0;
    std::array<int, kColumns> mColumnTables{};  // references; 0: not read yet
};

}  // namespace vexil3::lua
