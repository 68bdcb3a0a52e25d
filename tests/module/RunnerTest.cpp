// The runner of the external translator: what it starts, what it makes of the results, and what no
// translator can do to it.
#include <fcntl.h>
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <memory>

#include "doubles/Translator.h"
#include "translation/ExecutableDir.h"
#include "translation/TemporaryFile.h"
#include "translation/TranslatorProcess.h"
#include "translation/UnixProcessRunner.h"

namespace vexil3::test {

namespace {

using Result = std::unique_ptr<js::ProcessResult>;

class Runner : public testing::Test {
protected:
    Runner() { writeFile(mSource, "let x = 1;\n"); }
    ~Runner() override {
        EXPECT_EQ(openDescriptors(), mDescriptors);
        EXPECT_TRUE(mPlace.tidy());
    }

    Result run() { return Result(js::UnixProcessRunner().runExternalCommand(mSource.c_str(), "my script.jsl")); }
    Result runWhere(const std::string& shellText) {
        mPlace.misbehaves(shellText);
        return run();
    }

    Workplace mPlace;
    const std::ptrdiff_t mDescriptors = openDescriptors();
    const std::string mSource = mPlace / "source.js";
};

}  // namespace

TEST_F(Runner, StartsJavaWithSevenJarsTheSourceAndTwoResultFiles) {
    const Result result = run();
    EXPECT_EQ(result->getCode(), 0);
    EXPECT_STREQ(result->getOut(), "local x = 1\nprint(x)\n");
    EXPECT_STREQ(result->getErr(), "1\n1\n3\n");
    EXPECT_EQ(mPlace.source(), "let x = 1;\n");
    const std::string file = " " + (mPlace / "cache/") + anyName(10);
    const auto isCommand = [&](const std::string& p) {
        const std::string expected = "-cp " + p + "antlr-3.5.2-complete-no-st3.jar:" + p + "scrivel.jar:" + p +
                                     "serializer.jar:" + p + "xalan.jar:" + p + "xercesImpl.jar:" + p +
                                     "xml-apis.jar:" + p + "scrivelbin.jar com.morrow.scrivel.Program " + mSource +
                                     file + file;
        return fnmatch(expected.c_str(), mPlace.arguments().c_str(), 0) == 0;
    };
    EXPECT_TRUE(isCommand("/jars/")) << mPlace.arguments();
    const Variable unset("VEXIL_CLASSPATH", nullptr);
    run();
    EXPECT_TRUE(isCommand(js::getExecutableDir() + "/scrivel/")) << mPlace.arguments();
    const Variable empty("VEXIL_CLASSPATH", "");
    run();
    EXPECT_TRUE(isCommand("")) << mPlace.arguments();
}

TEST_F(Runner, IsBusyUntilCancelled) {
    js::UnixProcessRunner runner;
    EXPECT_EQ(Result(runner.runExternalCommand(mSource.c_str(), "s"))->getCode(), 0);
    const Result refused(runner.runExternalCommand(mSource.c_str(), "s"));
    EXPECT_EQ(refused->getCode(), 1);
    EXPECT_STREQ(refused->getErr(), "Is busy");
    EXPECT_STREQ(refused->getOut(), "");
    EXPECT_EQ(mPlace.runs(), 1);
    runner.cancel();
    EXPECT_EQ(Result(runner.runExternalCommand(mSource.c_str(), "s"))->getCode(), 0);
    EXPECT_EQ(mPlace.runs(), 2);
}

TEST_F(Runner, FailureGivesTheWaitStatusAndNamesTheScript) {
    const Result failed = runWhere("printf '%s:%s\\n%s' \"$4\" \"$4\" \"$4\" >\"$6\"; exit 2");
    EXPECT_EQ(failed->getCode(), 512);
    EXPECT_STREQ(failed->getErr(), "my script.jsl:my script.jsl\nmy script.jsl");
    EXPECT_STREQ(failed->getOut(), "local x = 1\nprint(x)\n");
    const Result succeeded = runWhere("printf '%s' \"$4\" >\"$6\"");
    EXPECT_EQ(succeeded->getCode(), 0);
    EXPECT_EQ(succeeded->getErr(), mSource) << "a listing is not touched";

    const Result killed = runWhere("kill -9 $$");
    EXPECT_TRUE(killed->getCode() == 9 || killed->getCode() == (128 + 9) << 8) << killed->getCode();
    const Variable noJava("PATH", "/nonexistent");
    EXPECT_EQ(run()->getCode(), 127 << 8);
}

TEST_F(Runner, TakesWhateverIsInTheResultFiles) {
    const auto texts = [](const Result& result) { return result->outText() + '|' + result->errText(); };
    EXPECT_EQ(texts(runWhere("rm \"$5\" \"$6\"")), "|");
    EXPECT_EQ(texts(runWhere("printf 'half' >\"$5\"; : >\"$6\"")), "half|");
    EXPECT_EQ(texts(runWhere("printf 'a\\0b' >\"$5\"; printf '\\377\\0' >\"$6\"")), std::string("a\0b|\377\0", 6));
    EXPECT_EQ(runWhere("truncate -s 200M \"$5\"")->outText().size(), 200u << 20);
    // Neither followed nor waited for nor left behind.
    writeFile(mPlace / "secret", "secret");
    EXPECT_EQ(texts(runWhere("rm \"$5\" \"$6\"; ln -s \"$here/secret\" \"$5\"; mkfifo \"$6\"")), "|");
    EXPECT_EQ(readFile(mPlace / "secret"), "secret");
    EXPECT_EQ(texts(runWhere("rm \"$5\" \"$6\"; mkdir \"$5\" \"$6\"")), "|");
    // A text that nobody needs does not hide what the translator said.
    const Result failed = runWhere("truncate -s 2G \"$5\"; echo why >\"$6\"; exit 2");
    EXPECT_EQ(failed->getCode(), 2 << 8);
    EXPECT_EQ(texts(failed), "|why\n");
}

TEST_F(Runner, ResultFilesAreTheOwnersAloneAndNeverSomebodyElses) {
    runWhere("stat -c %a \"$5\" \"$6\" >\"$here/modes\"");
    EXPECT_EQ(readFile(mPlace / "modes"), "600\n600\n");
    // The names are drawn after seeding with the second: somebody may well have been there first.
    writeFile(mPlace / "victim", "untouched");
    std::vector<std::string> planted;
    const std::time_t now = std::time(nullptr);
    for (std::time_t second = now; second < now + 4; ++second) {
        std::srand(static_cast<unsigned int>(second));
        for (int i = 0; i < 2; ++i) {
            planted.push_back(mPlace / ("cache/" + js::gen_random_string(10)));
            std::filesystem::create_symlink(mPlace / "victim", planted.back());
        }
    }
    mPlace.behaves();
    EXPECT_STREQ(run()->getOut(), "local x = 1\nprint(x)\n");
    EXPECT_EQ(readFile(mPlace / "victim"), "untouched");
    for (const std::string& link : planted) {
        EXPECT_TRUE(std::filesystem::is_symlink(link));
        EXPECT_EQ(mPlace.arguments().find(link), std::string::npos);
        std::filesystem::remove(link);
    }
}

TEST_F(Runner, StreamsNeitherBlockNorDelay) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(runWhere("head -c 104857600 /dev/zero; head -c 1048576 /dev/zero >&2")->getCode(), 0);
    EXPECT_EQ(runWhere("exec >&- 2>&-; sleep 0.2; exit 3")->getCode(), 3 << 8);
    // A shell that closes them itself leaves nothing to wait on, which must not become spinning.
    const std::clock_t before = std::clock();
    js::TranslatorProcess closed("exec >&- 2>&-; sleep 0.5; exit 3");
    EXPECT_EQ(closed.wait(), 3 << 8);
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 10);
    EXPECT_EQ(runWhere("exec 2>&-; sleep 0.2; echo x; exit 3")->getCode(), 3 << 8);
    EXPECT_EQ(runWhere("sleep 60 & echo $! >\"$here/grandchild\"; exit 4")->getCode(), 4 << 8);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    kill(std::stoi(readFile(mPlace / "grandchild")), SIGKILL);
}

