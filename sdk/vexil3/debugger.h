// What a language tells a debugger, and what the debugger may ask meanwhile.
#pragma once

#include <vexil3/error.h>
#include <vexil3/strings.h>

namespace vexil3 {

// Looks at a script that stands at a line. Given to lineExecuting, gone when that returns.
// [script thread]
class VEXIL_API IDebuggerCallback : public IObjectNoRef {
public:
    static const _GUID ID;

    // Evaluates `expression` where the script stands; its value and its type as texts.
    virtual bool calculateWatch(const char* expression, IString* value, IString* type, IError** error) = 0;

    // Records the call stack, innermost first; `all` takes frames without a source too.
    virtual bool prepareCallStack(bool all) = 0;
    virtual unsigned long callStackDepth() = 0;
    virtual bool getCallStackFrame(unsigned long index, IString* file, IString* function, IString* kind, int& line) = 0;

    // Records the names of the variables in sight; `globals` takes the script's globals too.
    virtual bool prepareVarList(bool globals) = 0;
    virtual unsigned long varCount() = 0;
    // Valid until the next prepareVarList.
    virtual const char* varName(unsigned long index) = 0;
};

// Implemented by the host. Called on the thread that runs the script.
class VEXIL_API IDebugger : public IObjectNoRef {
public:
    static const _GUID ID;

    // A script object begins to run under the debugger.
    virtual void objectCreated(IObjectNoRef* object) = 0;
    // The script is about to run `line` of `file` (the file's id behind one marker character).
    // 0 ends the script with an error, anything else goes on.
    virtual int lineExecuting(IObjectNoRef* object, IDebuggerCallback* callback, const char* file, int line) = 0;
};

}  // namespace vexil3
