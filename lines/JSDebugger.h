// The debugger that the module installs in the Lua language in front of the host's.
#pragma once

#include <atomic>

#include <vexil3/debugger.h>

#include "lines/FileLinesCache.h"

namespace vexil3::js {

// Passes events on with JavaScript lines and hides those of the translator's support file. Without
// a host debugger, everything goes on unseen. Events may come on any thread.
class VEXIL_API JSDebugger : public IDebugger {
public:
    static const _GUID ID;

    // Borrows the cache.
    explicit JSDebugger(FileLinesCache* linesCache);

    // Borrows the host's debugger in place of an earlier one, which events under way may still reach;
    // null is none.
    void setDebugger(IDebugger* debugger);

    bool is(_GUID id) const override;
    bool to(_GUID id, void** object) const override;

    void objectCreated(IObjectNoRef* object) override;
    // What the host's debugger answers; 1 where it isn't asked. `file` is an id behind one marker
    // character.
    int lineExecuting(IObjectNoRef* object, IDebuggerCallback* callback, const char* file, int line) override;

private:
    std::atomic<IDebugger*> debugger;
    FileLinesCache* linesCache;
};

}  // namespace vexil3::js
