// Opening scripts through the translating accessor.
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <climits>
#include <thread>

#include "doubles/Fault.h"
#include "doubles/HostObjects.h"
#include "doubles/MemoryFiles.h"
#include "doubles/Translator.h"
#include "files/JsFile.h"
#include "files/JsFileAccessor.h"

namespace vexil3::test {

namespace {

class Accessor : public testing::Test {
protected:
    Accessor() {
        MemoryDiagnostic::reset();
        MemoryDiagnostic::gEnabled = 1;
        mFiles = Ref<MemoryAccessor>(new MemoryAccessor);
        mFiles->files["s.jsl"] = "let x;";
        mAccessor = Ref<js::JsFileAccessor>(new js::JsFileAccessor(mFiles.get()));
    }
    ~Accessor() override {
        mAccessor = {};
        mFiles = {};
        mError = {};
        EXPECT_EQ(MemoryDiagnostic::registered(), MemoryDiagnostic::released());
        MemoryDiagnostic::gEnabled = 0;
        EXPECT_EQ(openDescriptors(), mDescriptors);
        EXPECT_TRUE(mPlace.tidy());
    }

    Ref<IFile> open(const char* name = "s.jsl") {
        return Ref<IFile>(
            mAccessor->open(name, IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Unicode, mError.out()));
    }
    // The text of a script as it is opened; its errors otherwise.
    std::string opened(const char* name = "s.jsl") {
        const Ref<IFile> file = open(name);
        void* translated = nullptr;
        if (file && file->to(js::JsFile::ID, &translated)) return static_cast<js::JsFile*>(translated)->getSource();
        std::string text = file ? "untranslated" : "refused";
        for (const Fault& fault : faults(mError)) text += ", " + fault.message;
        return text;
    }
    std::vector<Fault> failing(const std::string& shellText) {
        mPlace.misbehaves(shellText);
        EXPECT_FALSE(open());
        return faults(mError);
    }

