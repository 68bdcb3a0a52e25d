#include "files/split.h"

#include <algorithm>

namespace vexil3::js {

void split(const std::string& text, char delimiter, std::vector<std::string>& pieces) {
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(delimiter, start), text.size());
        if (end > start) pieces.emplace_back(text, start, end - start);
        start = end + 1;
    }
}

std::vector<std::string> split(const std::string& text, char delimiter) {
    std::vector<std::string> pieces;
    split(text, delimiter, pieces);
    return pieces;
}

}  // namespace vexil3::js
