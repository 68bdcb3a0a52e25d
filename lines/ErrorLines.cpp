#include "lines/ErrorLines.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <vexil3/ref.h>

namespace vexil3::js {

namespace {

// The number that begins the text, as strtol reads it.
int leadingNumber(std::string_view text) {
    constexpr std::size_t kPlainDigits = 9;
    if (text.size() <= kPlainDigits) {
        int number = 0;
        std::size_t i = 0;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9') number = number * 10 + (text[i++] - '0');
        if (i == text.size()) return number;
    }
    return static_cast<int>(std::strtol(std::string(text).c_str(), nullptr, 10));
}

// Rewrites a message in one pass from left to right.
class LineRewriter {
public:
    LineRewriter(std::string_view marker, const LineTable& table, std::string_view text)
        : mMarker(marker), mTable(table), mRest(text) {
        mDone.reserve(text.size() + text.size() / 16);
    }

    std::string rewrite() {
        std::size_t digits = 0;
        while (takeMarker(digits)) digits = replaceNumber();
        mDone.append(mRest);
        return std::move(mDone);
    }

private:
    // Moves all up to and with the next marker to what is done; false when there is none. The last
    // `digits` characters of what is done were put in for a number and count as text again: a script
    // may be named so that its marker begins in them.
    bool takeMarker(std::size_t digits) {
        const std::string_view done = mDone;
        for (std::size_t part = std::min(digits, mMarker.size() - 1); part > 0; --part) {
            const std::string_view missing = mMarker.substr(part);
            if (mMarker.starts_with(done.substr(done.size() - part)) && mRest.starts_with(missing)) {
                take(missing.size());
                return true;
            }
        }
        const void* at = memmem(mRest.data(), mRest.size(), mMarker.data(), mMarker.size());
        if (!at) return false;
        take(static_cast<std::size_t>(static_cast<const char*>(at) - mRest.data()) + mMarker.size());
        return true;
    }

    // Puts the mapped number in place of the next one; gives its length.
    std::size_t replaceNumber() {
        const std::string_view number = mRest.substr(0, mRest.find_first_of("\n: "));
        int line = leadingNumber(number);
        mapLine(mTable, line);
        char digits[16];
        const char* const end = std::to_chars(digits, digits + sizeof digits, line).ptr;
        mRest.remove_prefix(number.size());
        const std::size_t length = static_cast<std::size_t>(end - digits);
        mDone.append(digits, length);
        return length;
    }

    void take(std::size_t count) {
        mDone.append(mRest.substr(0, count));
        mRest.remove_prefix(count);
    }

    std::string_view mMarker;
    const LineTable& mTable;
    std::string_view mRest;
    std::string mDone;
};

void addRewritten(IError** error, IErrorEntry* entry, const FileLinesCache& cache, const char* scriptName) {
    const char* file = entry->file();
    const char* message = entry->message();
    const LineTable table = cache.table(file ? file : scriptName);
    int line = entry->line();
    if (file) mapLine(table, line);
    const std::string marker = file ? ".jsl:" : std::string(scriptName) + ":";
    const std::string text = LineRewriter(marker, table, message ? message : "").rewrite();
    ErrorFactory::throwError(error, entry->stage(), entry->code(), text.c_str(), file, line, entry->column());
}

}  // namespace

void updateErrorLines(IError** error, IError* source, FileLinesCache* cache, const char* scriptName) noexcept {
    if (!source) return;
    // Counted first: `error` may hold `source` itself.
    for (std::uint64_t i = 0, count = source->count(); i < count; ++i) {
        const Ref<IErrorEntry> entry(source->get(i));
        if (!entry) continue;
        try {
            addRewritten(error, entry.get(), *cache, scriptName ? scriptName : "");
        } catch (...) {
            ErrorFactory::throwError(error, entry->stage(), entry->code(), entry->message(), entry->file(),
                                     entry->line(), entry->column());
        }
    }
}

}  // namespace vexil3::js
