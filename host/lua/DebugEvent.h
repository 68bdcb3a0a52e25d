// What a debugger may ask while a script stands at a line.
#pragma once

#include <vexil3/debugger.h>

#include <string>
#include <vector>

#include "host/lua/Frames.h"

struct lua_State;

namespace vexil3::lua {

class ScriptState;

// Lives during one line event. Nothing that it evaluates reports line events of its own.
class DebugEvent final : public IDebuggerCallback {
public:
    // L stands in a hook.
    DebugEvent(ScriptState& state, lua_State* L) : mScript(state), mState(L) {}

    bool is(_GUID id) const override;
    bool to(_GUID id, void** object) const override;

    // An expression sees the locals, upvalues and globals of the line; an assignment reaches globals
    // only.
    bool calculateWatch(const char* expression, IString* value, IString* type, IError** error) override;

    bool prepareCallStack(bool all) override;
    unsigned long callStackDepth() override;
    // `file` is the bare id; `kind` is Lua, main or C.
    bool getCallStackFrame(unsigned long index, IString* file, IString* function, IString* kind, int& line) override;

    bool prepareVarList(bool globals) override;
    unsigned long varCount() override;
    const char* varName(unsigned long index) override;

private:
    struct Call {
        std::string file, function, kind;
        int line;
    };
    // A variable of the line's function, or one that it took from around.
    struct Variable {
        std::string name;
        int index;
        bool isUpvalue;
    };
    struct Watch {
        std::string text;
        std::vector<Variable> variables;
        std::string value, type;
        bool isValid = false;
    };

    std::vector<Variable> visible() const;
    static int evaluate(lua_State* L);
    static int listGlobals(lua_State* L);
    static void pushVariables(lua_State* L, const std::vector<Variable>& variables);
    bool tryWatch(Watch& watch, const std::string& code);

    ScriptState& mScript;
    lua_State* mState;
    std::vector<Call> mCalls;
    std::vector<std::string> mNames;
};

}  // namespace vexil3::lua
