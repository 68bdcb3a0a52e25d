// Languages and kinds of script.
#pragma once

#include <vexil3/object.h>

namespace vexil3 {

class VEXIL_API ILanguageService : public IObjectNoRef {
public:
    static const _GUID ID;

    enum Language { Lua = 0, JavaScript = 1 };
    enum ObjectType { Unknown = 0, Indicator = 1, Strategy = 2, Tool = 3, Macro = 4 };
};

class VEXIL_API EnumNames {
public:
    // The file name of a language's module, to be loaded by the usual search; null for a number
    // that is no language. [any thread]
    static const char* languageFilename(ILanguageService::Language language);
};

}  // namespace vexil3
