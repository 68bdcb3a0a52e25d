// The line tables of all translated files that a language has loaded.
//
// Entry i of a file's table is the JavaScript line for line i of its Lua text, as Lua counts lines.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <vexil3/guid.h>

namespace vexil3::js {

// A table that nobody changes any more; null is an empty one.
using LineTable = std::shared_ptr<const std::vector<int>>;

// Maps `line` through a table; false, and `line` as it was, outside it.
inline bool mapLine(const LineTable& table, int& line) noexcept {
    if (!table || line < 0 || static_cast<std::size_t>(line) >= table->size()) return false;
    line = (*table)[static_cast<std::size_t>(line)];
    return true;
}

// Tables by file id. [any thread]
class VEXIL_API FileLinesCache {
public:
    // Keeps a copy of `lines` under `name`, in place of an earlier one.
    void add(const char* name, std::vector<int>& lines);
    // A copy of the table; an empty one for null and for unknown names.
    std::vector<int> getFileLines(const char* name);
    // Maps `line` in place. False, and `line` as it was, for null, for an unknown name, and outside
    // the table.
    bool getLine(const char* name, int& line);

    // The table itself, which stays as it is for whoever holds it; null as getFileLines is empty.
    LineTable table(const char* name) const;

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>()(text); }
    };

    mutable std::mutex mMutex;
    std::unordered_map<std::string, LineTable, Hash, std::equal_to<>> mLines;
};

}  // namespace vexil3::js
