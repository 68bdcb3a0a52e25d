// Texts that cross the interfaces, and how names are matched.
#pragma once

#include <vexil3/object.h>

namespace vexil3 {

// A text that the callee fills for the caller.
class VEXIL_API IString : public IObjectNoRef {
public:
    static const _GUID ID;

    // Copies `text`; null empties. [script thread]
    virtual void assign(const char* text) = 0;
    // Never null; valid until the next assign.
    virtual const char* text() = 0;

    // An empty string. [owned: delete it]
    static IString* create();
};

class VEXIL_API StringUtil {
public:
    // Matches the whole of `name` against `pattern`, in which `*` stands for any run of characters
    // and `?` for one; letters of either case are alike. False when either is null. [any thread]
    static bool like(const char* pattern, const char* name);
};

}  // namespace vexil3
