#include "host/cli/Numbers.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <optional>

namespace vexil3::cli {

namespace {

// A double carries this many decimal digits for certain: such a decimal reads back as the same
// number, and is the quotient of two numbers that are exact.
constexpr std::size_t kExactDigits = 15;
constexpr double kExactLimit = 1e15;

// The years 0 to 9999, which have four digits.
constexpr bool isInCalendar(double seconds) { return seconds >= -62167219200.0 && seconds < 253402300800.0; }

constexpr std::array<double, kExactDigits + 1> kPowers{1,   1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                       1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// `value` * 10^decimals as the nearest whole number; nothing beyond the digits that a double carries.
std::optional<std::int64_t> scaledBy(double value, int decimals) {
    const double scaled = value * kPowers[decimals];
    if (!(std::abs(scaled) < kExactLimit)) return {};
    return static_cast<std::int64_t>(scaled + (scaled < 0 ? -0.5 : 0.5));
}

bool isDecimal(double value, int decimals) {
    const auto scaled = scaledBy(value, decimals);
    return scaled && static_cast<double>(*scaled) / kPowers[decimals] == value;
}

// Writes exactly `digits` digits.
inline char* writeDigits(char* to, std::uint64_t value, int digits) {
    for (int i = digits - 1; i >= 0; --i, value /= 10) to[i] = static_cast<char>('0' + value % 10);
    return to + digits;
}

// `scaled` / 10^decimals.
inline char* writeScaled(char* to, std::int64_t scaled, int decimals) {
    if (scaled < 0) *to++ = '-';
    const auto magnitude = static_cast<std::uint64_t>(std::abs(scaled));
    const auto power = static_cast<std::uint64_t>(kPowers[decimals]);
    to = std::to_chars(to, to + 24, magnitude / power).ptr;
    if (decimals == 0) return to;
    *to++ = '.';
    return writeDigits(to, magnitude % power, decimals);
}

// The number of a short decimal, several times quicker than any decimal is read; nothing when the
// text is anything else.
inline std::optional<double> parseDecimal(std::string_view text) {
    if (text.size() > kExactDigits) return {};
    const bool negative = text.starts_with('-');
    std::uint64_t digits = 0;
    std::size_t count = 0;
    std::size_t decimals = 0;
    for (std::size_t i = negative ? 1 : 0; i < text.size(); ++i) {
        const auto digit = static_cast<unsigned>(text[i] - '0');
        if (text[i] == '.' && decimals == 0) {
            decimals = text.size() - i;
        } else if (digit <= 9) {
            digits = digits * 10 + digit;
            ++count;
        } else {
            return {};
        }
    }
    if (count == 0 || (negative && digits == 0)) return {};
    const double value = static_cast<double>(digits) / kPowers[decimals ? decimals - 1 : 0];
    return negative ? -value : value;
}

// Takes exactly `digits` digits off the front.
bool takeDigits(std::string_view& text, unsigned digits, unsigned& value) {
    if (text.size() < digits) return false;
    value = 0;
    for (const char c : text.substr(0, digits)) {
        const auto digit = static_cast<unsigned>(c - '0');
        if (digit > 9) return false;
        value = value * 10 + digit;
    }
    text.remove_prefix(digits);
    return true;
}

bool takeOne(std::string_view& text, std::string_view anyOf) {
    if (text.empty() || anyOf.find(text.front()) == anyOf.npos) return false;
    text.remove_prefix(1);
    return true;
}

std::optional<double> parseOffset(std::string_view text) {
    if (text.empty() || text == "Z" || text == "z") return 0;
    const double sign = text.front() == '-' ? -1 : 1;
    unsigned hours = 0;
    unsigned minutes = 0;
    if (!takeOne(text, "+-") || !takeDigits(text, 2, hours)) return {};
    takeOne(text, ":");
    if ((!text.empty() && !takeDigits(text, 2, minutes)) || !text.empty() || hours > 23 || minutes > 59) return {};
    return sign * (hours * 3600.0 + minutes * 60.0);
}

std::optional<double> parseTimeOfDay(std::string_view text) {
    unsigned hours = 0;
    unsigned minutes = 0;
    unsigned seconds = 0;
    double fraction = 0;
    if (!takeDigits(text, 2, hours) || !takeOne(text, ":") || !takeDigits(text, 2, minutes)) return {};
    if (takeOne(text, ":")) {
        if (!takeDigits(text, 2, seconds)) return {};
        if (text.starts_with('.')) {
            const auto [end, status] =
                std::from_chars(text.data(), text.data() + text.size(), fraction, std::chars_format::fixed);
            if (status != std::errc()) return {};
            text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        }
    }
    const std::optional<double> offset = parseOffset(text);
    if (!offset || hours > 23 || minutes > 59 || seconds > 59) return {};
    return hours * 3600.0 + minutes * 60.0 + seconds + fraction - *offset;
}

}  // namespace

char* writeShortest(char* to, double value) {
    // Prices have few decimals, and those are several times quicker as integers.
    constexpr int kDecimals = 5;
    const auto scaled = scaledBy(value, kDecimals);
    if (scaled && static_cast<double>(*scaled) / kPowers[kDecimals] == value && (*scaled || !std::signbit(value))) {
        to = writeScaled(to, *scaled, kDecimals);
        while (to[-1] == '0') --to;
        return to[-1] == '.' ? to - 1 : to;
    }
    return std::to_chars(to, to + kNumberRoom, value).ptr;
}

char* writeFixed(char* to, double value, int decimals) {
    if (const auto scaled = scaledBy(value, decimals)) return writeScaled(to, *scaled, decimals);
    return std::to_chars(to, to + kNumberRoom, value, std::chars_format::fixed, decimals).ptr;
}

int decimalsOf(const double* values, unsigned long count) {
    int decimals = 0;
    for (unsigned long i = 0; i < count; ++i)
        while (decimals < 8 && std::isfinite(values[i]) && !isDecimal(values[i], decimals)) ++decimals;
    return decimals;
}

char* writeTime(char* to, double seconds) {
    using namespace std::chrono;
    // A double holds a millisecond of these years only nearly.
    const double rounded = std::floor(seconds * 1000 + 0.5);
    if (!isInCalendar(rounded / 1000)) return writeShortest(to, seconds);
    const sys_time<milliseconds> moment(milliseconds(static_cast<std::int64_t>(rounded)));
    const auto day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss clock(moment - day);
    const auto put = [&to](char before, auto value, int digits) {
        *to++ = before;
        to = writeDigits(to, static_cast<std::uint64_t>(value), digits);
    };
    to = writeDigits(to, static_cast<std::uint64_t>(static_cast<int>(date.year())), 4);
    put('-', static_cast<unsigned>(date.month()), 2);
    put('-', static_cast<unsigned>(date.day()), 2);
    put('T', clock.hours().count(), 2);
    put(':', clock.minutes().count(), 2);
    put(':', clock.seconds().count(), 2);
    if (const auto fraction = clock.subseconds().count()) put('.', fraction, 3);
    *to++ = 'Z';
    return to;
}

std::string shortest(double value) {
    char text[kNumberRoom];
    return {text, writeShortest(text, value)};
}

std::string timeText(double seconds) {
    char text[kNumberRoom];
    return {text, writeTime(text, seconds)};
}

std::optional<double> parseNumber(std::string_view text) {
    if (const auto plain = parseDecimal(text)) return plain;
    double value = 0;
    const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (status != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return {};
    return value;
}

std::optional<double> parseTime(std::string_view text) {
    const bool isCompact = text.size() == 8 && text.find_first_not_of("0123456789") == text.npos;
    if (!isCompact && (text.size() < 10 || text[4] != '-')) {
        const std::optional<double> seconds = parseNumber(text);
        return seconds && isInCalendar(*seconds) ? seconds : std::nullopt;
    }
    unsigned year = 0;
    unsigned month = 0;
    unsigned day = 0;
    const auto takeDash = [&] { return isCompact || takeOne(text, "-"); };
    if (!takeDigits(text, 4, year) || !takeDash() || !takeDigits(text, 2, month) || !takeDash() ||
        !takeDigits(text, 2, day))
        return {};
    const std::chrono::year_month_day date(std::chrono::year(static_cast<int>(year)), std::chrono::month(month),
                                           std::chrono::day(day));
    if (!date.ok()) return {};
    const double midnight = std::chrono::sys_days(date).time_since_epoch().count() * 86400.0;
    if (text.empty()) return midnight;
    if (!takeOne(text, "Tt ")) return {};
    const std::optional<double> time = parseTimeOfDay(text);
    if (!time) return {};
    return midnight + *time;
}

}  // namespace vexil3::cli
