// A Lua state in which one script runs.
#pragma once

#include <vexil3/host.h>

#include <atomic>
#include <cstdint>
#include <lua.hpp>
#include <string>
#include <string_view>
#include <type_traits>

#include "host/lua/Environment.h"
#include "host/lua/Fault.h"
#include "host/lua/Memory.h"

namespace vexil3::lua {

// A Lua error ends its C function without running destructors, and outside of a protected call the
// process. So whatever can raise one happens in the work given to `run`, and what owns something
// stays outside of that work.
//
// [script thread]. Not reentrant: a call from within a call reports an error.
class ScriptState {
public:
    enum class Use {
        Survey,   // a quick look, with a bound on the work
        Run,      // compiled as it gets hot
        Killable  // interpreted, so that kill reaches every loop
    };

    // `id` names the script's chunk. Throws std::bad_alloc.
    ScriptState(Environment& environment, std::string id, Use use);
    ~ScriptState();
    ScriptState(const ScriptState&) = delete;
    ScriptState& operator=(const ScriptState&) = delete;

    static ScriptState& of(lua_State* L);

    // What a script that another thread can end is doing.
    enum class Phase { Idle, Busy, Ending };

    // From now on the script logs to `host` and runs for `object` under the environment's debugger; a
    // Macro ends, with an error, while `phase` is Ending. Each may be null.
    void attach(IHost* host, IObjectNoRef* object, const std::atomic<Phase>* phase = nullptr);
    void setHost(IHost* host) { mHost = host; }

    // Compiles text, and never bytecode, into the bytecode that runChunk takes.
    bool compile(std::string_view text, std::string& bytecode, IError** error);
    bool runChunk(const std::string& bytecode, IError** error);

    // Calls work(lua_State*) with an empty stack; false after a Lua error, which is reported. A
    // function that work calls last is known as `entry` in tracebacks.
    template <class Work>
    bool run(const char* entry, IError** error, Work&& work) {
        using Function = std::remove_reference_t<Work>;
        const Job job{[](lua_State* L, void* context) { (*static_cast<Function*>(context))(L); }, &work};
        return runJob(entry, error, job);
    }

    // Inside run: pushes the script's global function `name`; false, and nothing pushed, when there
    // is none.
    bool pushHandler(lua_State* L, const char* name);

    // Inside run: makes the value at the top the object that handlers get first. Pops it.
    void setObject(lua_State* L);
    void pushObject(lua_State* L) const { lua_rawgeti(L, LUA_REGISTRYINDEX, mObject); }

    // Calls the script's `update`, as it stood when another handler ran last, with the object and
    // two numbers. True when there is none.
    bool callUpdate(lua_Integer first, lua_Integer second, IError** error);
    // Inside run: looks `update` up anew.
    void refreshUpdate(lua_State* L);

    // Raises a Lua error when calls between C and Lua are nested so deep that the thread's stack
    // would not last.
    void checkNativeStack(lua_State* L) const;

    // False for an error that the host raised to stop the script: hooks rest until it is caught, so
    // that nothing could stop an error handler of the script's.
    bool mayHandle(const char* message) const;

    // Makes the value at the top describe errors that are raised; see Platform.h. Pops it.
    void setDescriber(lua_State* L);

    // The script's calls, valid until this is asked again. Throws std::bad_alloc.
    const std::vector<Frame>& captureFrames(lua_State* L);

    // Lets Lua stop at the next instruction, to look at what Memory reports. False while there is no
    // script to stop.
    bool interrupt();

    const std::string& id() const { return mId; }
    Environment& environment() const { return mEnvironment; }
    IHost* host() const { return mHost; }
    const char* entry() const { return mEntry; }
    lua_State* handle() const { return mState; }

private:
    struct Job {
        void (*function)(lua_State*, void*) = nullptr;
        void* context = nullptr;
    };
    class Running;
    enum Slot { Handler = 1, Trampoline = 2 };

    static int setUp(lua_State* L);
    static int onError(lua_State* L);
    static int trampoline(lua_State* L);
    static void onHook(lua_State* L, lua_Debug* event);

    void close(lua_State* L);
    bool runJob(const char* entry, IError** error, const Job& job);
    bool fail(IError** error);
    Fault takeFault();
    void describe(Fault& fault);
    static void describeValue(lua_State* L, Fault& fault);
    bool reportLine(lua_State* L, lua_Debug* event);
    const char* stopReason(lua_State* L, lua_Debug* event);
    void applyHook();

    Environment& mEnvironment;
    const std::string mId;
    const Use mUse;
    Memory mMemory;
    lua_State* mState = nullptr;
    IHost* mHost = nullptr;
    IObjectNoRef* mDebugged = nullptr;
    const std::atomic<Phase>* mPhase = nullptr;

    int mObject = LUA_NOREF, mUpdate = LUA_NOREF, mDescriber = LUA_NOREF;
    int mUpdateLine = 0;

    // Of the call in progress.
    const char* mEntry = nullptr;
    const char* mNativeStack = nullptr;
    Job mJob;
    int mEntryLine = 0;
    std::vector<Frame> mFrames;  // where an error was raised that ends the call
    std::vector<Frame> mAsked;
    const char* mStopped = nullptr;  // why nothing of the script may run on
    std::uint64_t mSteps = 0;
};

}  // namespace vexil3::lua