TEST_F(Runner, ChildGetsNoneOfOurDescriptors) {
    const int kept = open("/dev/null", O_RDONLY);  // the host's, as anything may be that it hands on
    runWhere("exec ls -l /proc/self/fd >\"$here/descriptors\"");
    close(kept);
    std::istringstream seen(readFile(mPlace / "descriptors"));
    int inherited = 0;
    for (std::string line; std::getline(seen, line);) {
        const std::size_t arrow = line.find(" -> ");
        if (arrow == std::string::npos) continue;
        const int number = std::stoi(line.substr(line.rfind(' ', arrow - 1)));
        const std::string target = line.substr(arrow + 4);
        if (number <= 2 || target.ends_with("/fd")) continue;  // ls looking at this list
        inherited += number == kept;
        std::error_code none;
        const auto ours = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(number), none);
        EXPECT_TRUE(number == kept || ours == target) << line << " is not of the test itself, in\n"
                                                      << readFile(mPlace / "descriptors");
        EXPECT_EQ(target.find(mPlace.path()), std::string::npos) << line;
    }
    EXPECT_EQ(inherited, 1) << readFile(mPlace / "descriptors");
}

TEST_F(Runner, WhatTheHostStartsMeanwhileGetsNoPipe) {
    const auto handedOn = [] {
        int count = 0;
        for (int descriptor = 0; descriptor < 1024; ++descriptor) count += fcntl(descriptor, F_GETFD) == 0;
        return count;
    };
    const int before = handedOn();
    const js::TranslatorProcess running("sleep 0.1");
    EXPECT_EQ(openDescriptors(), mDescriptors + 2);
    EXPECT_EQ(handedOn(), before);
}