    Workplace mPlace;
    const std::ptrdiff_t mDescriptors = openDescriptors();
    Ref<MemoryAccessor> mFiles;
    Ref<js::JsFileAccessor> mAccessor;
    Ref<IError> mError;
};

const char kLua[] = "local x = 1\nprint(x)\n";

}  // namespace

TEST_F(Accessor, EverythingButOpeningScriptsIsPassedOn) {
    char* const buffer = somewhere<char>(1);
    const char** const patterns = somewhere<const char*>(2);
    const auto calls = [&](IFileAccessor& a) {
        EXPECT_TRUE(a.resolvePath("b", "n.jsl", buffer, 5));
        EXPECT_TRUE(a.location("n.jsl", buffer, 6));
        EXPECT_EQ(a.enumerator(true, mError.out()), nullptr);
        EXPECT_EQ(a.enumerator(patterns, false, mError.out()), nullptr);
        EXPECT_EQ(a.enumerator("f", patterns, true, mError.out()), nullptr);
        EXPECT_TRUE(a.exists("s.jsl", mError.out()));
        EXPECT_TRUE(a.isSupported("n.jsl", IFileAccessor::Create, IFileAccessor::Write));
        return mFiles->journal.take();
    };
    EXPECT_EQ(calls(*mAccessor.get()), calls(*mFiles.get()));
    mFiles->callsUntilFailure = 0;
    EXPECT_FALSE(mAccessor->exists("s.jsl", mError.out()));
    EXPECT_EQ(faults(mError), (std::vector<Fault>{{2, 9, "broken"}}));

    for (const char* name : {"chart.lua", "s.jsl.lua", "s.js", "jsl", ""}) {
        mFiles->files[name] = "as it is";
        EXPECT_EQ(opened(name), "untranslated");
    }
    EXPECT_EQ(opened("none.lua"), "refused, no such file");
    EXPECT_EQ(opened("none.jsl"), "refused, no such file");
    EXPECT_EQ(mPlace.runs(), 0);
    EXPECT_FALSE(open(nullptr));
    EXPECT_EQ(faults(mError), (std::vector<Fault>{{1, 5, "Object is NULL"}}));
}

TEST_F(Accessor, ScriptIsHandedOverByteForByteAndComesBackTranslated) {
    const std::string bytes("let \r\n\0\xFFx", 9);
    mFiles->files["s.jsl"] = bytes;
    mPlace.translatesTo(kLua, "1\n2\n\n5\r\n\r\n");
    mPlace.misbehaves("stat -c %a \"$4\" >\"$here/mode\"");
    const Ref<IFile> file = open();
    ASSERT_TRUE(file) << opened();
    EXPECT_EQ(mFiles->journal.take(), (std::vector<std::string>{"open s.jsl 1 0 1", "size", "read 9"}));
    EXPECT_EQ(mPlace.source(), bytes);
    EXPECT_EQ(readFile(mPlace / "mode"), "600\n");
    const std::string drawn = "* " + (mPlace / "tmp/") + anyName(16) + ".lua *";
    EXPECT_EQ(fnmatch(drawn.c_str(), mPlace.arguments().c_str(), 0), 0) << mPlace.arguments();
    EXPECT_STREQ(file->id(), "id of s.jsl");
    void* translated = nullptr;
    ASSERT_TRUE(file->to(js::JsFile::ID, &translated));
    EXPECT_STREQ(static_cast<js::JsFile*>(translated)->getSource(), kLua);
    EXPECT_EQ(static_cast<js::JsFile*>(translated)->getLines(), (std::vector<int>{1, 2, 5, 0}));
    EXPECT_EQ(opened(), kLua);
    EXPECT_EQ(mPlace.runs(), 1) << "the second time the cache answers";
    EXPECT_EQ(opened("S.JSL"), "refused, no such file");
}

TEST_F(Accessor, ItsNameMakesAScriptAndWhatWasReadIsItsText) {
    mFiles->files["chart.lua"] = "as it is";
    mFiles->ids = {{"s.jsl", "7"}, {"chart.lua", "s.jsl"}};
    EXPECT_EQ(opened("chart.lua"), "untranslated");
    EXPECT_EQ(opened(), kLua);
    mFiles->mostAtOnce = 4;
    EXPECT_EQ(opened(), kLua);
    EXPECT_EQ(mPlace.source(), "let ");
    EXPECT_EQ(mAccessor->open("s.jsl", IFileAccessor::Create, IFileAccessor::Write, IFileAccessor::Text, mError.out()),
              nullptr);
    EXPECT_EQ(faults(mError), (std::vector<Fault>{{3, 23, "File is empty"}})) << "whatever the mode";
}

TEST_F(Accessor, FailingReadsOfTheScriptAreTheCallersError) {
    for (int step = 0; step < 3; ++step)
        for (const bool silent : {false, true}) {
            if (silent && step == 1) continue;  // a size that fails says so by its error alone
            mFiles->callsUntilFailure = step;
            mFiles->silent = silent;
            EXPECT_FALSE(open());
            EXPECT_EQ(faults(mError), silent ? std::vector<Fault>{} : (std::vector<Fault>{{2, 9, "broken"}})) << step;
        }
    EXPECT_EQ(mPlace.runs(), 0);
}

TEST_F(Accessor, EveryLineOfTheTranslatorsErrorsIsOneError) {
    using Faults = std::vector<Fault>;
    EXPECT_EQ(failing("echo 'source(12,5): Unexpected token' >\"$6\"; exit 1"),
              (Faults{{3, 23, "Unexpected token", "s.jsl", 12}}));
    EXPECT_EQ(
        failing(
            R"sh(printf 'source(3,1): a: b\n\nCaused by\n source(4,1): x\nsource(5,2) none\nsource(x): y\nsource(7' >"$6"
exit 1)sh"),
        (Faults{{3, 23, "a: b", "s.jsl", 3},
                {3, 23, "Caused by"},
                {3, 23, " source(4,1): x"},
                {3, 23, "source(5,2) none", "s.jsl", 5},
                {3, 23, "y", "s.jsl", 0},
                {3, 23, "source(7", "s.jsl", 7}}));
    EXPECT_EQ(failing("printf '%s: no class' \"$4\" >\"$6\"; exit 1"), (Faults{{3, 23, "s.jsl: no class"}}));
    EXPECT_EQ(failing(": >\"$6\"; exit 1"), Faults{}) << "nothing said, nothing reported";
    EXPECT_EQ(failing("printf '\\n\\n' >\"$6\"; exit 1"), Faults{});
    mFiles->files["s.jsl"].clear();
    EXPECT_EQ(failing(""), (Faults{{3, 23, "File is empty"}}));
    mPlace.behaves();
    mFiles->files["s.jsl"] = "let x;";
    EXPECT_EQ(opened(), kLua) << "no failure was kept";
}

TEST_F(Accessor, TemporaryDirectoryIsTakenAsItIs) {
    const auto sourceIn = [&](const std::string& folder) {
        mFiles->files["s.jsl"] += ";";
        EXPECT_EQ(opened(), kLua) << folder;
        const std::string arguments = mPlace.arguments();
        const std::size_t start = arguments.find("Program ") + 8, end = arguments.find(".lua ") - 16;
        EXPECT_EQ(fnmatch(anyName(16).c_str(), arguments.substr(end, 16).c_str(), 0), 0) << arguments;
        return arguments.substr(start, end - start);
    };
    {
        const Variable unset("VEXIL_TEMP_DIR", nullptr);
        EXPECT_EQ(sourceIn("unset"), "/tmp/");
    }
    {
        const Variable slashes("VEXIL_TEMP_DIR", mPlace / "tmp//");
        EXPECT_EQ(sourceIn("slashes"), mPlace / "tmp///");
    }
    if (access("/", W_OK) == 0) {
        const Variable empty("VEXIL_TEMP_DIR", "");
        EXPECT_EQ(sourceIn("empty"), "/");
    }
    const int runs = static_cast<int>(mPlace.runs());
    const std::string pwned = mPlace / "pwned";
    const std::string touch = "touch " + pwned;
    const std::string odds[] = {mPlace / "none",        mPlace / "source",    "$(" + touch + ")",
                                "`" + touch + "`",      "\n;" + touch + "\n", "'\"",
                                std::string(4096, 'x'), "/dev/null"};
    for (const std::string& odd : odds) {
        const Variable variable("VEXIL_TEMP_DIR", odd);
        EXPECT_EQ(opened().substr(0, 9), "refused, ") << odd;
        ASSERT_FALSE(faults(mError).empty()) << odd;
        EXPECT_EQ(faults(mError)[0].stage * 100 + faults(mError)[0].code, 323);
    }
    EXPECT_EQ(mPlace.runs(), runs) << "a source that isn't there is not translated";
    EXPECT_FALSE(std::filesystem::exists(pwned));
}

TEST_F(Accessor, OddVariablesAreTheShellsToReadAndScriptNamesNever) {
    // What the shell makes of them may be relative.
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(mPlace.path());
    const std::string name = "$(touch named);`touch named`'\" \n&.jsl";
    const struct {
        std::string text;
        bool isRun;  // by the shell, as part of a path that exists or need not
    } odds[] = {{"", false},
                {"two words", false},
                {"tab\tbed", false},
                {"'", false},
                {"\"", false},
                {"'whole'", false},
                {"a\nb", false},
                {"\\", false},
                {"*?[a]{b,c}", false},
                {"#<>|&", false},
                {"\xFF\xFE", false},
                {"${HOME}~", false},
                {"$(touch run)", true},
                {"`touch run`", true},
                {";touch run;", true},
                {std::string(4096, 'x'), false}};
    for (const char* variable : {"VEXIL_CLASSPATH", "VEXIL_JS_CACHE", "VEXIL_TEMP_DIR"})
        for (const auto& [text, isRun] : odds) {
            const std::string folder = mPlace / variable + text, what = variable + (" with " + text.substr(0, 20));
            std::error_code tooLong;
            std::filesystem::create_directory(folder, tooLong);
            {
                const Variable odd(variable, variable[6] == 'C' ? folder + "/" : folder);
                mFiles->files[name] += ";";
                const std::string got = opened(name.c_str());
                // What a translator makes of other paths is its own affair.
                if (text.empty() || (tooLong && variable[6] == 'C')) {
                    EXPECT_EQ(got, kLua) << what;
                }
            }
            EXPECT_EQ(std::filesystem::remove(mPlace / "run"), isRun) << what;
            EXPECT_FALSE(std::filesystem::exists(mPlace / "named")) << what;
            EXPECT_EQ(mPlace.arguments().find("named"), std::string::npos) << what;
            for (const auto& left : std::filesystem::directory_iterator(folder, tooLong))
                EXPECT_TRUE(left.is_directory()) << what << " left " << left.path();
            std::filesystem::remove_all(folder, tooLong);
            mFiles->files[name] += ".";
            EXPECT_EQ(opened(name.c_str()), kLua) << "in health again, after " << what;
        }
    std::filesystem::current_path(before);
}

TEST_F(Accessor, LargeResultsAreTakenAndBoundless) {
    mPlace.misbehaves(
        "truncate -s 200M \"$5\"; head -c 4M /dev/zero | tr '\\0' 1 >\"$6\"; printf "
        "'\\n\\n-7\\n\\r\\n99999999999999999999\\n2147483648' >>\"$6\"");
    const Ref<IFile> file = open();
    void* translated = nullptr;
    ASSERT_TRUE(file && file->to(js::JsFile::ID, &translated)) << opened();
    EXPECT_STREQ(static_cast<js::JsFile*>(translated)->getSource(), kLua) << "up to the first NUL";
    EXPECT_EQ(static_cast<js::JsFile*>(translated)->getLines(), (std::vector<int>{-1, -7, 0, -1, INT_MIN}));

    const auto alone = [](std::vector<Fault> all) { return all.size() == 1 ? all[0].message : "not one"; };
    mFiles->files["s.jsl"] += ";";
    EXPECT_TRUE(alone(failing("truncate -s 2G \"$5\"")).ends_with(": File too large"));
    const auto many = failing("head -c 1M /dev/zero | tr '\\0' '\\n' | sed s/^/x/ >\"$6\"; exit 1");
    EXPECT_EQ(many.size(), 100001u);
    EXPECT_EQ(many.back(), (Fault{3, 23, "More errors are left out"}));
    mPlace.behaves();
    EXPECT_EQ(opened(), kLua);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(mPlace / "cache"))
        if (entry.path().filename() == "content") std::filesystem::resize_file(entry.path(), 2l << 30);
    EXPECT_TRUE(alone((open(), faults(mError))).ends_with("/content: the file is too large"));

