#include "lines/JSDebuggerCallback.h"

#include <utility>

#include <vexil3/identify.h>

namespace vexil3::js {

constinit const _GUID JSDebuggerCallback::ID = {
    0x34D3A6B6, 0x2415, 0x4A22, {0x9F, 0x24, 0x95, 0xCF, 0x4C, 0x17, 0xA8, 0x72}};

JSDebuggerCallback::JSDebuggerCallback(FileLinesCache* linesCache_, IDebuggerCallback* callback_)
    : linesCache(linesCache_), callback(callback_) {}

void JSDebuggerCallback::setLines(std::vector<int>& table) { lines = std::make_shared<const std::vector<int>>(table); }

void JSDebuggerCallback::setTable(LineTable table) noexcept { lines = std::move(table); }

bool JSDebuggerCallback::is(_GUID id) const { return answers<JSDebuggerCallback, IDebuggerCallback, IObjectNoRef>(id); }

bool JSDebuggerCallback::to(_GUID id, void** object) const {
    return answersTo<JSDebuggerCallback, IDebuggerCallback, IObjectNoRef>(id, this, object);
}

bool JSDebuggerCallback::calculateWatch(const char* expression, IString* value, IString* type, IError** error) {
    return callback->calculateWatch(expression, value, type, error);
}

bool JSDebuggerCallback::prepareCallStack(bool all) { return callback->prepareCallStack(all); }

unsigned long JSDebuggerCallback::callStackDepth() { return callback->callStackDepth(); }

bool JSDebuggerCallback::getCallStackFrame(unsigned long index, IString* file, IString* function, IString* kind,
                                           int& line) {
    const bool found = callback->getCallStackFrame(index, file, function, kind, line);
    mapLine(lines, line);
    return found;
}

bool JSDebuggerCallback::prepareVarList(bool globals) { return callback->prepareVarList(globals); }

unsigned long JSDebuggerCallback::varCount() { return callback->varCount(); }

const char* JSDebuggerCallback::varName(unsigned long index) { return callback->varName(index); }

}  // namespace vexil3::js
