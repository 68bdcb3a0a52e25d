// Texts in pieces.
#pragma once

#include <string>
#include <vector>

namespace vexil3::js {

// Appends the pieces of `text` between delimiters to `pieces`, in order. Empty pieces are dropped,
// nothing is trimmed.
void split(const std::string& text, char delimiter, std::vector<std::string>& pieces);

// The same in a vector of its own.
std::vector<std::string> split(const std::string& text, char delimiter);

}  // namespace vexil3::js