    mFiles->claimedSize = INT64_MAX;
    EXPECT_FALSE(open());
    EXPECT_EQ(faults(mError), (std::vector<Fault>{{2, 23, "The file is too large", "s.jsl", 0}}));
}

TEST_F(Accessor, WhatIsPlantedUnderADrawnNameIsNeitherFollowedNorRemoved) {
    writeFile(mPlace / "victim", "untouched");
    std::srand(77);
    const std::string link = mPlace / ("tmp/" + js::genRandomString() + ".lua");
    const std::string file = mPlace / ("tmp/" + js::genRandomString() + ".lua");
    std::filesystem::create_symlink(mPlace / "victim", link);
    writeFile(file, "somebody's");
    std::srand(77);
    EXPECT_EQ(opened(), kLua);
    EXPECT_EQ(mPlace.source(), "let x;");
    EXPECT_EQ(readFile(mPlace / "victim"), "untouched");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(readFile(file), "somebody's");
    std::filesystem::remove(link);
    std::filesystem::remove(file);
}

TEST_F(Accessor, NoFreeNameIsAnErrorAndNotSomebodyElsesFile) {
    std::srand(78);
    std::vector<std::string> planted(10000);
    for (std::string& path : planted) {
        path = mPlace / ("tmp/" + js::genRandomString() + ".lua");
        writeFile(path, "somebody's");
    }
    std::srand(78);
    EXPECT_FALSE(open());
    EXPECT_EQ(faults(mError),
              (std::vector<Fault>{{2, 9, "Cannot open the file " + planted.back() + "."}, {2, 9, "File exists"}}));
    EXPECT_EQ(mPlace.runs(), 0);
    EXPECT_EQ(entriesIn(mPlace / "tmp"), 10000);
    for (const std::string& path : planted) std::filesystem::remove(path);
}

