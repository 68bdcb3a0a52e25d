#include <sys/resource.h>

#include <csignal>
#include <cstring>
#include <limits>

#include "tests/services/Support.h"

namespace vexil3::test {
namespace {

using Texts = std::vector<std::string>;
using FileTest = FilesTest;

TEST_F(FileTest, SeekReachesExactlyTheFile) {
    folder.write("a", "0123456789");
    for (int origin = IFile::FromBegin; origin <= IFile::FromCurrent; ++origin)
        for (long offset = -25; offset <= 25; ++offset) {
            const Counted<IFile> file = reader("a");
            ASSERT_TRUE(file->seek(4, IFile::FromBegin, nullptr));
            const long base = origin == IFile::FromBegin ? 0 : origin == IFile::FromEnd ? 10 : 4;
            const bool inside = base + offset >= 0 && base + offset <= 10;
            ASSERT_EQ(file->seek(offset, static_cast<IFile::Position>(origin), &error), inside)
                << origin << " " << offset;
            ASSERT_EQ(take(error).size(), inside ? 0u : 1u);
            ASSERT_EQ(file->position(nullptr), inside ? base + offset : 4);
            ASSERT_EQ(file->eof(nullptr), inside && base + offset == 10);
        }
    const Counted<IFile> file = reader("a");
    EXPECT_FALSE(file->seek(0, static_cast<IFile::Position>(3), nullptr));
    EXPECT_FALSE(file->seek(std::numeric_limits<long>::max(), IFile::FromEnd, nullptr));
    EXPECT_FALSE(file->seek(std::numeric_limits<long>::min(), IFile::FromEnd, nullptr));
}

TEST_F(FileTest, EveryReadSizeGivesTheWholeFile) {
    std::string content;
    for (int i = 0; i < 5000; ++i) content += static_cast<char>(i * 7);
    folder.write("a", content);
    for (const unsigned long step : {1ul, 7ul, 4096ul, 5000ul, 9999ul}) {
        const Counted<IFile> file = reader("a");
        ASSERT_EQ(file->size(nullptr), 5000);
        std::string all;
        unsigned long done = 0;
        do {
            std::string part(step, '\0');
            ASSERT_TRUE(file->read(part.data(), step, done, &error));
            all += part.substr(0, done);
        } while (done);
        ASSERT_EQ(all, content);
        ASSERT_TRUE(file->eof(nullptr));
    }
}

TEST_F(FileTest, LinesComeInPiecesThatJoinToTheText) {
    const std::string content = "ab\ncd\r\n\n" + std::string(9000, 'x') + "\nlast";
    folder.write("a", content);
    for (unsigned long size = 2; size < 20000; size = size * 3 / 2 + 1) {
        const Counted<IFile> file = reader("a");
        std::string all;
        while (!file->eof(nullptr)) {
            std::string line(size, '#');
            ASSERT_TRUE(file->readLine(line.data(), size, &error));
            line.resize(std::strlen(line.c_str()));
            const std::size_t feed = line.find('\n');
            ASSERT_TRUE(feed == line.npos || feed + 1 == line.size()) << "more than a line";
            all += line;
        }
        ASSERT_EQ(all, content) << size;
        char end[4] = "?";
        ASSERT_TRUE(file->readLine(end, sizeof end, &error));
        ASSERT_STREQ(end, "");
    }
}

TEST_F(FileTest, UnicodeLinesRoundTripAtEveryBufferSize) {
    const std::wstring line = std::wstring(4094, L'x') + L"\u20AC\U0001F600y";
    const Counted<IFile> out = writer("u");
    ASSERT_TRUE(out->writeLineUnicode(line.c_str(), &error));
    ASSERT_TRUE(out->writeLineUnicode(L"second", &error));
    for (const unsigned long size : {2ul, 3ul, 4095ul, 4096ul, 4097ul, 5000ul}) {
        const Counted<IFile> in = reader("u");
        std::wstring all;
        while (!in->eof(nullptr)) {
            std::wstring part(size, L'#');
            ASSERT_TRUE(in->readLineUnicode(part.data(), size, &error));
            all += part.c_str();
        }
        ASSERT_EQ(all, line + L"\nsecond\n") << size;
    }
}

TEST_F(FileTest, WhatIsNotUtf8IsRefused) {
    wchar_t buffer[16];
    for (const char* bytes : {"\x80", "a\xC0\x80", "\xE2\x82", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"}) {
        folder.write("a", bytes);
        const Counted<IFile> file = reader("a");
        EXPECT_FALSE(file->readLineUnicode(buffer, 16, &error));
        EXPECT_EQ(take(error), Texts{"2/23 a: not UTF-8"});
    }
    const wchar_t surrogate[] = {0xD800, 0};
    const Counted<IFile> out = writer("b");
    EXPECT_FALSE(out->writeLineUnicode(surrogate, &error));
    EXPECT_EQ(take(error).size(), 1u);
}

TEST_F(FileTest, NumbersAreReadOneByOne) {
    folder.write("a", "  3.5e2\n-1" + std::string(9000, ' ') + "7x");
    const Counted<IFile> file = reader("a");
    double value = 0;
    for (const double expected : {350.0, -1.0, 7.0}) {
        ASSERT_TRUE(file->readDouble(value, &error));
        EXPECT_EQ(value, expected);
    }
    EXPECT_FALSE(file->readDouble(value, &error));
    EXPECT_EQ(take(error), Texts{"2/23 a: not a number"});
    EXPECT_EQ(value, 7.0);
    ASSERT_TRUE(file->seek(0, IFile::FromEnd, nullptr));
    EXPECT_TRUE(file->readDouble(value, &error));
}

TEST_F(FileTest, NullBuffersAndTheWrongDirectionAreErrors) {
    folder.write("a", "text");
    const Counted<IFile> in = reader("a");
    const Counted<IFile> out = writer("b");
    unsigned long done = 9;
    EXPECT_FALSE(in->read(nullptr, 1, done, &error));
    EXPECT_FALSE(in->readLine(nullptr, 1, &error));
    EXPECT_FALSE(in->readLineUnicode(nullptr, 1, &error));
    EXPECT_FALSE(out->write(nullptr, 1, &error));
    EXPECT_FALSE(out->writeLine(nullptr, &error));
    EXPECT_FALSE(out->writeLineUnicode(nullptr, &error));
    for (const std::string& text : take(error)) EXPECT_EQ(text.substr(0, 3), "1/5");
    EXPECT_TRUE(in->read(nullptr, 0, done, &error));
    EXPECT_EQ(done, 0u);
    EXPECT_TRUE(in->readLine(nullptr, 0, &error));

    char byte = 0;
    EXPECT_FALSE(out->read(&byte, 1, done, &error));
    EXPECT_FALSE(in->write("x", 1, &error));
    EXPECT_EQ(take(error), (Texts{"2/8 b: is open for writing only", "2/8 a: is open for reading only"}));
    EXPECT_EQ(folder.read("a"), "text");
}

TEST_F(FileTest, WhatIsWrittenIsThereAtOnce) {
    const Counted<IFile> out = writer("a");
    ASSERT_TRUE(out->write("one", 3, &error));
    ASSERT_TRUE(out->writeLine("two", &error));
    EXPECT_EQ(folder.read("a"), "onetwo\n");
    ASSERT_TRUE(out->seek(0, IFile::FromBegin, &error));
    ASSERT_TRUE(out->write("ONE", 3, &error));
    EXPECT_EQ(folder.read("a"), "ONEtwo\n");
    EXPECT_EQ(out->size(nullptr), 7);
    EXPECT_TRUE(out->setvbuf(IFile::Full, 1, &error) && out->flush(&error));
}

TEST_F(FileTest, AShortWriteIsAnError) {
    const Counted<IFile> out = writer("a");
    rlimit old{};
    ::getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small{1000, old.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    const std::string content(1500, 'x');
    const bool written = out->write(content.data(), content.size(), &error);
    ::setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(written);
    EXPECT_EQ(take(error), Texts{"2/23 a: cannot write: File too large"});
}

}  // namespace
}  // namespace vexil3::test
