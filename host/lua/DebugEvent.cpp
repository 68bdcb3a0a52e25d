#include "host/lua/DebugEvent.h"

#include <vexil3/identify.h>

#include <algorithm>
#include <exception>
#include <lua.hpp>

#include "host/lua/Frames.h"
#include "host/lua/ScriptState.h"
#include "host/lua/Values.h"

namespace vexil3::lua {

namespace {

constexpr std::size_t kMaxVariables = 180;  // a Lua function can have 200
constexpr const char kWatchChunk[] = "=watch";

void fault(const std::string& text, IError** error) {
    ErrorFactory::throwError(error, IError::StageScript, IError::CodeScriptFault, text.c_str());
}

void assign(IString* target, const std::string& text) {
    if (target) target->assign(text.c_str());
}

// Runs `work` and keeps its exception inside.
template <class Work>
bool safely(Work&& work) {
    try {
        return work();
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

bool DebugEvent::is(_GUID id) const { return answers<IDebuggerCallback, IObjectNoRef>(id); }

bool DebugEvent::to(_GUID id, void** object) const {
    return answersTo<IDebuggerCallback, IObjectNoRef>(id, static_cast<const IDebuggerCallback*>(this), object);
}

// Inner variables come last, so that they hide outer ones of the same name.
std::vector<DebugEvent::Variable> DebugEvent::visible() const {
    std::vector<Variable> found;
    const auto add = [&found](const char* name, int index, bool isUpvalue) {
        // Lua's own variables have names like "(for index)".
        if (*name == '(' || *name == '\0') return;
        std::erase_if(found, [name](const Variable& other) { return other.name == name; });
        found.push_back({name, index, isUpvalue});
    };
    lua_Debug info;
    if (!lua_getstack(mState, 0, &info)) return found;
    lua_getinfo(mState, "f", &info);
    const int function = lua_gettop(mState);
    const char* name = nullptr;
    for (int i = 1; (name = lua_getupvalue(mState, function, i)); lua_pop(mState, 1), ++i) add(name, i, true);
    lua_pop(mState, 1);
    for (int i = 1; (name = lua_getlocal(mState, &info, i)); lua_pop(mState, 1), ++i) add(name, i, false);
    if (found.size() > kMaxVariables) found.erase(found.begin(), found.end() - kMaxVariables);
    return found;
}

// The line's function is one level above the C function that calls this.
void DebugEvent::pushVariables(lua_State* L, const std::vector<Variable>& variables) {
    lua_Debug info;
    if (!lua_getstack(L, 1, &info)) luaL_error(L, "the script stands nowhere");
    lua_getinfo(L, "f", &info);
    const int function = lua_gettop(L);
    luaL_checkstack(L, static_cast<int>(variables.size()) + 4, "too many variables");
    for (const Variable& variable : variables) {
        const char* const name =
            variable.isUpvalue ? lua_getupvalue(L, function, variable.index) : lua_getlocal(L, &info, variable.index);
        if (!name) lua_pushnil(L);
    }
    lua_remove(L, function);
}

int DebugEvent::evaluate(lua_State* L) {
    Watch& watch = *static_cast<Watch*>(lua_touserdata(L, 1));
    watch.isValid = luaL_loadbufferx(L, watch.text.data(), watch.text.size(), kWatchChunk, "t") == 0;
    if (!watch.isValid) return lua_error(L);
    pushVariables(L, watch.variables);
    lua_call(L, static_cast<int>(watch.variables.size()), 1);
    lua_pushstring(L, luaL_typename(L, -1));
    copyText(L, -1, watch.type);
    pushText(L, lua_gettop(L) - 1);
    copyText(L, -1, watch.value);
    return 0;
}

// False, with the message in watch.value, when the code failed.
bool DebugEvent::tryWatch(Watch& watch, const std::string& code) {
    watch.text.clear();
    for (const Variable& variable : watch.variables)
        watch.text += (watch.text.empty() ? "local " : ",") + variable.name;
    if (!watch.text.empty()) watch.text += "=...;";
    watch.text += code;
    if (lua_cpcall(mState, &evaluate, &watch) == 0) return true;
    watch.value = lua_type(mState, -1) == LUA_TSTRING ? lua_tostring(mState, -1) : "the expression failed";
    lua_pop(mState, 1);
    watch.value.erase(0, findPosition(watch.value, kWatchChunk + 1).length);
    return false;
}

bool DebugEvent::calculateWatch(const char* expression, IString* value, IString* type, IError** error) {
    if (!expression) return false;
    return safely([&] {
        Watch watch;
        watch.variables = visible();
        // What is no expression may be a statement.
        bool done = tryWatch(watch, std::string("return ") + expression);
        if (!done && !watch.isValid) {
            const std::string message = watch.value;
            done = tryWatch(watch, expression);
            if (!done && !watch.isValid) watch.value = message;
        }
        if (!done) {
            fault(watch.value, error);
            return false;
        }
        assign(value, watch.value);
        assign(type, watch.type);
        return true;
    });
}

bool DebugEvent::prepareCallStack(bool all) {
    return safely([&] {
        mCalls.clear();
        lua_Debug info;
        for (int level = 0; lua_getstack(mState, level, &info); ++level) {
            lua_getinfo(mState, "Sln", &info);
            const bool hasSource = info.source[0] == '@';
            // A library calls the script's functions by names of its own.
            const bool fromLibrary = hasSource && !isChunkOf(info.source, mScript.id());
            if (fromLibrary && !mCalls.empty() && mCalls.back().file == mScript.id()) mCalls.back().function.clear();
            if (!hasSource && !all) continue;
            mCalls.push_back(
                {hasSource ? info.source + 1 : info.source, info.name ? info.name : "", info.what, info.currentline});
        }
        const auto outermost =
            std::find_if(mCalls.rbegin(), mCalls.rend(), [&](const Call& call) { return call.file == mScript.id(); });
        if (outermost != mCalls.rend() && outermost->function.empty() && outermost->kind != "main" && mScript.entry())
            outermost->function = mScript.entry();
        return true;
    });
}

unsigned long DebugEvent::callStackDepth() { return mCalls.size(); }

bool DebugEvent::getCallStackFrame(unsigned long index, IString* file, IString* function, IString* kind, int& line) {
    if (index >= mCalls.size()) return false;
    const Call& call = mCalls[index];
    assign(file, call.file);
    assign(function, call.function);
    assign(kind, call.kind);
    line = call.line;
    return true;
}

int DebugEvent::listGlobals(lua_State* L) {
    auto& names = *static_cast<std::vector<std::string>*>(lua_touserdata(L, 1));
    lua_pushnil(L);
    while (lua_next(L, LUA_GLOBALSINDEX)) {
        lua_pop(L, 1);
        if (lua_type(L, -1) != LUA_TSTRING) continue;
        const char* const name = lua_tostring(L, -1);
        if (!safely([&] { return names.emplace_back(name), true; })) break;
    }
    return 0;
}

bool DebugEvent::prepareVarList(bool globals) {
    return safely([&] {
        mNames.clear();
        for (const Variable& variable : visible()) mNames.push_back(variable.name);
        if (!globals) return true;
        const bool done = lua_cpcall(mState, &listGlobals, &mNames) == 0;
        if (!done) lua_pop(mState, 1);
        return done;
    });
}

unsigned long DebugEvent::varCount() { return mNames.size(); }

const char* DebugEvent::varName(unsigned long index) { return index < mNames.size() ? mNames[index].c_str() : nullptr; }

}  // namespace vexil3::lua
