// The output streams of an indicator.
#pragma once

#include <vexil3/indicator.h>

#include <memory>
#include <vector>

struct lua_State;

namespace vexil3::lua {

class ScriptState;

// A stream is a table of numbers from index 0 with a `length` and the method size, which belongs to
// the script; the host reads it when it wants to. [script thread]
class Streams {
public:
    Streams();
    ~Streams();

    // Forgets the streams of an earlier state.
    void attach(ScriptState* state, IIndicatorInstanceCallback* callback);

    // From now on the host reads nothing but NaN.
    void end();

    // addStream(id, label): announces a stream of `size` bars and pushes it. May raise a Lua error.
    int add(lua_State* L, unsigned long size);
    // The streams take values for `size` bars. May raise a Lua error.
    void synchronize(lua_State* L, unsigned long size);

private:
    class Values;

    void pushMetatable(lua_State* L);

    ScriptState* mState = nullptr;
    IIndicatorInstanceCallback* mCallback = nullptr;
    int mMetatable = 0;
    // Never shorter while the state lives: the host may hold on to any of them.
    std::vector<std::unique_ptr<Values>> mValues;
};

}  // namespace vexil3::lua
