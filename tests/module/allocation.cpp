// Memory that runs out at any point: each operation gives its result or an error, throws nothing, holds
// nothing back, and works again afterwards.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include <vexil3/file_system_accessor.h>

#include "doubles/HostObjects.h"
#include "doubles/LuaLanguage.h"
#include "doubles/Translator.h"
#include "files/JsFile.h"
#include "files/JsFileAccessor.h"
#include "language/JsLanguage.h"
#include "language/Resources.h"

namespace {

long gUntilFailure = -1;  // allocations that still succeed; negative: all do
bool gForGood = false;    // do all that follow fail, too?
long gFailures = 0;

void* allocate(std::size_t size) noexcept {
    if (gUntilFailure == 0) {
        ++gFailures;
        if (!gForGood) gUntilFailure = -1;
        return nullptr;
    }
    if (gUntilFailure > 0) --gUntilFailure;
    return std::malloc(size ? size : 1);
}

void* allocateOrThrow(std::size_t size) {
    if (void* memory = allocate(size)) return memory;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace vexil3::test {

namespace {

const char kLua[] = "local x = 1\nprint(x)\n";
const Fault kRaised = {4, 100, "s.jsl:2: no value\n\ts.jsl:3: in main chunk", "s.jsl", 1, 7};
const char kMapped[] = "s.jsl:12: no value\n\ts.jsl:13: in main chunk";

class Allocation : public testing::Test {
protected:
    Allocation() {
        MemoryDiagnostic::gEnabled = 1;
        mPlace.translatesTo(kLua, "0\n11\n12\n13\n");
        mPlace.script("s.jsl", "let x;");
        mFiles = Ref<FileSystemAccessor>(new FileSystemAccessor);
        mFiles->init((mPlace / "scripts").c_str(), nullptr, nullptr);
    }

    // Runs `act` with each of its allocations failing in turn, alone and with all that follow. It
    // gives what it has to say about the outcome, "" when that is right. `between` runs in health.
    template <class Act, class Between>
    void withEveryFailure(Act act, Between between) {
        for (const bool forGood : {false, true}) {
            long injected = 0;
            for (long n = 0;; ++n) {
                between();
                MemoryDiagnostic::reset();
                const std::ptrdiff_t descriptors = openDescriptors();
                gForGood = forGood;
                gFailures = 0;
                gUntilFailure = n;
                const char* said = "something was thrown";
                try {
                    said = act();
                } catch (...) {
                }
                gUntilFailure = -1;
                ASSERT_STREQ(said, "") << "allocation " << n << (forGood ? " and all that follow" : "");
                EXPECT_EQ(MemoryDiagnostic::registered(), MemoryDiagnostic::released()) << "allocation " << n;
                EXPECT_EQ(openDescriptors(), descriptors) << "allocation " << n;
                EXPECT_TRUE(mPlace.tidy()) << "allocation " << n;
                if (!gFailures) break;
                ++injected;
                if (forGood) continue;
                ASSERT_STREQ(act(), "") << "in health again, after allocation " << n;
            }
            mInjected += static_cast<int>(injected);
            EXPECT_GT(injected, 0);
        }
        RecordProperty("injected", mInjected);
    }
    template <class Act>
    void withEveryFailure(Act act) {
        withEveryFailure(act, [] {});
    }

    const char* openScript() {
        const Ref<js::JsFileAccessor> accessor(new (std::nothrow) js::JsFileAccessor(mFiles.get()));
        if (!accessor) return "";
        Ref<IError> error;
        const Ref<IFile> file(
            accessor->open("s.jsl", IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text, error.out()));
        if (!file) return error && gFailures ? "" : "neither a file nor an error";
        void* translated = nullptr;
        if (!file->to(js::JsFile::ID, &translated)) return "not translated";
        return std::strcmp(static_cast<js::JsFile*>(translated)->getSource(), kLua) ? "a wrong text" : "";
    }

    // Errors come with JavaScript lines; where memory ran out, they may come as they were, or tell that.
    static const char* judge(const Ref<IError>& error) {
        if (!error) return "no error";
        if (error->count() == 0) return gFailures ? "" : "an empty error";
        const Ref<IErrorEntry> entry(error->get(0));
        const char* message = entry->message();
        if (message && !std::strcmp(message, kMapped) && entry->line() == 11) return "";
        return gFailures ? "" : "a wrong line";
    }

    Workplace mPlace;
    Ref<FileSystemAccessor> mFiles;
    int mInjected = 0;
};

}  // namespace

TEST_F(Allocation, OpeningFromTheCache) {
    ASSERT_STREQ(openScript(), "");
    withEveryFailure([this] { return openScript(); });
}

TEST_F(Allocation, OpeningWithTheTranslator) {
    withEveryFailure([this] { return openScript(); },
                     [this] {
                         std::filesystem::remove_all(mPlace / "cache");
                         std::filesystem::create_directory(mPlace / "cache");
                     });
}

TEST_F(Allocation, OpeningWhatTheTranslatorRefuses) {
    mPlace.misbehaves("printf 'source(3,1): bad\\nworse\\n' >\"$6\"; exit 1");
    withEveryFailure([this] {
        const Ref<js::JsFileAccessor> accessor(new (std::nothrow) js::JsFileAccessor(mFiles.get()));
        if (!accessor) return "";
        Ref<IError> error;
        const Ref<IFile> file(
            accessor->open("s.jsl", IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text, error.out()));
        return file ? "a file" : !error ? "no error" : gFailures || error->count() == 2 ? "" : "too few errors";
    });
}

TEST_F(Allocation, FromProfileToRunningScript) {
    auto* const lua = new LuaLanguage;
    lua->journal.recording = false;
    js::JsLanguage* const language = new js::JsLanguage(lua);
    ASSERT_TRUE(language->updateCache(mFiles.get(), "s.jsl", nullptr));
    HostIndicator host;
    host.journal.recording = false;
    host.objectID = "s.jsl";
    host.accessor = Ref<IFileAccessor>::share(mFiles.get());
    HostIndicatorInstance callback(&host);
    withEveryFailure([&]() -> const char* {
        lua->profilesRaise = {};
        Ref<IError> error;
        const Ref<IIndicatorProfileImplementation> profile(
            language->createIndicatorProfile(mFiles.get(), "s.jsl", nullptr, error.out()));
        if (!profile) return error && gFailures ? "" : "neither a profile nor an error";
        if (!profile->init(&host, error.out())) return error && gFailures ? "" : "init failed";
        const Ref<IIndicatorInstanceImplementation> instance(profile->getInstanceImplementation());
        if (!instance) return gFailures ? "" : "no instance";
        return instance->init(&callback, error.out()) && !error ? "" : "an error of the instance";
    });
    language->release();
}

TEST_F(Allocation, RewritingErrors) {
    auto* const lua = new LuaLanguage;
    lua->journal.recording = false;
    const Ref<IError> raised = makeError({kRaised});
    lua->profilesRaise.ready = lua->instancesRaise.ready = raised.get();
    js::JsLanguage* const language = new js::JsLanguage(lua);
    HostIndicator host;
    host.journal.recording = false;
    host.objectID = "s.jsl";
    host.accessor = Ref<IFileAccessor>::share(mFiles.get());
    HostIndicatorInstance callback(&host);
    {
        const Ref<IIndicatorProfileImplementation> profile(
            language->createIndicatorProfile(mFiles.get(), "s.jsl", nullptr, nullptr));
        const Ref<IIndicatorInstanceImplementation> instance(profile->getInstanceImplementation());
        instance->init(&callback, nullptr);
        withEveryFailure([&] {
            Ref<IError> error;
            profile->init(&host, error.out());
            return judge(error);
        });
        withEveryFailure([&] {
            Ref<IError> error;
            instance->update(1, IIndicatorInstanceImplementation::AddBar, error.out());
            return judge(error);
        });
        withEveryFailure([&] {
            Arguments arguments;
            instance->invoke(1, IExecutable::Call, nullptr, &arguments);
            return judge(Ref<IError>(arguments.getError()));
        });
    }
    lua->raised.ready = raised.get();
    withEveryFailure([&] {
        Ref<IError> error;
        const bool correct = language->checkSyntax(nullptr, mFiles.get(), "s.jsl", nullptr, error.out());
        return correct ? "no fault" : error ? "" : "no error";
    });
    language->release();
}

TEST_F(Allocation, DebuggerEventsAndMessages) {
    class Debugger final : public IDebugger {
        bool is(_GUID) const override { return false; }
        bool to(_GUID, void**) const override { return false; }
        void objectCreated(IObjectNoRef*) override {}
        int lineExecuting(IObjectNoRef*, IDebuggerCallback*, const char*, int line) override { return line; }
    } debugger;
    js::FileLinesCache cache;
    std::vector<int> table = {0, 11, 12};
    cache.add("s.jsl", table);
    js::JSDebugger bridge(&cache);
    bridge.setDebugger(&debugger);
    gForGood = true;
    gUntilFailure = 0;
    const int line = bridge.lineExecuting(nullptr, nullptr, "@s.jsl", 2);
    gUntilFailure = -1;
    EXPECT_EQ(line, 12) << "an event needs no memory";

    withEveryFailure(
        [] {
            const char* const held = Resources::getErrorIndexOutOfBounds();
            if (Resources::getErrorLUA() != std::string_view("LUA not set")) return "a wrong text";
            return Resources::getErrorIndexOutOfBounds() == held ? "" : "a text goes while somebody has it";
        },
        [] { Resources::deinit(); });
    withEveryFailure(
        [] {
            const std::string_view text =
                Resources::getErrorCantOpen("a name that is too long for a string without memory");
            return text.starts_with("Cannot open the file") ? "" : "a wrong text";
        },
        [] { Resources::deinit(), Resources::mLastParameterError = std::string(); });
}

}  // namespace vexil3::test

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
