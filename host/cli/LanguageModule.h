// A language module, loaded by the name that the platform gives it.
#pragma once

#include <string>

#include <vexil3/language.h>

namespace vexil3::cli {

// The language that a script is written in, by its name. Throws Failure when it is none.
ILanguageService::Language languageOf(const std::string& script);

// Owns a language. Its library stays loaded for the life of the process.
class LanguageModule {
public:
    // Throws Failure when the module cannot be loaded.
    explicit LanguageModule(ILanguageService::Language language);
    LanguageModule(const LanguageModule&) = delete;
    LanguageModule& operator=(const LanguageModule&) = delete;
    ~LanguageModule() { mLanguage->release(); }

    ILanguageService::Language name() const { return mName; }
    ILanguage* get() const { return mLanguage; }
    ILanguage* operator->() const { return mLanguage; }

private:
    const ILanguageService::Language mName;
    ILanguage* mLanguage = nullptr;
};

}  // namespace vexil3::cli
