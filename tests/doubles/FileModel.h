// A file in memory beside a plain model of it that goes byte by byte, and case by case.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>

#include "doubles/Fault.h"
#include "files/JsFile.h"

namespace vexil3::test {

inline const Fault kOutOfBounds = {2, 8, "Index is out of bounds."};
inline const Fault kNotUTF8 = {1000, 10000, "Not UTF-8 symbol"};

inline Ref<js::JsFile> fileOf(const std::string& text) {
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

inline std::ostream& operator<<(std::ostream& stream, const Outcome& o) {
    stream << (o.result ? "true" : "false") << " at " << o.position << " [";
    for (const long value : o.delivered) stream << value << ' ';
    return stream << "] " << testing::PrintToString(o.reported);
}

// A number as it is delivered: exactly.
inline long bitsOf(double value) { return std::bit_cast<long>(value); }

struct FileModel {
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
                out.delivered = {bitsOf(value)};
                position += consumed;
            }
        }
        out.position = position;
        return out;
    }
};

class FileSubject {
public:
    explicit FileSubject(const std::string& text) : mFile(fileOf(text)) {}

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
        return done(result, {bitsOf(value)});
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

// One operation, by its number, on both; false when they part.
inline bool alike(FileModel& model, FileSubject& subject, int operation, long argument, int origin) {
    const auto on = [&](auto& file) {
        switch (operation) {
            case 0:
                return file.seek(argument, origin);
            case 1:
                return file.read(argument);
            case 2:
                return file.readLine(argument);
            case 3:
                return file.readLineUnicode(argument);
            default:
                return file.readDouble();
        }
    };
    const Outcome expected = on(model), seen = on(subject);
    EXPECT_EQ(seen, expected) << "operation " << operation << " with " << argument << " on "
                              << testing::PrintToString(model.text);
    return seen == expected;
}

constexpr int kFileOperations = 5;

}  // namespace vexil3::test
