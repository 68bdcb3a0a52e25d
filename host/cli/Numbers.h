// Numbers and times as text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vexil3::cli {

// Room that every function here finds enough.
constexpr int kNumberRoom = 384;

// Writes the shortest text that reads back as exactly `value`; returns its end.
char* writeShortest(char* to, double value);

// Writes `value` with `decimals` digits (0 to 8) behind the point; returns its end.
char* writeFixed(char* to, double value, int decimals);

// How many decimals (0 to 8) tell the values apart from their neighbours; 8 when more would be
// needed. Not-a-number is left out.
int decimalsOf(const double* values, unsigned long count);

// Writes seconds since 1970 UTC as ISO 8601; returns its end.
char* writeTime(char* to, double seconds);

std::string shortest(double value);
std::string timeText(double seconds);

// The whole text as a finite number.
std::optional<double> parseNumber(std::string_view text);

// ISO 8601 (a date, or a date and a time of day, with "Z", an offset or nothing for UTC), or seconds
// since 1970 UTC; of the years 0 to 9999, so that milliseconds are not taken for seconds. Eight digits
// are a date, 20240131.
std::optional<double> parseTime(std::string_view text);

}  // namespace vexil3::cli
