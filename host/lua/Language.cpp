#include "host/lua/Language.h"

#include <vexil3/error.h>

#include <new>

#include "host/lua/Profiles.h"

namespace vexil3::lua {

bool Language::is(_GUID id) const { return answers<ILanguage, IObjectNoRef>(id); }

bool Language::to(_GUID id, void** object) const {
    return answersTo<ILanguage, IObjectNoRef>(id, static_cast<const ILanguage*>(this), object);
}

bool Language::setOption(LanguageOption option, void* value, IError** error) {
    if (option != MemoryLimit) {
        ErrorFactory::throwError(error, IError::StageArgument, IError::CodeNotSupported, "There is no such option");
        return false;
    }
    if (!value) {
        ErrorFactory::throwError(error, IError::StageArgument, IError::CodeNullObject, "Object is NULL");
        return false;
    }
    mEnvironment.memoryLimit = *static_cast<const std::size_t*>(value);
    return true;
}

bool Language::canCompile(IProfile*) { return false; }

bool Language::compile(IProfile*, IFileAccessor*, const char*, IError** error) {
    ErrorFactory::throwError(error, IError::StageLanguage, IError::CodeNotSupported,
                             "Lua scripts are not compiled to files");
    return false;
}

bool Language::checkSyntax(IPermissions*, IFileAccessor* accessor, const char* fileName, const char* text,
                           IError** error) {
    return guarded(error, [&] {
        std::string id = fileName ? fileName : "", content = text ? text : "", bytecode;
        if (!text && !readFile(accessor, fileName, id, content, error)) return false;
        ScriptState state(mEnvironment, id, ScriptState::Use::Survey);
        return state.compile(content, bytecode, error);
    });
}

bool Language::recognizeFile(IFileAccessor* accessor, const char* fileName, ILanguageService::ObjectType& type,
                             IError** error) {
    type = ILanguageService::Unknown;
    return guarded(error, [&] {
        const std::shared_ptr<const Script> script = loadScript(mEnvironment, accessor, fileName, error);
        if (script) type = script->type;
        return type != ILanguageService::Unknown;
    });
}

bool Language::setDebugger(IDebugger* debugger) {
    mEnvironment.debugger = debugger;
    return true;
}

template <class Profile>
Profile* Language::create(ILanguageService::ObjectType type, IFileAccessor* accessor, const char* fileName,
                          IError** error) {
    return guarded(error, [&]() -> Profile* {
        std::shared_ptr<const Script> script = loadScript(mEnvironment, accessor, fileName, error);
        if (!script) return nullptr;
        if (script->type == type) return new Profile(mEnvironment, std::move(script));
        const std::string wanted = kindName(type);
        const std::string text =
            script->type == ILanguageService::Unknown
                ? "The script is no " + wanted + ": it has no function '" + wanted + "'"
                : "The script is no " + wanted + " but declares the kind " + kindName(script->type);
        ErrorFactory::throwError(error, IError::StageTranslation, IError::CodeInvalidContent, text.c_str(),
                                 script->id.c_str(), 0);
        return nullptr;
    });
}

IIndicatorProfileImplementation* Language::createIndicatorProfile(IFileAccessor* accessor, const char* fileName,
                                                                  ILoadMetadata*, IError** error) {
    return create<IndicatorProfile>(ILanguageService::Indicator, accessor, fileName, error);
}

IStrategyProfileImplementation* Language::createStrategyProfile(IFileAccessor* accessor, const char* fileName,
                                                                ILoadMetadata*, IError** error) {
    return create<StrategyProfile>(ILanguageService::Strategy, accessor, fileName, error);
}

IToolProfileImplementation* Language::createToolProfile(IFileAccessor* accessor, const char* fileName, ILoadMetadata*,
                                                        IError** error) {
    return create<ToolProfile>(ILanguageService::Tool, accessor, fileName, error);
}

IMacroProfileImplementation* Language::createMacroProfile(IFileAccessor* accessor, const char* fileName, ILoadMetadata*,
                                                          IError** error) {
    return create<MacroProfile>(ILanguageService::Macro, accessor, fileName, error);
}

void Language::release() { delete this; }

}  // namespace vexil3::lua

extern "C" VEXIL_API vexil3::ILanguage* createLanguage() { return new (std::nothrow) vexil3::lua::Language; }
