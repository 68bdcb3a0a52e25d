// The module's entry point.
#include <dlfcn.h>

#include <cstdio>

#include "language/JsLanguage.h"

namespace {

void printLoaderMessage() {
    if (const char* message = dlerror()) std::puts(message);
}

}  // namespace

// A new language in front of the host's Lua language, whose library stays loaded from then on. Null
// when that cannot be had; the loader's message is then on standard output. [owned: release it]
extern "C" VEXIL_API vexil3::ILanguage* createLanguage() {
    using Factory = vexil3::ILanguage*();

    // A null name would open the program itself, where this very function may be found.
    const char* const name = vexil3::EnumNames::languageFilename(vexil3::ILanguageService::Lua);
    if (!name) return nullptr;
    void* library = dlopen(name, RTLD_NOW);
    if (!library) {
        printLoaderMessage();
        return nullptr;
    }
    auto* factory = reinterpret_cast<Factory*>(dlsym(library, "createLanguage"));
    if (!factory) {
        printLoaderMessage();
        return nullptr;
    }
    try {
        vexil3::js::LanguageOwner lua(factory());
        return lua ? new vexil3::js::JsLanguage(lua.release()) : nullptr;
    } catch (...) {
        return nullptr;
    }
}
