// The translation cache: the life of an entry, damage, failing writes, and processes that share it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <random>

#include "doubles/Fault.h"
#include "doubles/MemoryFiles.h"
#include "doubles/Translator.h"
#include "translation/CacheLock.h"
#include "translation/CacheProcessRunner.h"
#include "translation/Descriptor.h"
#include "translation/MD5Calc.h"
#include "translation/ProcessRunnerFactory.h"

namespace vexil3::test {

namespace {

using Result = std::unique_ptr<js::ProcessResult>;

// The translation of a source, or what it is told to answer.
class InnerRunner final : public js::IProcessRunner {
public:
    struct Log {
        int runs = 0, cancels = 0, gone = 0;
        std::string name;
        int code = 0;
        std::function<void()> meanwhile;
    };
    explicit InnerRunner(Log& log) : mLog(log) {}
    ~InnerRunner() override { ++mLog.gone; }
    js::ProcessResult* runExternalCommand(const char* sourcePath, const char* scriptName) override {
        ++mLog.runs;
        mLog.name = scriptName;
        if (mLog.meanwhile) mLog.meanwhile();
        const std::string source = readFile(sourcePath);
        return mLog.code ? new js::ProcessResult(mLog.code, "failed", "partly")
                         : new js::ProcessResult(0, ("1\n" + source).c_str(), ("lua " + source).c_str());
    }
    void cancel() override { ++mLog.cancels; }

private:
    Log& mLog;
};

class Cache : public testing::Test {
protected:
    Cache() { source("js"); }
    ~Cache() override { EXPECT_EQ(openDescriptors(), mDescriptors); }

    void source(const std::string& text) { writeFile(mSource, text); }
    Result run(const char* name = "a.jsl") {
        js::CacheProcessRunner runner(new InnerRunner(mInner));
        return Result(runner.runExternalCommand(mSource.c_str(), name));
    }
    // One answer: its texts, and whether the translator was asked.
    std::string answer(const char* name = "a.jsl") {
        const int before = mInner.runs;
        const Result result = run(name);
        return std::to_string(result->getCode()) + ' ' + result->outText() + '|' + result->errText() +
               (mInner.runs == before ? " kept" : " made");
    }
    std::string entry(const std::string& file, const char* name = "a.jsl") const {
        return mFolder / ("cache/" + js::md5(name) + "/" + file);
    }

