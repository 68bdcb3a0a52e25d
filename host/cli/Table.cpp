#include "host/cli/Table.h"

#include <algorithm>

namespace vexil3::cli {

namespace {

int columnsOf(std::string_view text) {
    return static_cast<int>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

}  // namespace

void Table::write(Output& output) const {
    std::vector<int> widths(mRows.front().size());
    for (const auto& row : mRows)
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], columnsOf(row[i]));
    for (const auto& row : mRows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const bool right = i < mRight.size() && mRight[i];
            const bool last = i + 1 == row.size();
            output.padded(row[i], last && !right ? 0 : widths[i], right);
            output.text(last ? "\n" : "  ");
        }
    }
}

void Table::writeCsv(Output& output) const {
    for (const auto& row : mRows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i) output.character(',');
            writeCsvCell(output, row[i]);
        }
        output.character('\n');
    }
}

void writeCsvCell(Output& output, std::string_view text) {
    if (text.find_first_of(",\"\r\n") == text.npos) return output.text(text);
    output.character('"');
    for (const char c : text) {
        if (c == '"') output.character('"');
        output.character(c);
    }
    output.character('"');
}

std::string jsonText(const nlohmann::ordered_json& document, int indent) {
    return document.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace vexil3::cli
