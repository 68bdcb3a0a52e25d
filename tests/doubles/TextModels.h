// Slow, plain models of everything that reads the texts of a translation.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "doubles/Fault.h"
#include "lines/FileLinesCache.h"

namespace vexil3::test {

inline std::vector<std::string> slowSplit(const std::string& text, char delimiter) {
    std::vector<std::string> pieces;
    std::istringstream stream(text);
    for (std::string piece; std::getline(stream, piece, delimiter);)
        if (!piece.empty()) pieces.push_back(piece);
    return pieces;
}

inline std::vector<int> slowListing(const std::string& listing) {
    std::vector<int> numbers;
    for (const std::string& row : slowSplit(listing, '\n'))
        numbers.push_back(static_cast<int>(std::strtol(row.c_str(), nullptr, 10)));
    return numbers;
}

// The errors that a failed translation reports: one a line, with the line of those that have one.
inline std::vector<Fault> slowFailures(const std::string& text, const std::string& script) {
    std::vector<Fault> all;
    for (const std::string& row : slowSplit(text, '\n')) {
        if (row.rfind("source(", 0) != 0) {
            all.push_back({3, 23, row});
            continue;
        }
        const std::string afterMarker = row.substr(7);
        const std::string number = afterMarker.substr(0, afterMarker.find(','));
        const std::size_t colon = row.find(": ");
        all.push_back({3, 23, colon == std::string::npos ? row : row.substr(colon + 2), script,
                       static_cast<int>(std::strtol(number.c_str(), nullptr, 10))});
    }
    return all;
}

// The rewriting of one message, search by search on a whole text.
inline std::string slowRewrite(std::string text, const std::string& marker, const std::string& file,
                               js::FileLinesCache& cache) {
    for (std::size_t p = text.find(marker); p != std::string::npos;) {
        const std::size_t start = p + marker.size();
        const std::size_t end = std::min(text.find_first_of("\n: ", start), text.size());
        int line = static_cast<int>(std::strtol(text.substr(start, end - start).c_str(), nullptr, 10));
        cache.getLine(file.c_str(), line);
        text.replace(start, end - start, std::to_string(line));
        if (start >= text.size()) break;
        p = text.find(marker, start);
    }
    return text;
}

}  // namespace vexil3::test