    TemporaryDirectory mFolder;
    const Variable mCacheDir{"VEXIL_JS_CACHE", mFolder / "cache"};
    const std::string mSource = mFolder / "source";
    InnerRunner::Log mInner;
    const std::ptrdiff_t mDescriptors = openDescriptors();
};

const char* const kFiles[] = {"md5sum", "lines", "content", "ok"};

}  // namespace

TEST_F(Cache, AnEntryLivesAsLongAsItsSource) {
    EXPECT_EQ(answer(), "0 lua js|1\njs made");
    EXPECT_EQ(mInner.name, "a.jsl");
    EXPECT_EQ(readFile(entry("md5sum")), js::md5("js"));
    EXPECT_EQ(readFile(entry("lines")), "1\njs");
    EXPECT_EQ(readFile(entry("content")), "lua js");
    EXPECT_EQ(entriesIn(entry("")), 4);
    EXPECT_EQ(std::filesystem::file_size(entry("ok")), 0u);
    EXPECT_EQ(answer(), "0 lua js|1\njs kept");

    source("jt");
    mInner.code = 256;
    EXPECT_EQ(answer(), "256 partly|failed made");
    source("js");
    EXPECT_EQ(answer(), "0 lua js|1\njs kept") << "a failure leaves the entry alone";
    mInner.code = 0;
    source("jt");
    EXPECT_EQ(answer(), "0 lua jt|1\njt made");
    EXPECT_EQ(readFile(entry("md5sum")), js::md5("jt"));
    EXPECT_EQ(answer(), "0 lua jt|1\njt kept");

    EXPECT_EQ(answer("dir/a.jsl"), "0 lua jt|1\njt made") << "the whole name counts";
    EXPECT_EQ(answer("../../a.jsl"), "0 lua jt|1\njt made");
    EXPECT_EQ(entriesIn(mFolder / "cache"), 3);
    EXPECT_EQ(mInner.gone, 8);
}

TEST_F(Cache, RefusalsTellWhy) {
    js::CacheProcessRunner runner(new InnerRunner(mInner));
    const std::pair<const char*, const char*> nulls[] = {{nullptr, "a"}, {mSource.c_str(), nullptr}};
    for (const auto& [path, name] : nulls) {
        const Result result(runner.runExternalCommand(path, name));
        EXPECT_EQ(result->getCode(), 1);
        EXPECT_STREQ(result->getErr(), "Object is NULL");
    }
    for (int known = 0; known < 2; ++known) {
        source("");
        EXPECT_EQ(answer(), "1 |File is empty kept") << "an entry " << known;
        std::filesystem::remove(mSource);
        const Result missing = run();
        EXPECT_EQ(missing->getCode(), 1);
        EXPECT_NE(missing->errText().find(mSource), std::string::npos) << missing->getErr();
        source("js");
        run();
    }
    EXPECT_EQ(mInner.runs, 1);
}

TEST_F(Cache, TheDirectoryIsMadeWithItsParentsOrTheConstructorThrows) {
    const Variable deep("VEXIL_JS_CACHE", mFolder / "x/y/z");
    EXPECT_EQ(answer(), "0 lua js|1\njs made");
    std::filesystem::remove_all(mFolder / "x");
    EXPECT_EQ(answer(), "0 lua js|1\njs made") << "gone between two runs";
    std::unique_ptr<js::CacheProcessRunner> runner(new js::CacheProcessRunner(new InnerRunner(mInner)));
    std::filesystem::remove_all(mFolder / "x");
    EXPECT_EQ(Result(runner->runExternalCommand(mSource.c_str(), "a"))->getCode(), 1) << "gone within one";

    mInner.gone = 0;
    const Variable file("VEXIL_JS_CACHE", mSource + "/below");
    EXPECT_ANY_THROW(js::CacheProcessRunner(new InnerRunner(mInner)));
    EXPECT_EQ(mInner.gone, 1) << "it was taken over";
    EXPECT_ANY_THROW(js::ProcessRunnerFactory::create());
}

TEST_F(Cache, DamageIsRepairedOrServedAsItIsButNeverMixed) {
    for (const std::string file : kFiles) {
        run();
        const std::string whole = readFile(entry(file));
        std::filesystem::remove(entry(file));
        EXPECT_EQ(answer(), "0 lua js|1\njs made") << file << " missing";
        EXPECT_EQ(answer(), "0 lua js|1\njs kept");
        for (const bool full : {false, true}) {
            std::filesystem::remove(entry(file));
            std::filesystem::create_directory(entry(file));
            if (full) writeFile(entry(file + "/x"), "x");
            EXPECT_EQ(answer(), "0 lua js|1\njs made") << file << " a folder";
            std::filesystem::remove_all(entry(file));
            EXPECT_EQ(run()->outText(), "lua js");
            EXPECT_EQ(answer(), "0 lua js|1\njs kept");
        }
        for (std::size_t length = 0; length < whole.size(); ++length) {
            writeFile(entry(file), whole.substr(0, length));
            // Only the digest is vouched for.
            const std::string cut = whole.substr(0, length);
            EXPECT_EQ(answer(), file == "md5sum"  ? "0 lua js|1\njs made"
                                : file == "lines" ? "0 lua js|" + cut + " kept"
                                                  : "0 " + cut + "|1\njs kept");
            writeFile(entry(file), whole);
        }
    }
    std::string digest = js::md5("js");
    for (char& c : digest) c = static_cast<char>(std::toupper(c));
    ASSERT_NE(digest, js::md5("js"));
    writeFile(entry("md5sum"), digest);
    EXPECT_EQ(answer(), "0 lua js|1\njs made");
    writeFile(entry("md5sum"), js::md5("js") + "\n");
    EXPECT_EQ(answer(), "0 lua js|1\njs made");
}

TEST_F(Cache, PermissionsAreObeyedAndNothingIsHalfKept) {
    using std::filesystem::perms;
    const auto all = perms::all & ~perms::others_write, none = perms::none, readable = all & ~perms::owner_write;
    run();
    const std::string cache = mFolder / "cache", folder = entry("");
    const struct {
        std::string path;
        perms granted;
        const char *known, *changed;  // the answers; what an error says ends with its reason
    } cases[] = {{entry("md5sum"), none, "Permission denied", "Permission denied"},
                 {entry("lines"), none, "Permission denied", "0 lua jt|1\njt made"},
                 {entry("content"), none, "Permission denied", "0 lua jt|1\njt made"},
                 {entry("ok"), none, "0 lua js|1\njs kept", "0 lua jt|1\njt made"},
                 {folder, none, "Permission denied", "Permission denied"},
                 {folder, readable, "0 lua js|1\njs kept", "0 lua jt|1\njt made"},
                 {cache, readable, "0 lua js|1\njs kept", "0 lua jt|1\njt made"},
                 {cache, none, "Permission denied", "Permission denied"},
                 {mSource, none, "Permission denied", "Permission denied"}};
    std::filesystem::permissions(mFolder.path(), perms::all);
    for (const auto& [path, granted, known, changed] : cases)
        for (const bool change : {false, true}) {
            SCOPED_TRACE(path + (change ? ", another source" : ""));
            source("js");
            run();
            source(change ? "jt" : "js");
            // Root obeys no permissions; nobody does, once all is nobody's.
            const pid_t child = fork();
            if (child == 0) {
                for (const auto& each : std::filesystem::recursive_directory_iterator(mFolder.path()))
                    if (chown(each.path().c_str(), 65534, 65534) != 0) _exit(2);
                std::filesystem::permissions(path, granted);
                if (getuid() == 0 && setuid(65534) != 0) _exit(2);
                std::string got = answer();
                if (got.starts_with("1 |") && got.ends_with(" kept")) got = got.substr(got.size() - 22, 17);
                EXPECT_EQ(got, change ? changed : known);
                fflush(stdout);
                _exit(HasFailure());
            }
            int status = 0;
            waitpid(child, &status, 0);
            std::filesystem::permissions(path, all);
            if (WEXITSTATUS(status) == 2) GTEST_SKIP() << "cannot give files and rights away here";
            EXPECT_EQ(status, 0);
            EXPECT_TRUE(answer().starts_with(change ? "0 lua jt|1\njt" : "0 lua js|1\njs")) << "in health again";
        }
}

TEST_F(Cache, StaleEntryLosesItsMarkerFirst) {
    run();
    std::filesystem::remove(entry("md5sum"));
    std::filesystem::create_directory(entry("md5sum"));
    source("new");
    EXPECT_EQ(answer(), "0 lua new|1\nnew made");
    EXPECT_FALSE(std::filesystem::exists(entry("ok")));
    EXPECT_EQ(readFile(entry("content")), "lua js") << "nothing else was touched";
}

TEST_F(Cache, RelativeDirectoryMarksItsEntriesAsAnyOther) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(mFolder.path());
    const Variable relative("VEXIL_JS_CACHE", "cache");
    EXPECT_EQ(answer(), "0 lua js|1\njs made");
    EXPECT_EQ(answer(), "0 lua js|1\njs kept");
    // The accessor sees the name from the folder itself.
    const std::string folder = mFolder / ("cache/cache/" + js::md5("a.jsl"));
    std::filesystem::remove(folder + "/content");
    std::filesystem::create_directory(folder + "/content");
    source("new");
    EXPECT_EQ(answer(), "0 lua new|1\nnew made");
    EXPECT_FALSE(std::filesystem::exists(folder + "/ok"));
    std::filesystem::current_path(before);
}

