// The file in memory, against a plain model that goes byte by byte, and case by case.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "doubles/Fault.h"
#include "files/JsFile.h"

namespace vexil3::test {

namespace {

const Fault kNull = {1, 5, "Object is NULL"};
const Fault kReadOnly = {2, 8, "Operation is not supported."};
const Fault kOutOfBounds = {2, 8, "Index is out of bounds."};
const Fault kNotUTF8 = {1000, 10000, "Not UTF-8 symbol"};

Ref<js::JsFile> fileOf(const std::string& text) {
    std::vector<int> lines = {1, 2, 3};
    return Ref<js::JsFile>(new js::JsFile("the id", text.c_str(), lines, IFileAccessor::Create, IFileAccessor::Write,
                                          IFileAccessor::Binary));
}

// What one operation did: its result, what it delivered, what it reported.
struct Outcome {
    bool result = true;
    std::vector<long> delivered;
    std::vector<Fault> reported;
    std::int64_t position = 0;

    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Outcome& o) {
    stream << (o.result ? "true" : "false") << " at " << o.position << " [";
    for (const long value : o.delivered) stream << value << ' ';
    return stream << "] " << testing::PrintToString(o.reported);
}

struct Model {
    std::string text;
    std::int64_t position = 0;

    std::int64_t size() const { return static_cast<std::int64_t>(text.size()); }
    unsigned char at(std::int64_t index) const {
        return static_cast<unsigned char>(text[static_cast<std::size_t>(index)]);
    }

    Outcome seek(long offset, int origin) {
        const bool accepted = origin == 0   ? offset >= 0 && offset <= size()
                              : origin == 1 ? offset < 0 && -offset <= size()
                              : origin == 2 ? position + offset >= 0 && position + offset <= size()
                                            : false;
        if (accepted) position = offset + (origin == 0 ? 0 : origin == 1 ? size() : position);
        return {accepted, {}, accepted || origin > 2 ? std::vector<Fault>{} : std::vector{kOutOfBounds}, position};
    }

    Outcome read(long count) {
        Outcome out;
        while (count-- > 0 && position < size()) out.delivered.push_back(at(position++));
        out.position = position;
        return out;
    }

    Outcome readLine(long room) {
        Outcome out;
        const long limit = room - 1;
        long copied = 0;
        for (; room > 0 && position < size() && at(position) != '\n' && copied < limit; ++copied)
            out.delivered.push_back(at(position++));
        if (room > 0 && position < size() && at(position) == '\n') {
            ++position;
            if (copied < limit) out.delivered.push_back('\n');
        }
        out.position = position;
        return out;
    }

    // One sequence: its length, 0 where the text is cut off, -1 where it is none.
    int decode(std::int64_t from, long& point) const {
        const unsigned char lead = at(from);
        const int length = lead < 0x80   ? 1
                           : lead < 0xC0 ? -1
                           : lead < 0xE0 ? 2
                           : lead < 0xF0 ? 3
                           : lead < 0xF8 ? 4
                                         : -1;
        if (length < 2) return point = lead, length;
        point = lead & (0xFF >> (length + 1));
        for (int i = 1; i < length; ++i) {
            if (from + i == size()) return 0;
            if ((at(from + i) & 0xC0) != 0x80) return -1;
            point = point << 6 | (at(from + i) & 0x3F);
        }
        const long least[] = {0, 0, 0x80, 0x800, 0x10000};
        return point < least[length] || point > 0x10FFFF || (point >= 0xD800 && point < 0xE000) ? -1 : length;
    }

    Outcome readLineUnicode(long room) {
        Outcome out;
        while (position < size() && static_cast<long>(out.delivered.size()) < room - 1) {
            const unsigned char lead = at(position);
            const int announced = lead < 0x80   ? 1
                                  : lead < 0xC0 ? 0
                                  : lead < 0xE0 ? 2
                                  : lead < 0xF0 ? 3
                                  : lead < 0xF8 ? 4
                                                : 0;
            long point = 0;
            const int length = decode(position, point);
            position = std::min(position + announced, size());
            if (length == 0) break;
            if (length < 0) {
                out.result = false;
                out.reported = {kNotUTF8};
                break;
            }
            out.delivered.push_back(point);
            if (point == '\n') break;
        }
        out.position = position;
        return out;
    }

    Outcome readDouble() {
        Outcome out;
        double value = 0;
        int consumed = 0;
        if (position < size()) {
            out.result = std::sscanf(text.c_str() + position, "%lf%n", &value, &consumed) == 1;
            if (out.result) {
                out.delivered = {std::isnan(value) ? -1 : static_cast<long>(std::fmod(value, 1e6) * 1000)};
                position += consumed;
            }
        }
        out.position = position;
        return out;
    }
};

class Subject {
public:
    explicit Subject(const std::string& text) : mFile(fileOf(text)) {}

