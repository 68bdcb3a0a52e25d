#include "lines/JSDebugger.h"

#include <cstring>

#include <vexil3/identify.h>

#include "lines/JSDebuggerCallback.h"

namespace vexil3::js {

constinit const _GUID JSDebugger::ID = {0xE992BF8D, 0x2935, 0x45C5, {0x86, 0x2E, 0x8E, 0x6F, 0x3F, 0xBA, 0x3C, 0x08}};

namespace {

constexpr int kGoOn = 1;
constexpr char kSupportFile[] = "jsMigration.lua";

}  // namespace

JSDebugger::JSDebugger(FileLinesCache* linesCache_) : debugger(nullptr), linesCache(linesCache_) {}

void JSDebugger::setDebugger(IDebugger* debugger_) { debugger = debugger_; }

bool JSDebugger::is(_GUID id) const { return answers<JSDebugger, IDebugger, IObjectNoRef>(id); }

bool JSDebugger::to(_GUID id, void** object) const {
    return answersTo<JSDebugger, IDebugger, IObjectNoRef>(id, this, object);
}

void JSDebugger::objectCreated(IObjectNoRef* object) {
    if (IDebugger* const host = debugger) host->objectCreated(object);
}

int JSDebugger::lineExecuting(IObjectNoRef* object, IDebuggerCallback* callback, const char* file, int line) {
    IDebugger* const host = debugger;
    if (!host || (file && std::strstr(file, kSupportFile))) return kGoOn;
    const LineTable table = file && *file ? linesCache->table(file + 1) : nullptr;
    JSDebuggerCallback mapped(linesCache, callback);
    mapped.setTable(table);
    mapLine(table, line);
    return host->lineExecuting(object, &mapped, file, line);
}

}  // namespace vexil3::js