TEST_F(Runner, HostMayTakeTheChildsStatus) {
    struct sigaction ignore {
    }, earlier{};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGCHLD, &ignore, &earlier);
    const Result fine = run();
    const Result failed = runWhere("echo 'source(1,2): no' >\"$6\"; exit 1");
    const Result nothing = runWhere("rm \"$5\" \"$6\"; exit 1");
    const Result killed = runWhere(": >\"$6\"; kill -KILL $$");
    sigaction(SIGCHLD, &earlier, nullptr);
    EXPECT_EQ(fine->getCode(), 0);
    EXPECT_STREQ(fine->getOut(), "local x = 1\nprint(x)\n");
    EXPECT_NE(failed->getCode(), 0);
    EXPECT_STREQ(failed->getErr(), "source(1,2): no\n");
    EXPECT_NE(nothing->getCode(), 0);
    EXPECT_NE(killed->getCode(), 0) << "a text without its listing";
}

TEST_F(Runner, WithoutDescriptorsOrItsFolderItFailsWithTheSystemsReason) {
    run();  // a sanitizer needs a descriptor when it first meets a class
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    int failures = 0;
    for (rlim_t room = static_cast<rlim_t>(mDescriptors) - 2;; ++room) {
        rlimit few = before;
        few.rlim_cur = room;
        setrlimit(RLIMIT_NOFILE, &few);
        const Result result = run();
        setrlimit(RLIMIT_NOFILE, &before);
        EXPECT_EQ(openDescriptors(), mDescriptors) << room;
        EXPECT_TRUE(mPlace.tidy()) << room;
        if (result->getCode() == 0 && result->outText() == "local x = 1\nprint(x)\n") break;
        ++failures;
        if (result->getCode() == 1) {
            EXPECT_TRUE(result->errText().ends_with(": Too many open files")) << result->getErr();
        }
        ASSERT_LT(failures, 64);
    }
    EXPECT_GE(failures, 4) << "two result files and two pipes";
    const Variable gone("VEXIL_JS_CACHE", mPlace / "gone");
    EXPECT_EQ(run()->getCode(), 1);
    EXPECT_EQ(run()->errText(), mPlace / "gone/: No such file or directory");
}

TEST_F(Runner, ResultThatCannotBeReadIsAFailureAndNoEmptyTranslation) {
    run();  // a sanitizer needs a descriptor when it first meets a class
    mPlace.misbehaves("mkdir \"$here/started\"; while [ ! -d \"$here/go\" ]; do sleep 0.01; done");
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const pid_t parent = getpid(), neighbour = fork();
    if (neighbour == 0) {
        while (!std::filesystem::exists(mPlace / "started")) usleep(1000);
        const rlimit none = {3, before.rlim_max};
        prlimit(parent, RLIMIT_NOFILE, &none, nullptr);
        std::filesystem::create_directory(mPlace / "go");
        _exit(0);
    }
    const Result result = run();
    setrlimit(RLIMIT_NOFILE, &before);
    waitpid(neighbour, nullptr, 0);
    EXPECT_EQ(result->getCode(), 1);
    EXPECT_TRUE(result->errText().ends_with(": Too many open files")) << result->getErr();
}

TEST_F(Runner, WithoutProcessesItFailsWithTheSystemsReason) {
    const pid_t child = fork();
    if (child == 0) {
        // The limit binds unprivileged users only.
        std::filesystem::permissions(mPlace.path(), std::filesystem::perms::all);
        std::filesystem::permissions(mPlace / "cache", std::filesystem::perms::all);
        const rlimit none = {0, 0};
        if ((getuid() == 0 && setuid(65533) != 0) || setrlimit(RLIMIT_NPROC, &none) != 0) _exit(2);
        const Result result = run();
        _exit(result->getCode() == 1 && result->errText() == "/bin/sh: Resource temporarily unavailable" ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == 2) GTEST_SKIP() << "cannot give up the right to processes here";
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(ExecutableDir, IsTheFolderOfTheProgram) {
    const std::string folder = js::getExecutableDir();
    EXPECT_EQ(folder, std::filesystem::read_symlink("/proc/self/exe").parent_path().string() + "/");
    const Variable cache("VEXIL_JS_CACHE", nullptr);
    EXPECT_EQ(js::getCacheDir(), folder + "/vexil.js.cache/");
    const Variable root("VEXIL_JS_CACHE", "");
    EXPECT_EQ(js::getCacheDir(), "/");
}

TEST(ProcessResult, HoldsItsTextsWhole) {
    const js::ProcessResult empty(0, "", ""), failed(-3, "e", "o");
    EXPECT_STREQ(empty.getErr(), "");
    EXPECT_STREQ(empty.getOut(), "");
    EXPECT_EQ(failed.getCode(), -3);
    EXPECT_STREQ(failed.getErr(), "e");
    EXPECT_STREQ(failed.getOut(), "o");
}

TEST(RandomStrings, AreDrawnFromLettersAndDigitsByRand) {
    std::srand(5);
    const std::string drawn = js::gen_random_string(3000);
    std::srand(5);
    std::string expected;
    for (int i = 0; i < 3000; ++i)
        expected += "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"[std::rand() % 62];
    EXPECT_EQ(drawn, expected);
    EXPECT_EQ(js::gen_random_string(0), "");
}

}  // namespace vexil3::test
