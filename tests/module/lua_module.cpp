// A Lua language module in small, in the variants that a host may meet.
#include "doubles/LuaLanguage.h"

#ifdef WITHOUT_FACTORY
extern "C" VEXIL_API void somethingElse() {}
#else
extern "C" VEXIL_API vexil3::ILanguage* createLanguage() {
#if defined(WITHOUT_LANGUAGE)
    return nullptr;
#elif defined(THROWING)
    throw "no memory for a language";
#else
    return new vexil3::test::LuaLanguage;
#endif
}
#endif
