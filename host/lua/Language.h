// The Lua language as the host sees it.
#pragma once

#include <vexil3/language.h>

#include "host/lua/Environment.h"

namespace vexil3::lua {

class Language final : public ILanguage {
public:
    bool is(_GUID id) const override;
    bool to(_GUID id, void** object) const override;

    bool setOption(LanguageOption option, void* value, IError** error) override;
    bool canCompile(IProfile* profile) override;
    bool compile(IProfile* profile, IFileAccessor* accessor, const char* fileName, IError** error) override;
    // Without a text, the file is read.
    bool checkSyntax(IPermissions* permissions, IFileAccessor* accessor, const char* fileName, const char* text,
                     IError** error) override;
    bool recognizeFile(IFileAccessor* accessor, const char* fileName, ILanguageService::ObjectType& type,
                       IError** error) override;
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

private:
    template <class Profile>
    Profile* create(ILanguageService::ObjectType type, IFileAccessor* accessor, const char* fileName, IError** error);

    Environment mEnvironment;
};

}  // namespace vexil3::lua