TEST_F(Cache, AnyFailingWriteStillDeliversAndNeverMarks) {
    js::CacheProcessRunner runner(new InnerRunner(mInner));
    const auto load = [&](MemoryAccessor* files) {
        return Result(
            runner.externalLoad(mSource.c_str(), "a", files, "md5sum", "content", "lines", mFolder / "ok", "digest"));
    };
    const Ref<MemoryAccessor> healthy(new MemoryAccessor);
    EXPECT_EQ(load(healthy.get())->getCode(), 0);
    const auto steps = healthy->journal.take();
    EXPECT_EQ(steps, (std::vector<std::string>{"open md5sum 0 1 2", "write 6", "open lines 0 1 2", "write 4",
                                               "open content 0 1 2", "write 6", "open " + (mFolder / "ok") + " 0 1 2",
                                               "write 0"}));
    EXPECT_EQ(healthy->files["content"] + healthy->files["lines"] + healthy->files["md5sum"], "lua js1\njsdigest");
    for (std::size_t step = 0; step < steps.size(); ++step) {
        const Ref<MemoryAccessor> files(new MemoryAccessor);
        files->callsUntilFailure = static_cast<int>(step);
        EXPECT_EQ(load(files.get())->outText(), "lua js");
        EXPECT_EQ(files->journal.take().size(), step + 1) << "nothing is written behind a failure";
    }
    mInner.code = 7;
    const Ref<MemoryAccessor> untouched(new MemoryAccessor);
    EXPECT_EQ(load(untouched.get())->getCode(), 7);
    EXPECT_TRUE(untouched->journal.take().empty());
}

