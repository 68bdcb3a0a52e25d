// The JavaScript language as the host sees it.
#pragma once

#include <memory>

#include <vexil3/language.h>

#include "lines/FileLinesCache.h"
#include "lines/JSDebugger.h"

namespace vexil3::js {

struct ReleaseLanguage {
    void operator()(ILanguage* language) const { language->release(); }
};
using LanguageOwner = std::unique_ptr<ILanguage, ReleaseLanguage>;

// Does no language work of its own: hands the Lua language a file accessor that translates, wraps
// what comes back, and keeps the line tables by which errors and debugger events are mapped. Owned by
// the host until it calls release; what it creates must not outlive it. [any thread], but for
// release.
class VEXIL_API JsLanguage : public ILanguage {
public:
    static const _GUID ID;

    // Takes the Lua language over, also where it throws. Null is allowed: every operation that needs
    // one then fails with "LUA not set".
    explicit JsLanguage(ILanguage* language);
    ~JsLanguage() override = default;
    JsLanguage(const JsLanguage&) = delete;
    JsLanguage& operator=(const JsLanguage&) = delete;

    bool is(_GUID id) const override;
    bool to(_GUID id, void** object) const override;

    // Accepted and ignored.
    bool setOption(LanguageOption option, void* value, IError** error) override;
    bool canCompile(IProfile* profile) override;
    bool compile(IProfile* profile, IFileAccessor* accessor, const char* fileName, IError** error) override;
    // Checks the translation of the file; `text` is not looked at.
    bool checkSyntax(IPermissions* permissions, IFileAccessor* accessor, const char* fileName, const char* text,
                     IError** error) override;
    bool recognizeFile(IFileAccessor* accessor, const char* fileName, ILanguageService::ObjectType& type,
                       IError** error) override;
    // The Lua language reports to a bridge of ours, which passes on to `debugger`.
    bool setDebugger(IDebugger* debugger) override;

    IIndicatorProfileImplementation* createIndicatorProfile(IFileAccessor* accessor, const char* fileName,
                                                            ILoadMetadata* metadata, IError** error) override;
    IStrategyProfileImplementation* createStrategyProfile(IFileAccessor* accessor, const char* fileName,
                                                          ILoadMetadata* metadata, IError** error) override;
    IToolProfileImplementation* createToolProfile(IFileAccessor* accessor, const char* fileName,
                                                  ILoadMetadata* metadata, IError** error) override;
    IMacroProfileImplementation* createMacroProfile(IFileAccessor* accessor, const char* fileName,
                                                    ILoadMetadata* metadata, IError** error) override;

    void release() override;

    // Opens the file and keeps its line table, if it is a translated one. False when opening it
    // reported an error, which is passed on.
    bool updateCache(IFileAccessor* accessor, const char* fileName, IError** error);
    // Adds the entries of `source` to `error`, with the lines of scripts mapped. `source` may be
    // null and stays the caller's.
    void convertError(IError** error, IError* source);

private:
    template <class Adapter, class Profile>
    Profile* createProfile(Profile* (ILanguage::*create)(IFileAccessor*, const char*, ILoadMetadata*, IError**),
                           IFileAccessor* accessor, const char* fileName, ILoadMetadata* metadata, IError** error);

    FileLinesCache mCache;
    LanguageOwner mLanguage;
    // Goes before the language that it was given to.
    std::unique_ptr<JSDebugger> mDebugger;
};

}  // namespace vexil3::js
