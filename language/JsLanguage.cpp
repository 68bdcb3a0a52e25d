#include "language/JsLanguage.h"

#include <cstdlib>
#include <ctime>
#include <exception>
#include <string>

#include <vexil3/identify.h>
#include <vexil3/ref.h>
#include <vexil3/strings.h>

#include "adapters/IndicatorProfileImplementation.h"
#include "adapters/MacroProfileImplementation.h"
#include "adapters/StrategyProfileImplementation.h"
#include "adapters/ToolProfileImplementation.h"
#include "files/JsFile.h"
#include "files/JsFileAccessor.h"
#include "language/Resources.h"
#include "translation/TextLimit.h"

namespace vexil3::js {

constinit const _GUID JsLanguage::ID = {0x1CDD0E25, 0xA471, 0x46F8, {0xBD, 0xE7, 0x3B, 0xDE, 0x1A, 0x39, 0xE8, 0xDE}};

namespace {

void reportInternal(IError** error, const char* message) {
    ErrorFactory::throwError(error, IError::StageLanguage, IError::CodeInternal, message);
}

// Runs the body of an operation that needs both; what it throws becomes an error, and the result is
// then null or false.
template <class Body>
auto guarded(ILanguage* language, IFileAccessor* accessor, IError** error, Body body) -> decltype(body()) {
    if (!language) {
        reportInternal(error, Resources::getErrorLUA());
        return {};
    }
    if (!accessor) {
        ErrorFactory::throwError(error, IError::StageArgument, IError::CodeNullObject, Resources::getErrorNULL());
        return {};
    }
    try {
        return body();
    } catch (const std::exception& failure) {
        reportInternal(error, failure.what());
    } catch (...) {
        reportInternal(error, "Unknown failure");
    }
    return {};
}

Ref<IFile> openText(IFileAccessor* accessor, const char* fileName, IError** error) {
    return Ref<IFile>(accessor->open(fileName, IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text, error));
}

}  // namespace

JsLanguage::JsLanguage(ILanguage* language) : mLanguage(language), mDebugger(std::make_unique<JSDebugger>(&mCache)) {
    std::srand(static_cast<unsigned int>(std::time(nullptr)));
}

bool JsLanguage::is(_GUID id) const { return answers<JsLanguage, ILanguage, IObjectNoRef>(id); }

bool JsLanguage::to(_GUID id, void** object) const {
    return answersTo<JsLanguage, ILanguage, IObjectNoRef>(id, this, object);
}

bool JsLanguage::setOption(LanguageOption, void*, IError**) { return true; }

bool JsLanguage::canCompile(IProfile*) { return false; }

bool JsLanguage::compile(IProfile*, IFileAccessor*, const char*, IError**) { return false; }

bool JsLanguage::checkSyntax(IPermissions* permissions, IFileAccessor* accessor, const char* fileName, const char*,
                             IError** error) {
    return guarded(mLanguage.get(), accessor, error, [&] {
        const Ref<IFileAccessor> translating(new JsFileAccessor(accessor));
        Ref<IError> local;
        const Ref<IFile> file = openText(translating.get(), fileName, local.out());
        std::string text;
        unsigned long done = 0;
        if (file) {
            const std::int64_t size = file->size(local.out());
            if (!local && size > kLargestText) {
                ErrorFactory::throwError(local.out(), IError::StageFile, IError::CodeInvalidContent,
                                         "The file is too large", fileName, 0);
            }
            if (!local) text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        }
        if (!file || local || !file->read(text.data(), text.size(), done, local.out())) {
            if (local) ErrorFactory::throwStack(error, local.get());
            return false;
        }
        const bool correct =
            mLanguage->checkSyntax(permissions, translating.get(), fileName, text.c_str(), local.out());
        convertError(error, local.get());
        return correct;
    });
}

bool JsLanguage::recognizeFile(IFileAccessor* accessor, const char* fileName, ILanguageService::ObjectType& type,
                               IError** error) {
    return guarded(mLanguage.get(), accessor, error, [&] {
        const Ref<IFileAccessor> translating(new JsFileAccessor(accessor));
        return mLanguage->recognizeFile(translating.get(), fileName, type, error);
    });
}

bool JsLanguage::setDebugger(IDebugger* debugger) {
    mDebugger->setDebugger(debugger);
    return mLanguage && mLanguage->setDebugger(mDebugger.get());
}

IIndicatorProfileImplementation* JsLanguage::createIndicatorProfile(IFileAccessor* accessor, const char* fileName,
                                                                    ILoadMetadata* metadata, IError** error) {
    return createProfile<IndicatorProfileImplementation>(&ILanguage::createIndicatorProfile, accessor, fileName,
                                                         metadata, error);
}

IStrategyProfileImplementation* JsLanguage::createStrategyProfile(IFileAccessor* accessor, const char* fileName,
                                                                  ILoadMetadata* metadata, IError** error) {
    return createProfile<StrategyProfileImplementation>(&ILanguage::createStrategyProfile, accessor, fileName, metadata,
                                                        error);
}

IToolProfileImplementation* JsLanguage::createToolProfile(IFileAccessor* accessor, const char* fileName,
                                                          ILoadMetadata* metadata, IError** error) {
    return createProfile<ToolProfileImplementation>(&ILanguage::createToolProfile, accessor, fileName, metadata, error);
}

IMacroProfileImplementation* JsLanguage::createMacroProfile(IFileAccessor* accessor, const char* fileName,
                                                            ILoadMetadata* metadata, IError** error) {
    return createProfile<MacroProfileImplementation>(&ILanguage::createMacroProfile, accessor, fileName, metadata,
                                                     error);
}

// Has the Lua language make its profile of the translated file, and puts an Adapter in front of it.
template <class Adapter, class Profile>
Profile* JsLanguage::createProfile(Profile* (ILanguage::*create)(IFileAccessor*, const char*, ILoadMetadata*, IError**),
                                   IFileAccessor* accessor, const char* fileName, ILoadMetadata* metadata,
                                   IError** error) {
    return guarded(mLanguage.get(), accessor, error, [&]() -> Profile* {
        if (!updateCache(accessor, fileName, error)) return nullptr;
        const Ref<IFileAccessor> translating(new JsFileAccessor(accessor));
        Ref<IError> local;
        Ref<Profile> profile((mLanguage.get()->*create)(translating.get(), fileName, metadata, local.out()));
        if (!profile) {
            convertError(error, local.get());
            return nullptr;
        }
        Profile* adapter = new Adapter(profile.get(), &mCache);
        profile.detach();
        return adapter;
    });
}

bool JsLanguage::updateCache(IFileAccessor* accessor, const char* fileName, IError** error) {
    const Ref<IFileAccessor> translating(new JsFileAccessor(accessor));
    Ref<IError> local;
    const Ref<IFile> file = openText(translating.get(), fileName, local.out());
    if (local) {
        ErrorFactory::throwStack(error, local.get());
        return false;
    }
    void* translated = nullptr;
    if (file && file->is(JsFile::ID) && file->to(JsFile::ID, &translated)) {
        std::vector<int> lines = static_cast<JsFile*>(translated)->getLines();
        mCache.add(file->id(), lines);
    }
    return true;
}

void JsLanguage::convertError(IError** error, IError* source) {
    if (!source) return;
    for (std::uint64_t i = 0, count = source->count(); i < count; ++i) {
        const Ref<IErrorEntry> entry(source->get(i));
        if (!entry) continue;
        int line = entry->line();
        if (entry->file() && StringUtil::like(kScripts, entry->file())) mCache.getLine(entry->file(), line);
        ErrorFactory::throwError(error, entry->stage(), entry->code(), entry->message(), entry->file(), line);
    }
}

void JsLanguage::release() { delete this; }

}  // namespace vexil3::js
