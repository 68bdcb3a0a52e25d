// What all classes share with the host: identity, counts, the order of their operations.
#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

#include "doubles/MemoryFiles.h"
#include "files/JsFile.h"
#include "files/JsFileAccessor.h"
#include "language/JsLanguage.h"
#include "lines/JSDebuggerCallback.h"
#include "module/Kinds.h"
#include "translation/IProcessRunner.h"

namespace vexil3::test {

namespace {

_GUID guid(const char* text) {
    unsigned long first, last;
    unsigned int second, third, fourth;
    EXPECT_EQ(std::sscanf(text, "%8lx-%4x-%4x-%4x-%12lx", &first, &second, &third, &fourth, &last), 5);
    _GUID id{first, static_cast<std::uint16_t>(second), static_cast<std::uint16_t>(third), {}};
    id.Data4[0] = static_cast<std::uint8_t>(fourth >> 8);
    id.Data4[1] = static_cast<std::uint8_t>(fourth);
    for (int i = 0; i < 6; ++i) id.Data4[7 - i] = static_cast<std::uint8_t>(last >> (8 * i));
    return id;
}

// Every identifier that any class answers to.
const std::vector<_GUID> kAll = {IObject::ID,
                                 IObjectNoRef::ID,
                                 ILanguage::ID,
                                 IFile::ID,
                                 IFileAccessor::ID,
                                 IDebugger::ID,
                                 IDebuggerCallback::ID,
                                 IExecutable::ID,
                                 IProfile::ID,
                                 IProfileLocalization::ID,
                                 IIndicatorProfile::ID,
                                 IIndicatorProfileCallback::ID,
                                 IIndicatorProfileImplementation::ID,
                                 IIndicatorInstanceImplementation::ID,
                                 IStrategyProfile::ID,
                                 IStrategyProfileCallback::ID,
                                 IStrategyProfileImplementation::ID,
                                 IStrategyInstanceImplementation::ID,
                                 IToolProfile::ID,
                                 IToolProfileCallback::ID,
                                 IToolProfileImplementation::ID,
                                 IToolInstanceImplementation::ID,
                                 IMacroProfile::ID,
                                 IMacroProfileCallback::ID,
                                 IMacroProfileImplementation::ID,
                                 IMacroInstanceImplementation::ID,
                                 js::JsFile::ID,
                                 js::JsFileAccessor::ID,
                                 js::JSDebugger::ID,
                                 js::JSDebuggerCallback::ID,
                                 js::JsLanguage::ID,
                                 js::IndicatorProfileCallback::ID,
                                 js::IndicatorInstanceImplementation::ID,
                                 js::StrategyProfileCallback::ID,
                                 js::StrategyProfileImplementation::ID,
                                 js::StrategyInstanceImplementation::ID,
                                 js::ToolInstanceImplementation::ID,
                                 js::MacroProfileCallback::ID,
                                 js::MacroProfileImplementation::ID,
                                 js::MacroInstanceImplementation::ID};

// `object` answers to exactly these, each with its own address, but for one with a part's.
template <class Object>
void expectAnswers(const Object& object, const char* id, std::vector<_GUID> known, const void* part = nullptr) {
    EXPECT_TRUE(Object::ID == guid(id)) << id;
    known.push_back(Object::ID);
    for (const _GUID& asked : kAll) {
        bool expected = false;
        for (const _GUID& one : known) expected = expected || one == asked;
        EXPECT_EQ(object.is(asked), expected) << id << ' ' << std::hex << asked.Data1;
        void* found = somewhere<void>(1);
        EXPECT_EQ(object.to(asked, &found), expected);
        const void* address = part && asked == IProfileLocalization::ID ? part : &object;
        EXPECT_EQ(found, expected ? address : nullptr) << id << ' ' << std::hex << asked.Data1;
    }
}

template <class Kind>
void expectKindAnswers(const char* profileID, const char* instanceID, const char* callbackID) {
    js::FileLinesCache cache;
    const Ref<typename Kind::Adapter> profile(new typename Kind::Adapter(new typename Kind::Recorder, &cache));
    std::vector<_GUID> known = {Kind::Interface::ID, IObject::ID};
    if constexpr (std::is_base_of_v<IProfileLocalization, typename Kind::Adapter>) {
        known.push_back(IProfileLocalization::ID);
        const void* part = static_cast<const IProfileLocalization*>(profile.get());
        EXPECT_NE(part, static_cast<const void*>(profile.get()));
        expectAnswers(*profile.get(), profileID, known, part);
    } else {
        expectAnswers(*profile.get(), profileID, known);
    }
    const Ref<typename Kind::Instance> instance(profile->getInstanceImplementation());
    expectAnswers(static_cast<const typename Kind::InstanceAdapter&>(*instance.get()), instanceID,
                  {Kind::Instance::ID, IExecutable::ID, IObject::ID});
    const typename Kind::Wrapper wrapper;
    expectAnswers(wrapper, callbackID, {Kind::Callback::ID, Kind::Profile::ID, IProfile::ID, IObjectNoRef::ID});
}

template <class... Operations>
void expectOrder(std::size_t first, Operations... operations) {
    const std::size_t slots[] = {slotOf(operations)...};
    for (std::size_t i = 0; i < sizeof...(operations); ++i) EXPECT_EQ(slots[i], first + i) << "operation " << i;
}

// Where operations of its own begin, behind those of a root.
constexpr std::size_t kAfterObjectNoRef = 4, kAfterObject = 6;

template <class I, class... Operations>
void expectInstanceOrder(Operations... operations) {
    expectOrder(kAfterObject, &I::findMember, &I::invoke, &I::isArray, &I::init, operations...);
}

template <class I, class... Operations>
void expectProfileOrder(Operations... operations) {
    expectOrder(kAfterObjectNoRef, &I::getType, &I::getLanguage, &I::getObjectID, &I::getID, &I::getName,
                &I::getDescription, &I::getParameters, &I::getTags, &I::isPublic, &I::getFileAccessor,
                &I::activeInstances, &I::getDomain, &I::getHost, operations...);
}

}  // namespace

TEST(ObjectModel, EveryClassAnswersToItsInterfacesAndNothingElse) {
    std::vector<int> lines;
    const Ref<js::JsFile> file(
        new js::JsFile("f", "", lines, IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text));
    expectAnswers(*file.get(), "7E74D43D-2D40-4129-A014-D78DE5304032", {IFile::ID, IObject::ID});
    const Ref<MemoryAccessor> files(new MemoryAccessor);
    const Ref<js::JsFileAccessor> accessor(new js::JsFileAccessor(files.get()));
    expectAnswers(*accessor.get(), "B5564FC1-7A44-4615-A939-229A470443AE", {IFileAccessor::ID, IObject::ID});
    const js::JsLanguage language(nullptr);
    expectAnswers(language, "1CDD0E25-A471-46F8-BDE7-3BDE1A39E8DE", {ILanguage::ID, IObjectNoRef::ID});
    const js::JSDebugger debugger(nullptr);
    expectAnswers(debugger, "E992BF8D-2935-45C5-862E-8E6F3FBA3C08", {IDebugger::ID, IObjectNoRef::ID});
    const js::JSDebuggerCallback callback(nullptr, nullptr);
    expectAnswers(callback, "34D3A6B6-2415-4A22-9F24-95CF4C17A872", {IDebuggerCallback::ID, IObjectNoRef::ID});

    expectKindAnswers<IndicatorKind>("1CDD0E25-A471-46F8-BDE7-3BDE1A39E8DE", "0AE326E8-7C4D-4394-9DDA-E24CC398CAC2",
                                     "0E859FB9-17C3-4A72-B057-3B4B1525271A");
    expectKindAnswers<StrategyKind>("AE83FC56-3894-4DA2-A935-449AF41BDACA", "A22D9ED9-C2C6-40E4-B3B4-5F8914BCCB11",
                                    "32237B4D-F1F6-4B63-9428-7E0B33AC260F");
    expectKindAnswers<ToolKind>("AE83FC56-3894-4DA2-A935-449AF41BDACA", "0AD1787F-A941-4176-AC73-52760F6BA972",
                                "32237B4D-F1F6-4B63-9428-7E0B33AC260F");
    expectKindAnswers<MacroKind>("2BC16F9B-E632-4D79-84FA-294A9D42B47E", "9E0ED974-9FA3-463E-AFF4-8E2F8ECEE937",
                                 "F469A96A-FE6C-447B-84E8-3764CC592822");
}

TEST(ObjectModel, TheLastReleaseDestroysAndDiagnosticsFollow) {
    const auto make = [] {
        std::vector<int> lines;
        return new js::JsFile("f", "", lines, IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text);
    };
    MemoryDiagnostic::reset();
    MemoryDiagnostic::gEnabled = 1;
    const js::JsFile* file = make();
    file->addRef();
    EXPECT_TRUE(file->release());
    EXPECT_EQ(MemoryDiagnostic::alive(), 1u);
    EXPECT_FALSE(file->release());
    EXPECT_EQ(MemoryDiagnostic::released(), 1u);
    MemoryDiagnostic::gEnabled = 0;
    make()->release();
    EXPECT_EQ(MemoryDiagnostic::registered(), 1u);
    EXPECT_EQ(MemoryDiagnostic::released(), 1u);

    const Ref<js::JsFile> shared(make());
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 20000; ++n) {
                shared->addRef();
                EXPECT_TRUE(shared->release());
            }
        });
    for (std::thread& thread : threads) thread.join();
    shared->addRef();
    EXPECT_TRUE(shared->release());
}

