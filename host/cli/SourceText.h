// Lines of source files, for people to look at.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vexil3::cli {

class SourceText {
public:
    // The line `number` (from 1) of `file` without its end; nothing when there is none. Valid while
    // the object lives.
    std::optional<std::string_view> line(const std::string& file, int number);
    // How many lines the file has; 0 when it cannot be read.
    int count(const std::string& file) { return static_cast<int>(lines(file).size()); }

private:
    const std::vector<std::string>& lines(const std::string& file);

    std::map<std::string, std::vector<std::string>> mFiles;
};

}  // namespace vexil3::cli