TEST_F(Accessor, CacheThatCannotBeMadeOrWrittenDoesNotHideTheReason) {
    {
        const Variable impossible("VEXIL_JS_CACHE", "/dev/null/cache");
        EXPECT_EQ(opened().substr(0, 9), "refused, ");
        ASSERT_EQ(faults(mError).size(), 1u);
        EXPECT_EQ(faults(mError)[0].stage, 3);
        EXPECT_EQ(faults(mError)[0].code, 23);
        EXPECT_NE(faults(mError)[0].message.find("/dev/null"), std::string::npos) << faults(mError)[0].message;
    }
    EXPECT_EQ(opened(), kLua);
    std::filesystem::remove_all(mPlace / "cache");
    EXPECT_EQ(opened(), kLua) << "the directory vanished";
    EXPECT_EQ(mPlace.runs(), 2);
    for (const char* victims : {"rm \"$5\"", "rm \"$6\"", "rm -r \"$here/cache/\"*", "rm -r \"$here/cache\""}) {
        mFiles->files["s.jsl"] += ";";
        mPlace.misbehaves(victims);
        opened();
        mPlace.behaves();
        const Ref<IFile> file = open();
        void* translated = nullptr;
        ASSERT_TRUE(file && file->to(js::JsFile::ID, &translated));
        EXPECT_STREQ(static_cast<js::JsFile*>(translated)->getSource(), kLua) << victims << " was kept";
        EXPECT_EQ(static_cast<js::JsFile*>(translated)->getLines(), (std::vector<int>{1, 1, 3})) << victims;
    }
}

