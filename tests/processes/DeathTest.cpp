// A process that is killed while it keeps a translation.
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <set>

#include "doubles/Translator.h"
#include "translation/CacheProcessRunner.h"
#include "translation/MD5Calc.h"

namespace vexil3::test {

namespace {

class Echo final : public js::IProcessRunner {
public:
    js::ProcessResult* runExternalCommand(const char* sourcePath, const char*) override {
        const std::string source = readFile(sourcePath);
        return new js::ProcessResult(0, ("1\n" + source).c_str(), ("lua " + source).c_str());
    }
    void cancel() override {}
};

class Death : public testing::Test {
protected:
    void source(const std::string& text) { writeFile(mFolder / "source", text); }

    std::string answer() {
        js::CacheProcessRunner runner(new Echo);
        const std::unique_ptr<js::ProcessResult> result(
            runner.runExternalCommand((mFolder / "source").c_str(), "a.jsl"));
        return std::to_string(result->getCode()) + ' ' + result->outText() + '|' + result->errText();
    }

    // Runs `answer` in a process that dies at the stop for its n-th entry to or return from the
    // kernel: the removal of the marker and the lock are steps like the writes. False when it
    // ended before.
    bool killedAt(int n) {
        const pid_t child = fork();
        if (child == 0) {
            ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            raise(SIGSTOP);
            answer();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        for (; n > 0 && WIFSTOPPED(status); --n) {
            if (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) != 0) break;
            waitpid(child, &status, 0);
        }
        if (!WIFSTOPPED(status)) return false;
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        return true;
    }

    // The state of the entry: its marker's presence with the text that is whole in it.
    std::string state() const {
        const std::string entry = mFolder / ("cache/" + js::md5("a.jsl") + "/");
        for (const auto& file : std::filesystem::directory_iterator(mFolder / "cache"))
            EXPECT_EQ(file.path().string() + "/", entry);
        if (!std::filesystem::exists(entry)) return "none";
        static const std::set<std::string> kNames = {"md5sum", "lines", "content", "ok"};
        for (const auto& file : std::filesystem::directory_iterator(entry))
            EXPECT_TRUE(kNames.count(file.path().filename())) << file.path();
        if (!std::filesystem::exists(entry + "ok")) return "unmarked";
        for (const std::string text : {"old", "new"})
            if (readFile(entry + "md5sum") == js::md5(text) && readFile(entry + "lines") == "1\n" + text &&
                readFile(entry + "content") == "lua " + text)
                return text;
        return "marked, but mixed or cut";
    }

    TemporaryDirectory mFolder;
    const Variable mCacheDir{"VEXIL_JS_CACHE", mFolder / "cache"};
};

}  // namespace

TEST_F(Death, AtAnyStepLeavesAWholeEntryOrAnUnmarkedOne) {
    source("new");
    if (!killedAt(1)) GTEST_SKIP() << "processes may not be traced here";
    for (const bool rewriting : {false, true}) {
        std::set<std::string> states;
        int kills = 0;
        for (bool killed = true; killed; kills += killed) {
            std::filesystem::remove_all(mFolder / "cache");
            if (rewriting) source("old"), answer();
            source("new");
            killed = killedAt(kills);
            const std::string left = std::filesystem::exists(mFolder / "cache") ? state() : "none";
            states.insert(left);
            EXPECT_NE(left, "marked, but mixed or cut") << "step " << kills;
            EXPECT_EQ(answer(), "0 lua new|1\nnew") << "in health, after step " << kills;
            EXPECT_EQ(state(), "new") << "repaired, after step " << kills;
            ASSERT_LT(kills, 5000);
        }
        std::printf("%s: killed at %d steps\n", rewriting ? "over an older entry" : "without an entry", kills);
        std::fflush(stdout);  // no later child may print it again
        EXPECT_EQ(states, (std::set<std::string>{rewriting ? "old" : "none", "unmarked", "new"}));
    }
}

}  // namespace vexil3::test
