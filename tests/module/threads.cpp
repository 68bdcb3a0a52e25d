// Eight threads of a host over one language, for VEXIL_TEST_SECONDS (two without): no wrong line, no
// wrong text, and no race where a thread sanitizer looks on.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include <vexil3/file_system_accessor.h>

#include "doubles/HostObjects.h"
#include "doubles/LuaLanguage.h"
#include "doubles/Translator.h"
#include "files/JsFile.h"
#include "files/JsFileAccessor.h"
#include "language/JsLanguage.h"
#include "language/Resources.h"
#include "module/Kinds.h"

namespace vexil3::test {

namespace {

constexpr int kScripts = 3, kThreads = 8;

class EchoingDebugger final : public IDebugger {
    bool is(_GUID) const override { return false; }
    bool to(_GUID, void**) const override { return false; }
    void objectCreated(IObjectNoRef*) override {}
    int lineExecuting(IObjectNoRef*, IDebuggerCallback*, const char*, int line) override { return line; }
};

// Line 2 of each script comes from its own line: 12, 22, 32.
int lineOf(int script) { return 10 * (script + 1) + 2; }

template <class Kind, class Create>
std::string errorOfRun(js::JsLanguage* language, Create create, IFileAccessor* files, int script) {
    const std::string id = std::to_string(script) + ".jsl";
    typename Kind::Host host;
    host.objectID = id.c_str();
    host.accessor = Ref<IFileAccessor>::share(files);
    typename Kind::HostInstance callback(&host);
    Ref<IError> error;
    const Ref<typename Kind::Interface> profile((language->*create)(files, id.c_str(), nullptr, error.out()));
    if (!profile) return "no profile " + testing::PrintToString(faults(error));
    profile->init(&host, nullptr);
    const Ref<typename Kind::Instance> instance(profile->getInstanceImplementation());
    instance->init(&callback, nullptr);
    instance->releaseInstance(error.out());
    return faults(error).at(0).message;
}

}  // namespace

TEST(Threads, ShareALanguage) {
    Workplace place;
    const Ref<FileSystemAccessor> files(new FileSystemAccessor);
    files->init((place / "scripts").c_str(), nullptr, nullptr);
    auto* const lua = new LuaLanguage;
    lua->journal.recording = false;
    lua->instancesRaise = {"0.jsl:2: 1.jsl:2: 2.jsl:2: x", nullptr, 0};
    js::JsLanguage* const language = new js::JsLanguage(lua);
    EchoingDebugger debugger;
    language->setDebugger(&debugger);
    for (int script = 0; script < kScripts; ++script) {
        place.script(std::to_string(script) + ".jsl", "script " + std::to_string(script));
        place.translatesTo("lua " + std::to_string(script), "0\n1\n" + std::to_string(lineOf(script)) + "\n");
        ASSERT_TRUE(language->updateCache(files.get(), (std::to_string(script) + ".jsl").c_str(), nullptr));
    }
    place.misbehaves("cat \"$4\" >\"$5\"");

    std::atomic<long> rounds{0};
    const char* const seconds = std::getenv("VEXIL_TEST_SECONDS");
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds ? std::atoi(seconds) : 2);
    const auto work = [&](int thread) {
        for (int i = 0; std::chrono::steady_clock::now() < end; ++i, ++rounds) {
            const int script = (thread + i) % kScripts;
            const std::string id = std::to_string(script) + ".jsl";
            std::string expected;
            for (int s = 0; s < kScripts; ++s)
                expected += std::to_string(s) + ".jsl:" + std::to_string(s == script ? lineOf(s) : 2) + ": ";
            const std::string seen =
                i % 4 == 0
                    ? errorOfRun<IndicatorKind>(language, &ILanguage::createIndicatorProfile, files.get(), script)
                : i % 4 == 1
                    ? errorOfRun<StrategyKind>(language, &ILanguage::createStrategyProfile, files.get(), script)
                : i % 4 == 2 ? errorOfRun<ToolKind>(language, &ILanguage::createToolProfile, files.get(), script)
                             : errorOfRun<MacroKind>(language, &ILanguage::createMacroProfile, files.get(), script);
            ASSERT_EQ(seen, expected + "x");
            for (int event = 0; event < 20; ++event)
                ASSERT_EQ(lua->debugger->lineExecuting(nullptr, nullptr, ("@" + id).c_str(), 2), lineOf(script));
            Ref<IError> converted;
            language->convertError(converted.out(), makeError({{4, 100, "m", id, 2, 0}}).get());
            ASSERT_EQ(faults(converted).at(0).line, lineOf(script));
            ASSERT_EQ(Resources::getErrorCantOpen(id.c_str()), "Cannot open the file " + id + ".");

            if (thread != 0) continue;
            const std::string source = "changed " + std::to_string(i);
            place.script("changing.jsl", source);
            const Ref<js::JsFileAccessor> accessor(new js::JsFileAccessor(files.get()));
            const Ref<IFile> file(
                accessor->open("changing.jsl", IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text, nullptr));
            void* translated = nullptr;
            ASSERT_TRUE(file && file->to(js::JsFile::ID, &translated));
            ASSERT_EQ(static_cast<js::JsFile*>(translated)->getSource(), source);
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
    std::printf("%ld rounds in %d threads\n", rounds.load(), kThreads);
    EXPECT_GT(rounds, kThreads);
    language->release();
    EXPECT_TRUE(place.tidy());
}

}  // namespace vexil3::test

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