TEST_F(Accessor, FullDiskIsAnErrorAndHealsAfterwards) {
    for (const char* folder : {"cache", "tmp"}) {
        const std::string path = mPlace / folder;
        if (mount("none", path.c_str(), "tmpfs", 0, "size=64k") != 0) GTEST_SKIP() << "may not mount a small disk here";
        mFiles->files["s.jsl"] = std::string(20000, ' ') + folder;
        mPlace.translatesTo(std::string(20000, '-'), "1\n");
        writeFile(path + "/ballast", "");
        std::ofstream ballast(path + "/ballast", std::ios::binary);
        while (ballast.write(std::string(1024, 'b').data(), 1024).flush()) {
        }
        const std::string full = opened();
        EXPECT_TRUE(full == std::string(20000, '-') || full.starts_with("refused")) << full.substr(0, 100);
        ballast.close();
        std::filesystem::remove(path + "/ballast");
        EXPECT_EQ(opened(), std::string(20000, '-')) << folder;
        EXPECT_TRUE(mPlace.tidy());
        umount(path.c_str());
    }
}

TEST_F(Accessor, WithoutDescriptorsItRefusesAndRecovers) {
    // A sanitizer needs a descriptor when it first meets a class: let it meet all, in both outcomes.
    opened();
    mFiles->files["s.jsl"] += "+";
    failing("exit 1");
    mPlace.behaves();
    {
        const Variable gone("VEXIL_TEMP_DIR", mPlace / "gone");
        opened();
    }
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    int refused = 0;
    for (int known = 0; known < 2; ++known)
        for (rlim_t room = static_cast<rlim_t>(mDescriptors) - 2; room < static_cast<rlim_t>(mDescriptors) + 12;
             ++room) {
            if (!known) mFiles->files["s.jsl"] += "+";
            rlimit few = before;
            few.rlim_cur = room;
            setrlimit(RLIMIT_NOFILE, &few);
            const std::string scarce = opened();
            setrlimit(RLIMIT_NOFILE, &before);
            refused += scarce != kLua;
            EXPECT_TRUE(scarce == kLua || scarce.starts_with("refused")) << scarce;
            EXPECT_EQ(opened(), kLua) << "in health again, after room for " << room;
            EXPECT_EQ(openDescriptors(), mDescriptors);
        }
    EXPECT_GE(refused, 4);
}

