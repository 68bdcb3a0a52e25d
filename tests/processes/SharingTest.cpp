// Processes that share a cache directory, each with sources of its own under the same names.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "doubles/Fault.h"
#include "doubles/MemoryFiles.h"
#include "doubles/Translator.h"
#include "files/JsFile.h"
#include "files/JsFileAccessor.h"
#include "translation/MD5Calc.h"

namespace vexil3::test {

namespace {

constexpr int kProcesses = 4;

int opensInAll() {
    const char* wanted = std::getenv("VEXIL_TEST_OPENS");
    return wanted ? std::atoi(wanted) : 1200;
}

// A source is one number, and so are its Lua text and its listing: the two show whose they are.
constexpr char kQuickJava[] = R"(#!/bin/sh
read -r number <"$4"
echo "$number" >"$5"
echo "$number" >"$6"
echo run >>"$VEXIL_TEST_WORKPLACE/runs"
)";

std::string openWrongly(MemoryAccessor* files, const char* name, int number) {
    files->files[name] = std::to_string(number) + "\n";
    const Ref<js::JsFileAccessor> accessor(new js::JsFileAccessor(files));
    Ref<IError> error;
    const Ref<IFile> file(
        accessor->open(name, IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text, error.out()));
    void* translated = nullptr;
    if (!file || !file->to(js::JsFile::ID, &translated))
        return "no translation " + testing::PrintToString(faults(error));
    auto* const script = static_cast<js::JsFile*>(translated);
    if (script->getSource() == files->files[name] && script->getLines() == std::vector{number}) return "";
    return "of " + std::to_string(number) + ": " + script->getSource();
}

// Its opens; the first that went wrong is told. Numbers come again, so that entries are found, too.
int work(int process, int opens) {
    const Ref<MemoryAccessor> files(new MemoryAccessor);
    files->journal.recording = false;
    for (int i = 0; i < opens; ++i) {
        const std::string wrong =
            openWrongly(files.get(), i % 2 ? "a.jsl" : "b.jsl", 1000 + (process % 2) * 2 + (i / 8) % 3);
        if (wrong.empty()) continue;
        std::fprintf(stderr, "process %d, open %d: %s\n", process, i, wrong.c_str());
        return 1;
    }
    return 0;
}

}  // namespace

TEST(Sharing, EveryOpenGivesTheTranslationOfItsOwnSource) {
    Workplace place;
    writeFile(place / "bin/java", kQuickJava);
    const int opens = opensInAll();
    std::vector<pid_t> children;
    for (int process = 0; process < kProcesses; ++process) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) _exit(work(process, opens / kProcesses));
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    std::printf("%d opens in %d processes, %td translations\n", opens, kProcesses, place.runs());
    EXPECT_GT(place.runs(), 6) << "sources changed";
    EXPECT_LT(place.runs(), opens) << "entries were found";
    EXPECT_TRUE(place.tidy());
    EXPECT_EQ(entriesIn(place / "cache"), 2);
    for (const char* name : {"a.jsl", "b.jsl"}) {
        const std::string entry = place / ("cache/" + js::md5(name) + "/");
        EXPECT_EQ(entriesIn(entry), 4);
        EXPECT_EQ(readFile(entry + "md5sum"), js::md5(readFile(entry + "content")));
        EXPECT_EQ(readFile(entry + "lines"), readFile(entry + "content"));
    }
}

}  // namespace vexil3::test