    Outcome seek(long offset, int origin) {
        const bool result = mFile->seek(offset, static_cast<IFile::Position>(origin), mError.out());
        return done(result, {});
    }
    Outcome read(long count) {
        std::string buffer(static_cast<std::size_t>(count) + 1, '#');
        unsigned long got = 999;
        const bool result = mFile->read(buffer.data(), static_cast<unsigned long>(count), got, mError.out());
        EXPECT_EQ(buffer[got], '#') << "no byte behind what was read";
        return done(result, values(buffer.data(), got));
    }
    Outcome readLine(long room) {
        std::string buffer(static_cast<std::size_t>(room) + 1, '#');
        const bool result = mFile->readLine(buffer.data(), static_cast<unsigned long>(room), mError.out());
        EXPECT_EQ(buffer[static_cast<std::size_t>(room)], '#');
        return done(result, values(buffer.data(), room ? std::strlen(buffer.data()) : 0));
    }
    Outcome readLineUnicode(long room) {
        std::wstring buffer(static_cast<std::size_t>(room) + 1, L'#');
        const bool result = mFile->readLineUnicode(buffer.data(), static_cast<unsigned long>(room), mError.out());
        EXPECT_EQ(buffer[static_cast<std::size_t>(room)], L'#');
        return done(result, values(buffer.data(), room ? std::wcslen(buffer.data()) : 0));
    }
    Outcome readDouble() {
        double value = 123.5;
        const std::int64_t before = mFile->position(nullptr);
        const bool result = mFile->readDouble(value, mError.out());
        if (mFile->position(nullptr) == before) {
            EXPECT_EQ(value, 123.5) << "nothing converted, nothing stored";
            return done(result, {});
        }
        return done(result, {std::isnan(value) ? -1 : static_cast<long>(std::fmod(value, 1e6) * 1000)});
    }

private:
    template <class Char>
    static std::vector<long> values(const Char* from, std::size_t count) {
        std::vector<long> all;
        for (std::size_t i = 0; i < count; ++i)
            all.push_back(sizeof(Char) == 1 ? static_cast<unsigned char>(from[i]) : static_cast<long>(from[i]));
        return all;
    }
    Outcome done(bool result, std::vector<long> delivered) {
        EXPECT_EQ(mFile->eof(nullptr), mFile->position(nullptr) == mFile->size(nullptr));
        return {result, std::move(delivered), faults(mError), mFile->position(nullptr)};
    }

    Ref<js::JsFile> mFile;
    Ref<IError> mError;
};

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
                                  "\xF8",
                                  "\xFF",
                                  "\xE2\x82",
                                  "\t",
                                  "long run of text "};
    for (int round = 0; round < 4000; ++round) {
        std::string text;
        for (long n = below(12); n > 0; --n) text += pieces[below(std::size(pieces))];
        Model model{text};
        Subject subject(text);
        for (int step = 0; step < 25; ++step) {
            const long operation = below(5), room = below(8);
            Outcome expected, seen;
            if (operation == 0) {
                const long offset = below(30) - 15, origin = below(4);
                expected = model.seek(offset, static_cast<int>(origin)),
                seen = subject.seek(offset, static_cast<int>(origin));
            } else if (operation == 1) {
                expected = model.read(room), seen = subject.read(room);
            } else if (operation == 2) {
                expected = model.readLine(room), seen = subject.readLine(room);
            } else if (operation == 3) {
                expected = model.readLineUnicode(room), seen = subject.readLineUnicode(room);
            } else {
                expected = model.readDouble(), seen = subject.readDouble();
            }
            ASSERT_EQ(seen, expected) << "round " << round << " step " << step << " operation " << operation << " room "
                                      << room << " text " << testing::PrintToString(text);
        }
    }
}

TEST(JsFile, SeekingRefusesWhatAnyOffsetWouldOverflow) {
    Subject file("0123456789");
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
    Subject bytes("ab\n");
    EXPECT_EQ(bytes.readLine(3), (Outcome{true, {'a', 'b'}, {}, 3}));
    Subject points("ab\n");
    EXPECT_EQ(points.readLineUnicode(3), (Outcome{true, {'a', 'b'}, {}, 2}));
    EXPECT_EQ(points.readLineUnicode(3), (Outcome{true, {'\n'}, {}, 3}));
    Subject feed("\nx");
    EXPECT_EQ(feed.readLineUnicode(1), (Outcome{true, {}, {}, 0}));
    EXPECT_EQ(feed.readLine(1), (Outcome{true, {}, {}, 1}));
    EXPECT_EQ(feed.readLine(1), (Outcome{true, {}, {}, 1}));
    Subject euro("\xE2\x82\xAC\n");
    EXPECT_EQ(euro.readLineUnicode(9), (Outcome{true, {0x20AC, '\n'}, {}, 4}));
    Subject number("  3.5e2x");
    EXPECT_EQ(number.readDouble(), (Outcome{true, {350000}, {}, 7}));
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
