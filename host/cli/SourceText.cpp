#include "host/cli/SourceText.h"

#include <fstream>

namespace vexil3::cli {

std::optional<std::string_view> SourceText::line(const std::string& file, int number) {
    const std::vector<std::string>& all = lines(file);
    if (number < 1 || static_cast<std::size_t>(number) > all.size()) return {};
    return all[static_cast<std::size_t>(number) - 1];
}

const std::vector<std::string>& SourceText::lines(const std::string& file) {
    const auto [entry, isNew] = mFiles.try_emplace(file);
    std::error_code status;
    if (!isNew || !std::filesystem::is_regular_file(file, status)) return entry->second;
    // What was changed meanwhile is not what runs.
    if (std::filesystem::last_write_time(file, status) > mMade) return entry->second;
    std::ifstream stream(file, std::ios::binary);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        entry->second.push_back(std::move(line));
    }
    return entry->second;
}

}  // namespace vexil3::cli
