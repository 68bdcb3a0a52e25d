#include "host/cli/LanguageModule.h"

#include <dlfcn.h>

#include <vexil3/strings.h>

#include "host/cli/Failure.h"

namespace vexil3::cli {

ILanguageService::Language languageOf(const std::string& script) {
    if (StringUtil::like("*.jsl", script.c_str())) return ILanguageService::JavaScript;
    if (StringUtil::like("*.lua", script.c_str())) return ILanguageService::Lua;
    throw Failure(script + " is no script that vexil knows: its name must end with .jsl (JavaScript) or .lua (Lua)");
}

LanguageModule::LanguageModule(ILanguageService::Language language) : mName(language) {
    const char* file = EnumNames::languageFilename(language);
    void* library = ::dlopen(file, RTLD_NOW);
    void* factory = library ? ::dlsym(library, "createLanguage") : nullptr;
    if (!factory)
        throw Failure(std::string("cannot load the language module ") + file + ": " + ::dlerror() +
                      "; build or install it beside the program, in ../lib");
    mLanguage = reinterpret_cast<ILanguage* (*)()>(factory)();
    if (!mLanguage)
        throw Failure(std::string("the language module ") + file + " does not start; is " +
                      EnumNames::languageFilename(ILanguageService::Lua) + " beside it?");
}

}  // namespace vexil3::cli
