#include "host/lua/ScriptState.h"

#include <cstring>
#include <exception>
#include <new>
#include <utility>

#include "host/lua/DebugEvent.h"
#include "host/lua/Sandbox.h"
#include "host/lua/Values.h"

namespace vexil3::lua {

namespace {

constexpr const char kNoMemory[] = "not enough memory";  // in Lua's words
constexpr int kHookInterval = 1000;                      // instructions between two looks at the world
constexpr std::uint64_t kSurveySteps = 50'000;           // of them, for a quick look
constexpr int kHurry = 0;                                // the collector's steps when memory is short: all at once
constexpr std::size_t kNativeStack = 512UL * 1024;       // bytes of nested calls between C and Lua

int appendBytes(lua_State*, const void* bytes, std::size_t size, void* text) {
    return !append(static_cast<const char*>(bytes), size, *static_cast<std::string*>(text));
}

}  // namespace

// Marks a call in progress.
class ScriptState::Running {
public:
    Running(ScriptState& state, const char* entry) : mState(state) {
        state.mEntry = entry;
        state.mNativeStack = static_cast<const char*>(__builtin_frame_address(0));
    }
    ~Running() {
        lua_settop(mState.mState, Trampoline);
        mState.mEntry = nullptr;
        // A call that a C function of the script's caught the stop for ends as well.
        if (!std::exchange(mState.mStopped, nullptr)) return;
        mState.mSteps = 0;
        mState.applyHook();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

private:
    ScriptState& mState;
};

ScriptState::ScriptState(Environment& environment, std::string id, Use use)
    : mEnvironment(environment), mId(std::move(id)), mUse(use), mMemory(*this) {
    lua_State* L = luaL_newstate();
    if (!L) throw std::bad_alloc();
    mMemory.attach(L);
    if (lua_cpcall(L, &setUp, this) != 0) {
        close(L);
        throw std::bad_alloc();
    }
    lua_rawgeti(L, LUA_REGISTRYINDEX, Handler);
    lua_rawgeti(L, LUA_REGISTRYINDEX, Trampoline);
    mState = L;
    mMemory.setLimit(environment.memoryLimit);
    applyHook();
}

ScriptState::~ScriptState() { close(mState); }

void ScriptState::close(lua_State* L) {
    mMemory.release(L);
    lua_close(L);
}

ScriptState& ScriptState::of(lua_State* L) { return Memory::ownerOf(L); }

int ScriptState::setUp(lua_State* L) {
    ScriptState& self = *static_cast<ScriptState*>(lua_touserdata(L, 1));
    lua_pushcfunction(L, &onError);
    lua_rawseti(L, LUA_REGISTRYINDEX, Handler);
    lua_pushcfunction(L, &trampoline);
    lua_rawseti(L, LUA_REGISTRYINDEX, Trampoline);
    openSandbox(L);
    for (int* reference : {&self.mObject, &self.mUpdate, &self.mDescriber}) {
        lua_pushboolean(L, 0);
        *reference = luaL_ref(L, LUA_REGISTRYINDEX);
    }
    if (self.mUse != Use::Run) luaJIT_setmode(L, 0, LUAJIT_MODE_ENGINE | LUAJIT_MODE_OFF);
    return 0;
}

void ScriptState::attach(IHost* host, IObjectNoRef* object, const std::atomic<Phase>* phase) {
    mHost = host;
    mPhase = phase;
    mDebugged = mEnvironment.debugger ? object : nullptr;
    // A compiled trace would run past the hook.
    if (mDebugged) luaJIT_setmode(mState, 0, LUAJIT_MODE_ENGINE | LUAJIT_MODE_OFF);
    applyHook();
}

bool ScriptState::compile(std::string_view text, std::string& bytecode, IError** error) {
    std::string name = '@' + mId, message;
    bool isValid = false;
    const bool done = run("main chunk", error, [&](lua_State* L) {
        const int status = luaL_loadbufferx(L, text.data(), text.size(), name.c_str(), "t");
        if (status == LUA_ERRMEM) lua_error(L);
        isValid = status == 0;
        if (isValid && lua_dump(L, &appendBytes, &bytecode) != 0) luaL_error(L, "%s", kNoMemory);
        if (!isValid) copyText(L, -1, message);
    });
    if (done && !isValid) reportSyntax(message, mId, error);
    return done && isValid;
}

bool ScriptState::runChunk(const std::string& bytecode, IError** error) {
    return run("main chunk", error, [&](lua_State* L) {
        mEntryLine = 1;
        if (luaL_loadbufferx(L, bytecode.data(), bytecode.size(), "", "b") != 0) lua_error(L);
        lua_call(L, 0, 0);
        refreshUpdate(L);
    });
}

bool ScriptState::pushHandler(lua_State* L, const char* name) {
    lua_pushstring(L, name);
    lua_rawget(L, LUA_GLOBALSINDEX);
    if (lua_isfunction(L, -1)) {
        lua_Debug info;
        lua_pushvalue(L, -1);
        lua_getinfo(L, ">S", &info);
        mEntryLine = info.linedefined;
        return true;
    }
    lua_pop(L, 1);
    return false;
}

void ScriptState::setObject(lua_State* L) { lua_rawseti(L, LUA_REGISTRYINDEX, mObject); }

void ScriptState::setDescriber(lua_State* L) { lua_rawseti(L, LUA_REGISTRYINDEX, mDescriber); }

void ScriptState::refreshUpdate(lua_State* L) {
    const int entryLine = mEntryLine;
    if (!pushHandler(L, "update")) lua_pushboolean(L, 0);
    lua_rawseti(L, LUA_REGISTRYINDEX, mUpdate);
    mUpdateLine = std::exchange(mEntryLine, entryLine);
}

bool ScriptState::callUpdate(lua_Integer first, lua_Integer second, IError** error) {
    if (mEntry) return runJob("update", error, Job{});
    const Running running(*this, "update");
    lua_State* L = mState;
    lua_rawgeti(L, LUA_REGISTRYINDEX, mUpdate);
    if (!lua_toboolean(L, -1)) {
        lua_pop(L, 1);
        return true;
    }
    mEntryLine = mUpdateLine;
    lua_rawgeti(L, LUA_REGISTRYINDEX, mObject);
    lua_pushinteger(L, first);
    lua_pushinteger(L, second);
    return lua_pcall(L, 3, 0, Handler) == 0 || fail(error);
}

bool ScriptState::runJob(const char* entry, IError** error, const Job& job) {
    if (mEntry) {
        const std::string text = std::string(entry) + ": the script is still busy with " + mEntry;
        ErrorFactory::throwError(error, IError::StageScript, IError::CodeNotSupported, text.c_str(), mId.c_str(), 0);
        return false;
    }
    const Running running(*this, entry);
    mJob = job;
    mEntryLine = 0;
    lua_pushvalue(mState, Trampoline);
    return lua_pcall(mState, 0, 0, Handler) == 0 || fail(error);
}

int ScriptState::trampoline(lua_State* L) {
    const Job job = of(L).mJob;
    job.function(L, job.context);
    return 0;
}

// Sees an error where it is raised. The value is described later, on a stack that is free again.
int ScriptState::onError(lua_State* L) {
    ScriptState& self = of(L);
    try {
        self.mFrames = lua::captureFrames(L, self.mId, self.mEntry);
    } catch (const std::exception&) {
        self.mFrames.clear();
    }
    return 1;
}

const std::vector<Frame>& ScriptState::captureFrames(lua_State* L) {
    return mAsked = lua::captureFrames(L, mId, mEntry ? mEntry : "");
}

bool ScriptState::fail(IError** error) {
    const Fault fault = takeFault();
    fault.report(mId, error);
    return false;
}

Fault ScriptState::takeFault() {
    Fault fault;
    fault.frames = std::exchange(mFrames, {});
    if (mStopped)
        fault.text = mStopped;
    else
        describe(fault);
    if (fault.frames.empty()) fault.frames.push_back({mEntry, mEntryLine, false});
    if (fault.line == 0) fault.line = firstLine(fault.frames);
    return fault;
}

// What is known without running code comes first: describing a value may fail as well.
void ScriptState::describe(Fault& fault) {
    lua_State* L = mState;
    if (lua_type(L, -1) == LUA_TSTRING) {
        const std::string_view text(lua_tostring(L, -1), lua_objlen(L, -1));
        Position position = findPosition(text, mId);
        fault.line = position.line;
        const std::string_view library = text.substr(0, text.find(':'));
        if (position.length == 0 && mEnvironment.libraries.find(library)) position = findPosition(text, library);
        fault.text = text.substr(position.length);
    } else {
        fault.text = "an error without a text";
    }
    mJob = {[](lua_State* inner, void* context) { describeValue(inner, *static_cast<Fault*>(context)); }, &fault};
    lua_pushvalue(L, Trampoline);
    lua_insert(L, -2);
    lua_pcall(L, 1, 0, 0);
}

// Asks the describer about the value at 1, or the value itself.
void ScriptState::describeValue(lua_State* L, Fault& fault) {
    lua_rawgeti(L, LUA_REGISTRYINDEX, of(L).mDescriber);
    if (lua_isfunction(L, -1)) {
        lua_pushvalue(L, 1);
        pushFrames(L, fault.frames);
        if (lua_pcall(L, 2, 2, 0) == 0 && lua_type(L, -2) == LUA_TSTRING) {
            copyText(L, -2, fault.text);
            if (lua_istable(L, -1)) readFrames(L, fault.frames);
            if (!fault.frames.empty() && (lua_istable(L, -1) || fault.line == 0)) fault.line = firstLine(fault.frames);
            return;
        }
    }
    if (lua_type(L, 1) == LUA_TSTRING) return;
    pushText(L, 1);
    copyText(L, -1, fault.text);
}

bool ScriptState::interrupt() {
    if (!mState) return false;
    applyHook();
    // A compiled loop sees no hook before it leaves its trace, and leaves it when the collector needs to.
    lua_gc(mState, LUA_GCSETSTEPMUL, kHurry);
    lua_gc(mState, LUA_GCRESTART, 0);
    return true;
}

void ScriptState::applyHook() {
    int mask = 0, count = 0;
    if (mDebugged) mask |= LUA_MASKLINE;
    if (mUse != Use::Run) count = kHookInterval;
    // A script that catches the error must not get far.
    if (mStopped || mMemory.isTight()) count = 1;
    if (count > 0) mask |= LUA_MASKCOUNT;
    lua_sethook(mState, mask ? &onHook : nullptr, mask, count);
}

void ScriptState::onHook(lua_State* L, lua_Debug* event) {
    const char* reason = of(L).stopReason(L, event);
    if (!reason) return;
    lua_pushstring(L, reason);
    lua_error(L);
}

const char* ScriptState::stopReason(lua_State* L, lua_Debug* event) {
    if (mStopped) return mStopped;
    if (event->event == LUA_HOOKLINE) {
        if (!reportLine(L, event)) mStopped = "stopped by the debugger";
    } else {
        if (mMemory.isTight()) {
            const bool hasRoom = mMemory.makeRoom(L);
            applyHook();
            if (!hasRoom) return kNoMemory;
        }
        if (mPhase && *mPhase == Phase::Ending) mStopped = "stopped";
        if (mUse == Use::Survey && ++mSteps > kSurveySteps) mStopped = "the script takes too long to load";
    }
    if (mStopped) applyHook();
    return mStopped;
}

bool ScriptState::reportLine(lua_State* L, lua_Debug* event) {
    IDebugger* const debugger = mEnvironment.debugger;
    lua_getinfo(L, "S", event);
    if (!debugger || event->source[0] != '@') return true;
    try {
        DebugEvent callback(*this, L);
        return debugger->lineExecuting(mDebugged, &callback, event->source, event->currentline) != 0;
    } catch (...) {
        return false;
    }
}

bool ScriptState::mayHandle(const char* message) const {
    return !mStopped && (!message || std::strcmp(message, kNoMemory) != 0);
}

void ScriptState::checkNativeStack(lua_State* L) const {
    const char* const here = static_cast<const char*>(__builtin_frame_address(0));
    if (mNativeStack && mNativeStack > here + kNativeStack) luaL_error(L, "stack overflow");
}

}  // namespace vexil3::lua