TEST_F(Cache, AnyFailingReadIsReported) {
    js::CacheProcessRunner runner(new InnerRunner(mInner));
    for (const bool silent : {false, true})
        for (int step = 0; step < 3; ++step) {
            const Ref<MemoryAccessor> files(new MemoryAccessor);
            files->files["f"] = "text";
            files->silent = silent;
            // A size that fails says so by its error alone.
            if (silent && step == 1) continue;
            const Fault expected = silent ? Fault{2, 23, "Cannot read the file."} : Fault{2, 9, "broken"};
            Ref<IError> error;
            std::string digest = "kept";
            files->callsUntilFailure = step;
            EXPECT_EQ(runner.loadFile("f", files.get(), error.out()), "");
            EXPECT_EQ(faults(error), std::vector{expected}) << step;
            files->callsUntilFailure = step;
            EXPECT_FALSE(runner.calcMD5("f", files.get(), digest, error.out()));
            EXPECT_EQ(faults(error), std::vector{expected}) << step;
            EXPECT_EQ(digest, "kept");
            files->callsUntilFailure = step;
            files->reports = 2;
            const Result result(runner.externalLoad("f", "a", files.get(), "m", "c", "l", mFolder / "ok"));
            EXPECT_EQ(result->getCode(), 1);
            EXPECT_EQ(result->errText(), silent ? expected.message : "broken\nbroken");
        }
    const Ref<MemoryAccessor> files(new MemoryAccessor);
    files->files = {{"empty", ""}, {"f", "text"}};
    Ref<IError> error;
    std::string digest;
    EXPECT_FALSE(runner.calcMD5("empty", files.get(), digest, error.out()));
    EXPECT_EQ(faults(error), (std::vector<Fault>{{2, 23, "File is empty"}}));
    EXPECT_TRUE(runner.calcMD5("f", files.get(), digest, error.out()));
    EXPECT_EQ(digest, js::md5("text"));
    EXPECT_EQ(runner.loadFile("f", files.get(), error.out()), "text");
    EXPECT_FALSE(runner.writeFile("f", "x", (files->callsUntilFailure = 0, files.get())));
    EXPECT_TRUE(runner.writeFile("f", "x", files.get()));
    EXPECT_EQ(mInner.runs, 0);
}

