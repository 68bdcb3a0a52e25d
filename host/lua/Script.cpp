#include "host/lua/Script.h"

#include <vexil3/error.h>
#include <vexil3/ref.h>

#include "host/lua/ScriptState.h"

namespace vexil3::lua {

namespace {

constexpr ILanguageService::ObjectType kKinds[] = {ILanguageService::Indicator, ILanguageService::Strategy,
                                                   ILanguageService::Tool, ILanguageService::Macro};

bool invalid(const std::string& text, const char* file, IError** error) {
    ErrorFactory::throwError(error, IError::StageTranslation, IError::CodeInvalidContent, text.c_str(), file, 0);
    return false;
}

// Reads to the end, whatever size the file gave.
bool readAll(IFile* file, std::string& text, IError** error) {
    Ref<IError> failure;
    const std::int64_t size = file->size(failure.out());
    if (failure) {
        ErrorFactory::throwStack(error, failure.get());
        return false;
    }
    unsigned long done = 0;
    std::size_t used = 0;
    text.resize(static_cast<std::size_t>(size > 0 ? size : 0) + 1);
    do {
        if (used == text.size()) text.resize(text.size() * 2);
        if (!file->read(text.data() + used, text.size() - used, done, error)) return false;
        used += done;
    } while (done > 0);
    text.resize(used);
    return true;
}

bool findKind(ScriptState& state, ILanguageService::ObjectType& type, IError** error) {
    ILanguageService::ObjectType second = ILanguageService::Unknown;
    type = ILanguageService::Unknown;
    const bool done = state.run("main chunk", error, [&](lua_State* L) {
        for (const ILanguageService::ObjectType kind : kKinds)
            if (state.pushHandler(L, kindName(kind))) (type == ILanguageService::Unknown ? type : second) = kind;
    });
    if (!done || second == ILanguageService::Unknown) return done;
    return invalid(
        std::string("The script declares both ") + kindName(type) + " and " + kindName(second) + "; it can be only one",
        state.id().c_str(), error);
}

}  // namespace

const char* kindName(ILanguageService::ObjectType type) {
    switch (type) {
        case ILanguageService::Indicator:
            return "indicator";
        case ILanguageService::Strategy:
            return "strategy";
        case ILanguageService::Tool:
            return "tool";
        case ILanguageService::Macro:
            return "macro";
        default:
            return "";
    }
}

bool readFile(IFileAccessor* accessor, const char* fileName, std::string& id, std::string& text, IError** error) {
    if (!accessor || !fileName) {
        ErrorFactory::throwError(error, IError::StageArgument, IError::CodeNullObject, "Object is NULL");
        return false;
    }
    Ref<IError> failure;
    const Ref<IFile> file(
        accessor->open(fileName, IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text, failure.out()));
    if (file) {
        const char* const given = file->id();
        id = given ? given : fileName;
        if (readAll(file.get(), text, failure.out())) return true;
    }
    if (failure) {
        ErrorFactory::throwStack(error, failure.get());
    } else {
        const std::string message =
            std::string("The file ") + fileName + (file ? " cannot be read" : " cannot be opened");
        ErrorFactory::throwError(error, IError::StageFile, IError::CodeCannotOpen, message.c_str(), fileName, 0);
    }
    return false;
}

std::shared_ptr<Script> loadScript(Environment& environment, IFileAccessor* accessor, const char* fileName,
                                   IError** error) {
    auto script = std::make_shared<Script>();
    std::string text;
    if (!readFile(accessor, fileName, script->id, text, error)) return nullptr;
    ScriptState state(environment, script->id, ScriptState::Use::Survey);
    if (!state.compile(text, script->bytecode, error)) return nullptr;
    Ref<IError> fault;
    const bool ran = state.runChunk(script->bytecode, fault.out());
    if (!findKind(state, script->type, error)) return nullptr;
    // A script that fails after it has declared its kind is loaded all the same: it fails again where
    // it is declared, and that error reaches whoever loads it with the profile that it belongs to.
    if (!ran && script->type == ILanguageService::Unknown) {
        ErrorFactory::throwStack(error, fault.get());
        return nullptr;
    }
    script->bytecode.shrink_to_fit();
    return script;
}

}  // namespace vexil3::lua
