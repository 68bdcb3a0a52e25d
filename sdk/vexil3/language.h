// A language module: a shared library with the undecorated export "createLanguage", which takes no
// arguments and returns a new ILanguage or null.
#pragma once

#include <vexil3/debugger.h>
#include <vexil3/indicator.h>
#include <vexil3/macro.h>
#include <vexil3/strategy.h>
#include <vexil3/tool.h>

namespace vexil3 {

// What a host knows of a script before it is loaded.
class VEXIL_API ILoadMetadata : public IObjectNoRef {
public:
    static const _GUID ID;

    // Null when there is none.
    virtual const char* find(const char* key) = 0;
};

// [any thread] but for release. What it creates must not outlive it.
class VEXIL_API ILanguage : public IObjectNoRef {
public:
    static const _GUID ID;

    enum LanguageOption {
        MemoryLimit = 0  // std::size_t*: bytes that one script may hold
    };

    virtual bool setOption(LanguageOption option, void* value, IError** error) = 0;
    virtual bool canCompile(IProfile* profile) = 0;
    virtual bool compile(IProfile* profile, IFileAccessor* accessor, const char* fileName, IError** error) = 0;
    // Checks `text`, the content of the file `fileName`, without running it.
    virtual bool checkSyntax(IPermissions* permissions, IFileAccessor* accessor, const char* fileName, const char* text,
                             IError** error) = 0;
    // Finds out what kind of script a file is; false when it is none.
    virtual bool recognizeFile(IFileAccessor* accessor, const char* fileName, ILanguageService::ObjectType& type,
                               IError** error) = 0;
    // Reports to `debugger` [borrowed] from now on; null ends that. Set it while no script runs.
    virtual bool setDebugger(IDebugger* debugger) = 0;

    // Loads a script. `metadata` may be null. [owned], or null after an error.
    virtual IIndicatorProfileImplementation* createIndicatorProfile(IFileAccessor* accessor, const char* fileName,
                                                                    ILoadMetadata* metadata, IError** error) = 0;
    virtual IStrategyProfileImplementation* createStrategyProfile(IFileAccessor* accessor, const char* fileName,
                                                                  ILoadMetadata* metadata, IError** error) = 0;
    virtual IToolProfileImplementation* createToolProfile(IFileAccessor* accessor, const char* fileName,
                                                          ILoadMetadata* metadata, IError** error) = 0;
    virtual IMacroProfileImplementation* createMacroProfile(IFileAccessor* accessor, const char* fileName,
                                                            ILoadMetadata* metadata, IError** error) = 0;

    // Ends the language; the object is gone. Called once, by its owner.
    virtual void release() = 0;
};

}  // namespace vexil3
