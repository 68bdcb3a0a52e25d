// The line listing, as text and as a table.
#pragma once

#include <string_view>
#include <vector>

namespace vexil3::js {

// The numbers of a listing, one a row in order. Empty rows are dropped; a row is read as strtol reads
// a decimal number, so that one without digits gives 0.
std::vector<int> parseLineListing(std::string_view listing);

}  // namespace vexil3::js