TEST_F(Cache, CancelReachesTheTranslatorWhileItRuns) {
    js::CacheProcessRunner runner(new InnerRunner(mInner));
    runner.cancel();
    EXPECT_EQ(mInner.cancels, 0);
    mInner.meanwhile = [&] { runner.cancel(); };
    Result(runner.runExternalCommand(mSource.c_str(), "a"));
    EXPECT_EQ(mInner.cancels, 1);
    runner.cancel();
    EXPECT_EQ(mInner.cancels, 1);
}

TEST_F(Cache, TheLockIsFreeWhileTheTranslatorRuns) {
    mInner.meanwhile = [&] {
        const js::Descriptor directory(open((mFolder / "cache").c_str(), O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(flock(directory.get(), LOCK_EX | LOCK_NB), 0);
    };
    EXPECT_EQ(answer(), "0 lua js|1\njs made");
    EXPECT_EQ(answer(), "0 lua js|1\njs kept");
}

TEST_F(Cache, ChildForkedWhileTheLockIsHeldDoesNotKeepIt) {
    pid_t child = 0;
    {
        const js::CacheLock lock(mFolder.path(), js::CacheLock::Exclusive);
        child = fork();
        if (child == 0) pause();
    }
    EXPECT_TRUE(js::CacheLock(mFolder.path(), js::CacheLock::Exclusive).held());
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

TEST_F(Cache, ReadersAndWritersOfOtherProcessesAreWaitedForUntilTheyDie) {
    run();
    for (const int operation : {LOCK_EX, LOCK_SH}) {
        int ready[2];
        ASSERT_EQ(pipe(ready), 0);
        const pid_t holder = fork();
        if (holder == 0) {
            const int directory = open((mFolder / "cache").c_str(), O_RDONLY | O_CLOEXEC);
            if (flock(directory, operation) != 0 || write(ready[1], "x", 1) != 1) _exit(1);
            pause();
        }
        char byte;
        ASSERT_EQ(read(ready[0], &byte, 1), 1);
        close(ready[0]), close(ready[1]);
        // Readers don't wait for each other; a writer is waited for until it dies.
        const bool writer = operation == LOCK_EX;
        const pid_t killer = writer ? fork() : -1;
        if (killer == 0) usleep(300000), kill(holder, SIGKILL), _exit(0);
        EXPECT_EQ(answer(), "0 lua js|1\njs kept");
        EXPECT_EQ(waitpid(holder, nullptr, WNOHANG), writer ? holder : 0);
        if (!writer) kill(holder, SIGKILL), waitpid(holder, nullptr, 0);
        if (writer) waitpid(killer, nullptr, 0);
    }
}

TEST_F(Cache, FourProcessesWithChangingSourcesNeverGetEachOthers) {
    std::vector<pid_t> children;
    for (int process = 0; process < 4; ++process) {
        const pid_t child = fork();
        if (child == 0) {
            int wrong = 0;
            std::minstd_rand random(static_cast<unsigned>(process) + 1);
            const std::string path = mFolder / ("source" + std::to_string(process));
            for (int i = 0; i < 150; ++i) {
                const std::string text = "v" + std::to_string(random() % 3);
                writeFile(path, text);
                js::CacheProcessRunner runner(new InnerRunner(mInner));
                const Result result(runner.runExternalCommand(path.c_str(), i % 2 ? "a.jsl" : "b.jsl"));
                wrong +=
                    result->getCode() != 0 || result->outText() != "lua " + text || result->errText() != "1\n" + text;
            }
            _exit(wrong != 0 ? 2 : mInner.runs == 0 || mInner.runs == 150);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
}

}  // namespace vexil3::test
