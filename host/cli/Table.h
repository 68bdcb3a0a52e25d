// Small tables of texts, and JSON texts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/cli/Output.h"

namespace vexil3::cli {

class Table {
public:
    // `right` says which columns stand at the right edge; those it doesn't reach don't.
    Table(std::vector<std::string> header, std::vector<bool> right)
        : mRight(std::move(right)), mRows{std::move(header)} {}

    // As many cells as the header has.
    void add(std::vector<std::string> row) { mRows.push_back(std::move(row)); }

    void write(Output& output) const;
    void writeCsv(Output& output) const;

private:
    const std::vector<bool> mRight;
    std::vector<std::vector<std::string>> mRows;
};

// Writes a cell of comma-separated values, quoted where it must be.
void writeCsvCell(Output& output, std::string_view text);

// The document as text; what is not UTF-8 in it is replaced.
std::string jsonText(const nlohmann::ordered_json& document, int indent = -1);

}  // namespace vexil3::cli
