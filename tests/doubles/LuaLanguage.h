// The Lua language, as a double: it reads what it is given through the accessor, and makes recorders.
#pragma once

#include <string>

#include "doubles/Fault.h"
#include "doubles/ScriptObjects.h"

namespace vexil3::test {

class LuaLanguage final : public ILanguage {
public:
    Journal journal;
    IDebugger* debugger = nullptr;
    Raised raised;               // by the next operations of the language itself
    bool answersAnyway = false;  // in spite of what is raised
    Raised profilesRaise;        // by init of the profiles made
    Raised instancesRaise;       // by the instances that they make
    int* released = nullptr;
    int* gone = nullptr;

    bool is(_GUID id) const override { return answers<ILanguage, IObjectNoRef>(id); }
    bool to(_GUID id, void** object) const override { return answersTo<ILanguage, IObjectNoRef>(id, this, object); }

    bool setOption(LanguageOption, void*, IError**) override { return called(nullptr, "setOption"); }
    bool canCompile(IProfile*) override { return called(nullptr, "canCompile"); }
    bool compile(IProfile*, IFileAccessor*, const char*, IError** error) override { return called(error, "compile"); }
    bool checkSyntax(IPermissions* permissions, IFileAccessor* accessor, const char* name, const char* text,
                     IError** error) override {
        return called(error, "checkSyntax", permissions, readThrough(accessor, name), name, text);
    }
    bool recognizeFile(IFileAccessor* accessor, const char* name, ILanguageService::ObjectType& type,
                       IError** error) override {
        type = ILanguageService::Tool;
        return called(error, "recognizeFile", readThrough(accessor, name), name);
    }
    bool setDebugger(IDebugger* given) override {
        debugger = given;
        return called(nullptr, "setDebugger");
    }

    IIndicatorProfileImplementation* createIndicatorProfile(IFileAccessor* accessor, const char* name,
                                                            ILoadMetadata* metadata, IError** error) override {
        return make<IndicatorProfileRecorder>("createIndicatorProfile", accessor, name, metadata, error);
    }
    IStrategyProfileImplementation* createStrategyProfile(IFileAccessor* accessor, const char* name,
                                                          ILoadMetadata* metadata, IError** error) override {
        return make<StrategyProfileRecorder>("createStrategyProfile", accessor, name, metadata, error);
    }
    IToolProfileImplementation* createToolProfile(IFileAccessor* accessor, const char* name, ILoadMetadata* metadata,
                                                  IError** error) override {
        return make<ToolProfileRecorder>("createToolProfile", accessor, name, metadata, error);
    }
    IMacroProfileImplementation* createMacroProfile(IFileAccessor* accessor, const char* name, ILoadMetadata* metadata,
                                                    IError** error) override {
        return make<MacroProfileRecorder>("createMacroProfile", accessor, name, metadata, error);
    }

    void release() override {
        if (released) ++*released;
        delete this;
    }

private:
    template <class... Arguments>
    bool called(IError** error, const char* name, const Arguments&... arguments) {
        journal.add(name, arguments...);
        return raise(raised, error) || answersAnyway;
    }

    // The text of a script as this language sees it; none where nobody looks at it.
    std::string readThrough(IFileAccessor* accessor, const char* name) {
        if (!journal.recording) return {};
        const Ref<IFile> file(
            accessor->open(name, IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text, nullptr));
        std::string text(file ? static_cast<std::size_t>(file->size(nullptr)) : 0, '\0');
        unsigned long done = 0;
        if (file) file->read(text.data(), text.size(), done, nullptr);
        return text;
    }

    template <class Profile>
    Profile* make(const char* name, IFileAccessor* accessor, const char* file, ILoadMetadata* metadata,
                  IError** error) {
        if (!called(error, name, readThrough(accessor, file), file, metadata)) return nullptr;
        auto* profile = new (std::nothrow) Profile;
        if (!profile) {
            ErrorFactory::throwError(error, IError::StageLanguage, IError::CodeInternal, "no memory for a profile");
            return nullptr;
        }
        profile->raised = profilesRaise;
        profile->instancesRaise = instancesRaise;
        profile->gone = gone;
        profile->journal.recording = journal.recording;
        return profile;
    }
};

}  // namespace vexil3::test
