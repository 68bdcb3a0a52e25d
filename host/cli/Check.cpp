#include "host/cli/Check.h"

#include <map>
#include <memory>

#include "host/cli/Run.h"

namespace vexil3::cli {

void checkSyntax(LanguageModule& language, const std::string& script) {
    const Counted<FileSystemAccessor> accessor = openFiles();
    ErrorSlot error;
    NoPermissions permissions;
    // Without a text, the language reads the whole file, whatever bytes are in it.
    expect(language->checkSyntax(&permissions, accessor.get(), script.c_str(), nullptr, error), error, "checking it");
}

void checkScripts(const Options& options,
                  const std::function<void(const std::string& script, const ScriptFault&)>& report) {
    std::map<ILanguageService::Language, std::unique_ptr<LanguageModule>> languages;
    for (const std::string& script : options.scripts) {
        const ILanguageService::Language name = languageOf(script);
        std::unique_ptr<LanguageModule>& language = languages[name];
        if (!language) language = std::make_unique<LanguageModule>(name);
        try {
            checkSyntax(*language, script);
        } catch (const ScriptFault& fault) {
            report(script, fault);
        }
    }
}

}  // namespace vexil3::cli
