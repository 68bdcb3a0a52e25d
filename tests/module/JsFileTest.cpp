// The file in memory, against its model, and case by case.
#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "doubles/FileModel.h"

namespace vexil3::test {

namespace {

const Fault kNull = {1, 5, "Object is NULL"};
const Fault kReadOnly = {2, 8, "Operation is not supported."};

}  // namespace

TEST(JsFile, AnyRunOfOperationsDoesWhatTheModelDoes) {
    std::mt19937 random(20240611);
    const auto below = [&](unsigned int limit) { return static_cast<long>(random() % limit); };
    const std::string pieces[] = {"\n",
                                  "a",
                                  " ",
                                  "\r\n",
                                  "12.5",
                                  "-3e2",
                                  "nan",
                                  "0x1p3",
                                  "inf",
                                  "1e",
                                  "\xE2\x82\xAC",
                                  "\xC3\xA9",
                                  "\xF0\x9F\x98\x80",
                                  "\x80",
                                  "\xED\xA0\x80",
                                  "\xF4\x90\x80\x80",
                                  "\xC0\x80",
                                  "\xE2",
                                  "\xF5\x80\x80\x80",
                                  "\xF8",
                                  "\xFF",
                                  "\xE2\x82",
                                  "\t",
                                  "long run of text "};
    for (int round = 0; round < 4000; ++round) {
        std::string text;
        for (long n = below(12); n > 0; --n) text += pieces[below(std::size(pieces))];
        FileModel model{text};
        FileSubject subject(text);
        for (int step = 0; step < 25; ++step) {
            const int operation = static_cast<int>(below(kFileOperations)), origin = static_cast<int>(below(4));
            const long argument = operation == 0 ? below(30) - 15 : below(8);
            ASSERT_TRUE(alike(model, subject, operation, argument, origin)) << "round " << round << " step " << step;
        }
    }
}

TEST(JsFile, SeekingRefusesWhatAnyOffsetWouldOverflow) {
    FileSubject file("0123456789");
    const long least = std::numeric_limits<long>::min(), most = std::numeric_limits<long>::max();
    EXPECT_EQ(file.seek(10, 0), (Outcome{true, {}, {}, 10}));
    for (const long offset : {least, most, 1L})
        for (const int origin : {0, 1, 2})
            if (offset != 1 || origin != 0) {
                EXPECT_EQ(file.seek(offset, origin), (Outcome{false, {}, {kOutOfBounds}, 10}));
            }
    EXPECT_EQ(file.seek(0, 1), (Outcome{false, {}, {kOutOfBounds}, 10})) << "the end is reached from the start only";
    EXPECT_EQ(file.seek(-10, 1), (Outcome{true, {}, {}, 0}));
    EXPECT_EQ(file.seek(5, 3), (Outcome{false, {}, {}, 0})) << "no such origin";
}

TEST(JsFile, LinesThatExactlyFillTheirRoom) {
    FileSubject bytes("ab\n");
    EXPECT_EQ(bytes.readLine(3), (Outcome{true, {'a', 'b'}, {}, 3}));
    FileSubject points("ab\n");
    EXPECT_EQ(points.readLineUnicode(3), (Outcome{true, {'a', 'b'}, {}, 2}));
    EXPECT_EQ(points.readLineUnicode(3), (Outcome{true, {'\n'}, {}, 3}));
    FileSubject feed("\nx");
    EXPECT_EQ(feed.readLineUnicode(1), (Outcome{true, {}, {}, 0}));
    EXPECT_EQ(feed.readLine(1), (Outcome{true, {}, {}, 1}));
    EXPECT_EQ(feed.readLine(1), (Outcome{true, {}, {}, 1}));
    FileSubject euro("\xE2\x82\xAC\n");
    EXPECT_EQ(euro.readLineUnicode(9), (Outcome{true, {0x20AC, '\n'}, {}, 4}));
    wchar_t stored[4] = {};
    const unsigned long beyondMemory = std::numeric_limits<unsigned long>::max() / sizeof *stored + 2;
    EXPECT_TRUE(fileOf("\xC3\xB6\n")->readLineUnicode(stored, beyondMemory, nullptr));
    EXPECT_STREQ(stored, L"\u00F6\n");
    FileSubject number("  3.5e2x");
    EXPECT_EQ(number.readDouble(), (Outcome{true, {bitsOf(350)}, {}, 7}));
    EXPECT_EQ(number.readDouble(), (Outcome{false, {}, {}, 7}));
}

TEST(JsFile, NullBuffersAndWritingAreRefused) {
    const Ref<js::JsFile> file = fileOf("text");
    Ref<IError> error;
    unsigned long done = 77;
    EXPECT_FALSE(file->read(nullptr, 1, done, error.out()));
    EXPECT_EQ(faults(error), std::vector{kNull});
    EXPECT_EQ(done, 77u);
    EXPECT_FALSE(file->readLine(nullptr, 1, error.out()));
    EXPECT_EQ(faults(error), std::vector{kNull});
    EXPECT_FALSE(file->readLineUnicode(nullptr, 1, error.out()));
    EXPECT_EQ(faults(error), std::vector{kNull});
    EXPECT_TRUE(file->read(nullptr, 0, done, error.out()));
    EXPECT_EQ(done, 0u);
    EXPECT_TRUE(file->readLine(nullptr, 0, error.out()) && file->readLineUnicode(nullptr, 0, error.out()));
    EXPECT_FALSE(error);

    EXPECT_FALSE(file->write("x", 1, error.out()));
    EXPECT_EQ(faults(error), std::vector{kReadOnly});
    EXPECT_FALSE(file->writeLine("x", error.out()));
    EXPECT_EQ(faults(error), std::vector{kReadOnly});
    EXPECT_FALSE(file->writeLineUnicode(L"x", error.out()));
    EXPECT_EQ(faults(error), std::vector{kReadOnly});
    EXPECT_TRUE(file->setvbuf(IFile::Line, -5, error.out()) && file->flush(error.out()));
    EXPECT_STREQ(file->getSource(), "text");
}

TEST(JsFile, TextEndsAtItsFirstNULAndTheTableIsItsOwn) {
    const Ref<js::JsFile> file(new js::JsFile("id", std::string("ab\0cd", 5), {4, 5}, IFileAccessor::Open,
                                              IFileAccessor::Read, IFileAccessor::Text));
    EXPECT_EQ(file->size(nullptr), 2);
    EXPECT_STREQ(file->id(), "id");
    std::vector<int> lines = file->getLines();
    lines[0] = 99;
    EXPECT_EQ(file->getLines(), (std::vector<int>{4, 5}));
}

}  // namespace vexil3::test
