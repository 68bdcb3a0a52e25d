#include "files/JsFile.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <utility>

#include <utf8.h>
#include <vexil3/identify.h>

#include "language/Resources.h"

namespace vexil3::js {

constinit const _GUID JsFile::ID = {0x7E74D43D, 0x2D40, 0x4129, {0xA0, 0x14, 0xD7, 0x8D, 0xE5, 0x30, 0x40, 0x32}};

namespace {

bool refuseNull(IError** error) {
    ErrorFactory::throwError(error, IError::StageArgument, IError::CodeNullObject, Resources::getErrorNULL());
    return false;
}

bool refuseWriting(IError** error) {
    ErrorFactory::throwError(error, IError::StageFile, IError::CodeNotSupported,
                             Resources::getErrorOperationNotSupported());
    return false;
}

bool refuseText(IError** error) {
    ErrorFactory::throwError(error, IError::StageLanguage, IError::CodeInternal, Resources::getErrorUTF8());
    return false;
}

// False, with its entries passed on, when a query reported an error, which is released.
bool passed(IError* local, IError** error) {
    if (!local) [[likely]]
        return true;
    ErrorFactory::throwStack(error, local);
    local->release();
    return false;
}

// How many bytes the first one of a sequence announces; 0 for one that cannot be first.
int announcedLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xC0) return 0;
    if (lead < 0xE0) return 2;
    if (lead < 0xF0) return 3;
    return lead < 0xF8 ? 4 : 0;
}

// Stores what is left of the line, or what fits, in one go if it is ASCII; else changes nothing.
bool takePlainLine(const char*& at, const char* textEnd, wchar_t*& stored, const wchar_t* limit) {
    const std::size_t reach = static_cast<std::size_t>(std::min<std::ptrdiff_t>(textEnd - at, limit - stored));
    const void* feed = std::memchr(at, '\n', reach);
    const std::size_t count = feed ? static_cast<std::size_t>(static_cast<const char*>(feed) - at) + 1 : reach;
    unsigned char seen = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const auto byte = static_cast<unsigned char>(at[i]);
        seen |= byte;
        stored[i] = byte;
    }
    if (seen >= 0x80) return false;
    at += count;
    stored += count;
    return true;
}

// Could this byte stand in a number or one of its names (infinity, nan(...))? Beyond ASCII, in a decimal point of the
// host's locale.
bool inNumber(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return std::isalnum(byte) || byte >= 0x80 || (c && std::strchr("+-.,()_", c));
}

}  // namespace

JsFile::JsFile(const char* name, const char* source, std::vector<int>& lines, IFileAccessor::OpenMode openMode,
               IFileAccessor::AccessMode accessMode, IFileAccessor::DataMode dataMode)
    : JsFile(name, std::string(source), std::vector<int>(lines), openMode, accessMode, dataMode) {}

JsFile::JsFile(const char* name, std::string&& source, std::vector<int>&& lines, IFileAccessor::OpenMode openMode,
               IFileAccessor::AccessMode accessMode, IFileAccessor::DataMode dataMode)
    : mName(name),
      mSource(std::move(source)),
      mLines(std::move(lines)),
      mOpenMode(openMode),
      mAccessMode(accessMode),
      mDataMode(dataMode) {
    mSource.resize(std::strlen(mSource.c_str()));
}

bool JsFile::is(_GUID id) const { return answers<JsFile, IFile, IObject>(id); }

bool JsFile::to(_GUID id, void** object) const { return answersTo<JsFile, IFile, IObject>(id, this, object); }

const char* JsFile::id() { return mName.c_str(); }

bool JsFile::seek(long offset, Position origin, IError** error) {
    std::int64_t bytes = 0;
    if (!length(bytes, error)) return false;
    // Compared without adding first: any offset may come.
    std::int64_t lowest = 0, highest = bytes, base = 0;
    switch (origin) {
        case FromBegin:
            break;
        case FromEnd:
            lowest = -bytes, highest = -1, base = bytes;
            break;
        case FromCurrent:
            lowest = -mPosition, highest = bytes - mPosition, base = mPosition;
            break;
        default:
            return false;
    }
    if (offset < lowest || offset > highest) {
        ErrorFactory::throwError(error, IError::StageFile, IError::CodeNotSupported,
                                 Resources::getErrorIndexOutOfBounds());
        return false;
    }
    mPosition = base + offset;
    return true;
}

std::int64_t JsFile::position(IError**) { return mPosition; }

std::int64_t JsFile::size(IError**) { return static_cast<std::int64_t>(mSource.size()); }

bool JsFile::eof(IError**) { return mPosition == static_cast<std::int64_t>(mSource.size()); }

