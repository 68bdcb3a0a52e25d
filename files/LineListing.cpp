#include "files/LineListing.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace vexil3::js {

namespace {

// Nine digits always fit an int.
constexpr std::ptrdiff_t kPlainDigits = 9;

int unusualRow(const char* begin, const char* end) {
    return static_cast<int>(std::strtol(std::string(begin, end).c_str(), nullptr, 10));
}

}  // namespace

std::vector<int> parseLineListing(std::string_view listing) {
    std::vector<int> lines;
    // Most listings are numbers of up to six digits.
    lines.reserve(listing.size() / 6);
    const char* at = listing.data();
    const char* const end = at + listing.size();
    while (at != end) {
        const char* const row = at;
        int number = 0;
        while (at != end && static_cast<unsigned char>(*at - '0') < 10 && at - row < kPlainDigits)
            number = number * 10 + (*at++ - '0');
        if (at != end && *at != '\n') {
            const void* found = std::memchr(at, '\n', static_cast<std::size_t>(end - at));
            const char* const rowEnd = found ? static_cast<const char*>(found) : end;
            number = unusualRow(row, rowEnd);
            at = rowEnd;
        }
        if (at != row) lines.push_back(number);
        if (at != end) ++at;
    }
    return lines;
}

}  // namespace vexil3::js