TEST(ObjectModel, OperationsStandInTheOrderThatHostsCallThemBy) {
    expectOrder(2, &IObjectNoRef::is, &IObjectNoRef::to);
    expectOrder(2, &IObject::is, &IObject::to, &IObject::addRef, &IObject::release);
    expectOrder(kAfterObject, &IError::count, &IError::get);
    expectOrder(kAfterObject, &IErrorEntry::stage, &IErrorEntry::code, &IErrorEntry::message, &IErrorEntry::file,
                &IErrorEntry::line, &IErrorEntry::column);
    expectOrder(2, &js::IProcessRunner::runExternalCommand, &js::IProcessRunner::cancel);

    using L = js::JsLanguage;
    expectOrder(kAfterObjectNoRef, &L::setOption, &L::canCompile, &L::compile, &L::checkSyntax, &L::recognizeFile,
                &L::setDebugger, &L::createIndicatorProfile, &L::createStrategyProfile, &L::createToolProfile,
                &L::createMacroProfile, &L::release);
    using F = js::JsFile;
    expectOrder(kAfterObject, &F::id, &F::seek, &F::position, &F::size, &F::eof, &F::read, &F::readLine,
                &F::readLineUnicode, &F::readDouble, &F::setvbuf, &F::write, &F::writeLine, &F::writeLineUnicode,
                &F::flush);
    using A = js::JsFileAccessor;
    using Files = IFileEnumerator*;
    expectOrder(kAfterObject, &A::resolvePath, &A::location, static_cast<Files (A::*)(bool, IError**)>(&A::enumerator),
                static_cast<Files (A::*)(const char**, bool, IError**)>(&A::enumerator),
                static_cast<Files (A::*)(const char*, const char**, bool, IError**)>(&A::enumerator), &A::exists,
                &A::isSupported, &A::open);
    expectOrder(kAfterObjectNoRef, &js::JSDebugger::objectCreated, &js::JSDebugger::lineExecuting);
    using D = js::JSDebuggerCallback;
    expectOrder(kAfterObjectNoRef, &D::calculateWatch, &D::prepareCallStack, &D::callStackDepth, &D::getCallStackFrame,
                &D::prepareVarList, &D::varCount, &D::varName);

    using IP = js::IndicatorProfileImplementation;
    expectOrder(kAfterObject, &IP::init, &IP::getLanguage, &IP::getInstanceImplementation);
    using SP = js::StrategyProfileImplementation;
    expectOrder(kAfterObject, &SP::init, &SP::getLanguage, &SP::getInstanceImplementation);
    using TP = js::ToolProfileImplementation;
    expectOrder(kAfterObject, &TP::init, &TP::getLanguage, &TP::getInstanceImplementation, &TP::getIconStatus);
    using MP = js::MacroProfileImplementation;
    expectOrder(kAfterObject, &MP::init, &MP::getLanguage, &MP::getInstanceImplementation, &MP::getIconStatus,
                &MP::getLocalizationFile);

    using II = js::IndicatorInstanceImplementation;
    expectInstanceOrder<II>(&II::prepare, &II::update, &II::notifyFinished, &II::releaseInstance, &II::draw);
    using SI = js::StrategyInstanceImplementation;
    expectInstanceOrder<SI>(&SI::prepare, &SI::update, &SI::notifyFinished, &SI::releaseInstance,
                            &SI::canChangeParameters, &SI::checkParameters, &SI::changeParameters);
    using TI = js::ToolInstanceImplementation;
    expectInstanceOrder<TI>(&TI::creationStarted, &TI::click, &TI::doubleClick, &TI::drag, &TI::dragEnd,
                            &TI::creationFinished, &TI::prepare, &TI::moveStart, &TI::move, &TI::moveFinished,
                            &TI::moveReferencePointStart, &TI::moveReferencePoint, &TI::moveReferencePointFinished,
                            &TI::notifyFinished, &TI::releaseInstance, &TI::canChangeParameters, &TI::checkParameters,
                            &TI::changeParameters, &TI::draw);
    using MI = js::MacroInstanceImplementation;
    expectInstanceOrder<MI>(&MI::releaseInstance, static_cast<bool (MI::*)(IError**)>(&MI::execute),
                            static_cast<bool (MI::*)(IParameters*, IError**)>(&MI::execute), &MI::notifyFinished,
                            &MI::kill);

    using IC = js::IndicatorProfileCallback;
    expectProfileOrder<IC>(&IC::getRequiredSource, &IC::getIndicatorType, &IC::createInstance, &IC::setID, &IC::setName,
                           &IC::setDescription, &IC::getParametersFactory, &IC::setRequiredSource,
                           &IC::setIndicatorType, &IC::getPermissions);
    using SC = js::StrategyProfileCallback;
    expectProfileOrder<SC>(&SC::getStrategyType, &SC::createInstance, &SC::setID, &SC::setName, &SC::setDescription,
                           &SC::getParametersFactory, &SC::setStrategyType, &SC::getPermissions);
    using TC = js::ToolProfileCallback;
    expectProfileOrder<TC>(&TC::getCreationStrategy, &TC::createInstance, &TC::getIcon, &TC::getIconStatus, &TC::setID,
                           &TC::setName, &TC::setDescription, &TC::getCreationStrategyCallback,
                           &TC::getParametersFactory, &TC::getPermissions, &TC::setIcon);
    using MC = js::MacroProfileCallback;
    expectProfileOrder<MC>(&MC::createInstance, &MC::getIcon, &MC::getTooltip, &MC::getIconStatus, &MC::setID,
                           &MC::setName, &MC::setDescription, &MC::getPermissions, &MC::setIcon, &MC::setTooltip);
}

}  // namespace vexil3::test