TEST_F(Accessor, OneTranslationAtATime) {
    mPlace.misbehaves(
        "mkdir \"$here/running\" || echo overlap >>\"$here/overlaps\"; sleep 0.05; rmdir \"$here/running\"");
    for (const char* name : {"0.jsl", "1.jsl", "2.jsl", "3.jsl"}) mFiles->files[name] = "let x;";
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, name = std::to_string(i) + ".jsl"] {
            const Ref<js::JsFileAccessor> accessor(new js::JsFileAccessor(mFiles.get()));
            const Ref<IFile> file(
                accessor->open(name.c_str(), IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text, nullptr));
            EXPECT_TRUE(file && file->is(js::JsFile::ID));
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(mPlace.runs(), 4);
    EXPECT_FALSE(std::filesystem::exists(mPlace / "overlaps"));
}

TEST_F(Accessor, WrappedAccessorMayOpenScriptsMeanwhile) {
    class Including final : public MemoryAccessor {
    public:
        bool didInclude = false;
        IFile* open(const char* name, OpenMode openMode, AccessMode accessMode, DataMode dataMode,
                    IError** error) override {
            if (std::string_view(name) == "s.jsl") {
                const Ref<js::JsFileAccessor> accessor(new js::JsFileAccessor(this));
                const Ref<IFile> file(accessor->open("other.jsl", openMode, accessMode, dataMode, error));
                didInclude = file && file->is(js::JsFile::ID);
            }
            return MemoryAccessor::open(name, openMode, accessMode, dataMode, error);
        }
    };
    const Ref<Including> files(new Including);
    files->files["s.jsl"] = files->files["other.jsl"] = "let x;";
    mAccessor = Ref<js::JsFileAccessor>(new js::JsFileAccessor(files.get()));
    EXPECT_EQ(opened(), kLua);
    EXPECT_TRUE(files->didInclude);
}

TEST_F(Accessor, ExceptionsOfTheWrappedAccessorStayInside) {
    class Throwing final : public MemoryAccessor {
        IFile* open(const char*, OpenMode, AccessMode, DataMode, IError**) override {
            throw std::runtime_error("thrown by the host");
        }
    };
    const Ref<Throwing> files(new Throwing);
    const Ref<js::JsFileAccessor> accessor(new js::JsFileAccessor(files.get()));
    for (int i = 0; i < 2; ++i) {
        Ref<IError> error;
        EXPECT_EQ(accessor->open("s.jsl", IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text, error.out()),
                  nullptr);
        EXPECT_EQ(faults(error).at(0).message, "thrown by the host");
    }
    EXPECT_EQ(opened(), kLua) << "the lock is free";
}

}  // namespace vexil3::test
