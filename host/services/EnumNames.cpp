#include <vexil3/language_service.h>

namespace vexil3 {

const char* EnumNames::languageFilename(ILanguageService::Language language) {
    switch (language) {
        case ILanguageService::Lua:
            return "libvexil.lua.so";
        case ILanguageService::JavaScript:
            return "libvexil.js.so";
    }
    return nullptr;
}

}  // namespace vexil3
