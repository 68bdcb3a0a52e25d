// Lines of source files, for people to look at.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexil3::cli {

class SourceText {
public:
    // The line `number` (from 1) of `file` without its end; nothing when there is none, or when
    // the file was changed after the object was made. Valid while the object lives.
    std::optional<std::string_view> line(const std::string& file, int number);

private:
    const std::vector<std::string>& lines(const std::string& file);

    const std::filesystem::file_time_type mMade = std::filesystem::file_time_type::clock::now();
    std::map<std::string, std::vector<std::string>> mFiles;
};

}  // namespace vexil3::cli
