// The Lua language's debugger callback, with JavaScript lines in its call stack.
#pragma once

#include <vector>

#include <vexil3/debugger.h>

#include "lines/FileLinesCache.h"

namespace vexil3::js {

// Made for one line event and gone with it. [script thread]
class VEXIL_API JSDebuggerCallback : public IDebuggerCallback {
public:
    static const _GUID ID;

    // Borrows both.
    JSDebuggerCallback(FileLinesCache* linesCache, IDebuggerCallback* callback);

    // The line table of the event's file, through which every frame is mapped: a copy of `lines`, or
    // a share of a table that stays as it is.
    void setLines(std::vector<int>& lines);
    void setTable(LineTable table) noexcept;

    bool is(_GUID id) const override;
    bool to(_GUID id, void** object) const override;

    bool calculateWatch(const char* expression, IString* value, IString* type, IError** error) override;
    bool prepareCallStack(bool all) override;
    unsigned long callStackDepth() override;
    bool getCallStackFrame(unsigned long index, IString* file, IString* function, IString* kind, int& line) override;
    bool prepareVarList(bool globals) override;
    unsigned long varCount() override;
    const char* varName(unsigned long index) override;

private:
    FileLinesCache* linesCache;
    IDebuggerCallback* callback;
    LineTable lines;
};

}  // namespace vexil3::js