bool JsFile::length(std::int64_t& bytes, IError** error) {
    IError* local = nullptr;
    bytes = size(&local);
    return passed(local, error);
}

bool JsFile::rest(std::int64_t& bytes, IError** error) {
    IError* local = nullptr;
    bytes = 0;
    const bool end = eof(&local);
    if (!local && !end) bytes = size(&local) - mPosition;
    return passed(local, error);
}

bool JsFile::read(void* buffer, unsigned long count, unsigned long& done, IError** error) {
    if (count == 0) {
        done = 0;
        return true;
    }
    if (!buffer) return refuseNull(error);
    done = 0;
    std::int64_t left = 0;
    if (!rest(left, error)) return false;
    done = std::min(static_cast<unsigned long>(left), count);
    std::memcpy(buffer, mSource.data() + mPosition, done);
    mPosition += static_cast<std::int64_t>(done);
    return true;
}

bool JsFile::readLine(char* buffer, unsigned long size, IError** error) {
    if (size == 0) return true;
    if (!buffer) return refuseNull(error);
    buffer[0] = '\0';
    std::int64_t left = 0;
    if (!rest(left, error)) return false;

    const unsigned long limit = size - 1;
    const char* const start = mSource.data() + mPosition;
    const unsigned long reach = std::min(static_cast<unsigned long>(left), limit);
    const void* feed = std::memchr(start, '\n', reach);
    unsigned long count = feed ? static_cast<unsigned long>(static_cast<const char*>(feed) - start) + 1 : reach;
    std::memcpy(buffer, start, count);
    buffer[count] = '\0';
    // A line feed behind a full buffer goes with its line.
    if (!feed && count < static_cast<unsigned long>(left) && start[count] == '\n') ++count;
    mPosition += static_cast<std::int64_t>(count);
    return true;
}

bool JsFile::readLineUnicode(wchar_t* buffer, unsigned long size, IError** error) {
    if (size == 0) return true;
    if (!buffer) return refuseNull(error);
    buffer[0] = 0;
    std::int64_t left = 0;
    if (!rest(left, error)) return false;

    const char* at = mSource.data() + mPosition;
    const char* const textEnd = at + left;
    wchar_t* stored = buffer;
    // No byte gives more than one code point, and `size` may be any number.
    wchar_t* const limit = buffer + std::min(size - 1, static_cast<unsigned long>(left));
    bool valid = true;
    bool more = !takePlainLine(at, textEnd, stored, limit);
    while (more && at != textEnd && stored != limit) {
        const char* next = at;
        at += std::min<std::ptrdiff_t>(announcedLength(static_cast<unsigned char>(*at)), textEnd - at);
        try {
            const auto point = utf8::next(next, textEnd);
            *stored++ = static_cast<wchar_t>(point);
            more = point != '\n';
        } catch (const utf8::not_enough_room&) {
            more = false;
        } catch (const utf8::exception&) {
            valid = more = false;
        }
    }
    *stored = 0;
    mPosition = at - mSource.data();
    return valid || refuseText(error);
}

bool JsFile::readDouble(double& value, IError** error) {
    std::int64_t left = 0;
    if (!rest(left, error)) return false;
    if (left == 0) return true;

    // sscanf measures the whole text that it is given, so it gets what a number can be made of only.
    const char* const start = mSource.data() + mPosition;
    const char* const textEnd = start + left;
    const char* const number =
        std::find_if_not(start, textEnd, [](char c) { return std::isspace(static_cast<unsigned char>(c)); });
    const char* const numberEnd = std::find_if_not(number, textEnd, inNumber);
    try {
        double converted = 0;
        int consumed = 0;
        if (std::sscanf(std::string(number, numberEnd).c_str(), "%lf%n", &converted, &consumed) != 1) return false;
        value = converted;
        mPosition += (number - start) + consumed;
        return true;
    } catch (const std::exception& failure) {
        ErrorFactory::throwError(error, IError::StageLanguage, IError::CodeInternal, failure.what());
        return false;
    }
}

bool JsFile::setvbuf(BufferingMode, int, IError**) { return true; }

bool JsFile::write(const void*, unsigned long, IError** error) { return refuseWriting(error); }

bool JsFile::writeLine(const char*, IError** error) { return refuseWriting(error); }

bool JsFile::writeLineUnicode(const wchar_t*, IError** error) { return refuseWriting(error); }

bool JsFile::flush(IError**) { return true; }

std::vector<int> JsFile::getLines() { return mLines; }

const char* JsFile::getSource() { return mSource.c_str(); }

}  // namespace vexil3::js
