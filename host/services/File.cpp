#include "host/services/File.h"

#include <unistd.h>
#include <utf8.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "host/services/Guarded.h"

namespace vexil3 {

namespace {

constexpr unsigned long kChunk = 4096;

constexpr bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

}  // namespace

File* File::reader(Descriptor descriptor, std::string name, std::int64_t size) {
    return new File(std::move(descriptor), std::move(name), true, size);
}

File* File::writer(Descriptor descriptor, std::string name) {
    return new File(std::move(descriptor), std::move(name), false, 0);
}

bool File::is(_GUID id) const { return id == IFile::ID || id == IObject::ID; }

bool File::to(_GUID id, void** object) const {
    *object = is(id) ? const_cast<File*>(this) : nullptr;
    return *object != nullptr;
}

bool File::seek(long offset, Position origin, IError** error) {
    const std::int64_t base = origin == FromBegin ? 0 : origin == FromEnd ? mSize : mPosition;
    if (origin < FromBegin || origin > FromCurrent)
        return refuse(error, IError::StageArgument, IError::CodeNotSupported, "no such origin of a seek");
    // base lies between 0 and the size, so neither difference can overflow.
    if (offset < -base || offset > mSize - base)
        return refuse(error, IError::StageFile, IError::CodeNotSupported, "seek outside the file");
    mPosition = base + offset;
    return true;
}

std::int64_t File::position(IError**) { return mPosition; }

std::int64_t File::size(IError**) { return mSize; }

bool File::eof(IError**) { return mPosition >= mSize; }

bool File::read(void* buffer, unsigned long count, unsigned long& done, IError** error) {
    if (count == 0) {
        done = 0;
        return true;
    }
    if (!canRead(buffer, error)) return false;
    if (!readAt(mPosition, buffer, count, done, error)) return false;
    mPosition += static_cast<std::int64_t>(done);
    return true;
}

bool File::readLine(char* buffer, unsigned long size, IError** error) {
    if (size == 0) return true;
    if (!canRead(buffer, error)) return false;
    unsigned long length = 0;
    const unsigned long limit = size - 1;
    while (length < limit) {
        const unsigned long wanted = std::min(limit - length, kChunk);
        unsigned long done = 0;
        if (!readAt(mPosition, buffer + length, wanted, done, error)) {
            *buffer = '\0';
            return false;
        }
        const void* feed = std::memchr(buffer + length, '\n', done);
        const unsigned long taken =
            feed ? static_cast<unsigned long>(static_cast<const char*>(feed) - (buffer + length)) + 1 : done;
        mPosition += static_cast<std::int64_t>(taken);
        length += taken;
        if (feed || done < wanted) break;
    }
    buffer[length] = '\0';
    return true;
}

bool File::readLineUnicode(wchar_t* buffer, unsigned long size, IError** error) {
    if (size == 0) return true;
    if (!canRead(buffer, error)) return false;
    return guarded(error, [&] {
        *buffer = L'\0';
        char chunk[kChunk];
        for (unsigned long length = 0; length < size - 1;) {
            unsigned long done = 0;
            if (!readAt(mPosition, chunk, sizeof chunk, done, error)) return false;
            const char* at = chunk;
            const char* const end = chunk + done;
            try {
                while (at < end && length < size - 1) {
                    buffer[length++] = static_cast<wchar_t>(utf8::next(at, end));
                    if (buffer[length - 1] == L'\n') break;
                }
            } catch (const utf8::not_enough_room&) {
                // Cut by the chunk: read again from here, unless the file ends in the middle.
                if (at == chunk || done < sizeof chunk)
                    return refuse(error, IError::StageFile, IError::CodeInvalidContent, "not UTF-8");
            } catch (const utf8::exception&) {
                return refuse(error, IError::StageFile, IError::CodeInvalidContent, "not UTF-8");
            }
            mPosition += at - chunk;
            buffer[length] = L'\0';
            if (done == 0 || (length > 0 && buffer[length - 1] == L'\n')) break;
        }
        return true;
    });
}

bool File::readDouble(double& value, IError** error) {
    if (!canRead(&value, error)) return false;
    char chunk[kChunk];
    unsigned long done = 0;
    const char* first = nullptr;
    do {
        if (!readAt(mPosition, chunk, sizeof chunk, done, error)) return false;
        if (done == 0) return true;
        first = std::find_if_not(chunk, chunk + done, isBlank);
        mPosition += first - chunk;
    } while (first != chunk);

    double number = 0;
    const auto [last, status] = std::from_chars(chunk, chunk + done, number);
    if (status != std::errc()) return refuse(error, IError::StageFile, IError::CodeInvalidContent, "not a number");
    value = number;
    mPosition += last - chunk;
    return true;
}

// Nothing is buffered, which satisfies every mode.
bool File::setvbuf(BufferingMode, int, IError**) { return true; }

bool File::flush(IError**) { return true; }

bool File::write(const void* buffer, unsigned long count, IError** error) {
    if (mReadable) return refuse(error, IError::StageFile, IError::CodeNotSupported, "is open for reading only");
    if (!buffer && count) return refuse(error, IError::StageArgument, IError::CodeNullObject, "nothing to write");
    const char* from = static_cast<const char*>(buffer);
    while (count) {
        const ssize_t written = ::pwrite(mDescriptor.get(), from, count, mPosition);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return fail(error, "cannot write", written < 0 ? errno : ENOSPC);
        from += written;
        count -= static_cast<unsigned long>(written);
        mPosition += written;
        mSize = std::max(mSize, mPosition);
    }
    return true;
}

bool File::writeLine(const char* text, IError** error) {
    if (!text) return refuse(error, IError::StageArgument, IError::CodeNullObject, "nothing to write");
    return guarded(error, [&] {
        const std::string line = std::string(text) + '\n';
        return write(line.data(), line.size(), error);
    });
}

bool File::writeLineUnicode(const wchar_t* text, IError** error) {
    if (!text) return refuse(error, IError::StageArgument, IError::CodeNullObject, "nothing to write");
    return guarded(error, [&] {
        std::string line;
        try {
            for (; *text; ++text) utf8::append(static_cast<char32_t>(*text), line);
        } catch (const utf8::exception&) {
            return refuse(error, IError::StageArgument, IError::CodeInvalidContent, "a character that is none");
        }
        line += '\n';
        return write(line.data(), line.size(), error);
    });
}

bool File::canRead(const void* buffer, IError** error) const {
    if (!mReadable) return refuse(error, IError::StageFile, IError::CodeNotSupported, "is open for writing only");
    if (!buffer) return refuse(error, IError::StageArgument, IError::CodeNullObject, "no buffer to read into");
    return true;
}

bool File::readAt(std::int64_t position, void* buffer, unsigned long count, unsigned long& done, IError** error) const {
    done = 0;
    while (done < count) {
        const ssize_t got = ::pread(mDescriptor.get(), static_cast<char*>(buffer) + done, count - done,
                                    position + static_cast<std::int64_t>(done));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return fail(error, "cannot read", errno);
        if (got == 0) break;
        done += static_cast<unsigned long>(got);
    }
    return true;
}

bool File::fail(IError** error, const char* what, int number) const {
    return guarded(error, [&] {
        return refuse(error, IError::StageFile, IError::CodeInvalidContent,
                      (std::string(what) + ": " + std::strerror(number)).c_str());
    });
}

bool File::refuse(IError** error, IError::ErrorStage stage, IError::ErrorCode code, const char* what) const {
    return guarded(error, [&] {
        ErrorFactory::throwError(error, stage, code, (mName + ": " + what).c_str());
        return false;
    });
}

}  // namespace vexil3
