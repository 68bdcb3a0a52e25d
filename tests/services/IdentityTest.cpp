#include <algorithm>
#include <set>
#include <thread>

#include "tests/services/Support.h"

namespace vexil3::test {
namespace {

using Words = std::vector<unsigned long>;

Words wordsOf(_GUID id) {
    Words words{id.Data1, id.Data2, id.Data3};
    words.insert(words.end(), std::begin(id.Data4), std::end(id.Data4));
    return words;
}

TEST(Identity, NoTwoInterfacesShareOne) {
    const std::vector<_GUID> all{IObject::ID,
                                 IObjectNoRef::ID,
                                 IError::ID,
                                 IErrorEntry::ID,
                                 IString::ID,
                                 IExecutable::ID,
                                 IExecutableArgs::ID,
                                 IFile::ID,
                                 IFileEnumerator::ID,
                                 IFileAccessor::ID,
                                 IMetadataProvider::ID,
                                 IPriceStream::ID,
                                 IParameters::ID,
                                 IParametersFactory::ID,
                                 IValueMap::ID,
                                 IOwnerDrawnContext::ID,
                                 IHost::ID,
                                 IPermissions::ID,
                                 ILanguageService::ID,
                                 ILocalizationSource::ID,
                                 IProfileLocalization::ID,
                                 IProfile::ID,
                                 IInstanceCallback::ID,
                                 IIndicatorProfile::ID,
                                 IIndicatorProfileCallback::ID,
                                 IStreamValues::ID,
                                 IIndicatorInstanceCallback::ID,
                                 IIndicatorInstanceImplementation::ID,
                                 IIndicatorProfileImplementation::ID,
                                 IStrategyProfile::ID,
                                 IStrategyProfileCallback::ID,
                                 IStrategyInstanceCallback::ID,
                                 IStrategyInstanceImplementation::ID,
                                 IStrategyProfileImplementation::ID,
                                 ICreationStrategy::ID,
                                 ICreationStrategyCallback::ID,
                                 IToolProfile::ID,
                                 IToolProfileCallback::ID,
                                 IToolInstanceCallback::ID,
                                 IToolInstanceImplementation::ID,
                                 IToolProfileImplementation::ID,
                                 IMacroProfile::ID,
                                 IMacroProfileCallback::ID,
                                 IMacroInstanceCallback::ID,
                                 IMacroInstanceImplementation::ID,
                                 IMacroProfileImplementation::ID,
                                 IDebugger::ID,
                                 IDebuggerCallback::ID,
                                 ILoadMetadata::ID,
                                 ILanguage::ID};
    std::set<Words> distinct;
    for (const _GUID id : all) {
        EXPECT_EQ(id.Data1 >> 32, 0u);
        distinct.insert(wordsOf(id));
    }
    EXPECT_EQ(distinct.size(), all.size());
    EXPECT_EQ(distinct.count(wordsOf(_GUID{})), 0u) << "one was not filled in";
}

TEST(Identity, ServicesAnswerToTheirInterfacesOnly) {
    const Counted<FileSystemAccessor> accessor(new FileSystemAccessor);
    void* object = accessor.get();
    EXPECT_FALSE(accessor->to(IFile::ID, &object));
    EXPECT_EQ(object, nullptr);
    EXPECT_TRUE(accessor->to(IFileAccessor::ID, &object));
    EXPECT_EQ(object, static_cast<IFileAccessor*>(accessor.get()));
    EXPECT_FALSE(accessor->is(IObjectNoRef::ID));

    const std::unique_ptr<IString> text(IString::create());
    EXPECT_TRUE(text->is(IString::ID) && text->is(IObjectNoRef::ID));
    EXPECT_FALSE(text->is(IObject::ID));
}

TEST(Identity, ReleaseTellsWhetherTheObjectLives) {
    MemoryDiagnostic::gEnabled = 1;
    MemoryDiagnostic::reset();
    const std::uint64_t before = MemoryDiagnostic::alive();
    const auto* accessor = new FileSystemAccessor;
    accessor->addRef();
    EXPECT_EQ(MemoryDiagnostic::alive(), before + 1);
    EXPECT_TRUE(accessor->release());
    EXPECT_FALSE(accessor->release());
    EXPECT_EQ(MemoryDiagnostic::registered(), 1u);
    EXPECT_EQ(MemoryDiagnostic::released(), 1u);
    EXPECT_EQ(MemoryDiagnostic::alive(), before);
    MemoryDiagnostic::gEnabled = 0;
    Counted<FileSystemAccessor>(new FileSystemAccessor).reset();
    EXPECT_EQ(MemoryDiagnostic::registered(), 1u) << "counted while diagnostics were off";
}

TEST(Identity, DiagnosticsCountFromAllThreads) {
    constexpr int kThreads = 4;
    constexpr int kObjects = 2000;
    MemoryDiagnostic::gEnabled = 1;
    MemoryDiagnostic::reset();
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([] {
            for (int n = 0; n < kObjects; ++n) Counted<FileSystemAccessor>(new FileSystemAccessor).reset();
        });
    for (std::thread& thread : threads) thread.join();
    MemoryDiagnostic::gEnabled = 0;
    EXPECT_EQ(MemoryDiagnostic::registered(), std::uint64_t{kThreads} * kObjects);
    EXPECT_EQ(MemoryDiagnostic::released(), std::uint64_t{kThreads} * kObjects);
}

TEST(Identity, MutexExcludes) {
    basekit3::Mutex mutex;
    int counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 20000; ++n) {
                const std::lock_guard lock(mutex);
                ++counter;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(counter, 80000);
}

}  // namespace
}  // namespace vexil3::test
