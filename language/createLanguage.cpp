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

    void* library = dlopen(vexil3::EnumNames::languageFilename(vexil3::ILanguageService::Lua), RTLD_NOW);
    if (!library) {
        printLoaderMessage();
        return nullptr;
    }
    auto* factory = reinterpret_cast<Factory*>(dlsym(library, "createLanguage"));
    if (!factory) {
        printLoaderMessage();
        return nullptr;
    }
    vexil3::ILanguage* lua = nullptr;
    try {
        lua = factory();
        return lua ? new vexil3::js::JsLanguage(lua) : nullptr;
    } catch (...) {
        if (lua) lua->release();
        return nullptr;
    }
}
