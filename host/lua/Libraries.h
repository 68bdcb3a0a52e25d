// The Lua files that come with the platform, for scripts to require.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace vexil3::lua {

// Reads each library once and keeps it, compiled as soon as a state has done so. What it hands out
// stays valid while it lives. [any thread]
class Libraries {
public:
    // The file `name`, as text or as bytecode of this process's own making; null when there is none.
    // A name with anything but letters, digits, '.', '_' and '-' names none.
    const std::string* find(std::string_view name);

    // Replaces the text that find gave by its bytecode.
    void keepCompiled(std::string_view name, std::string bytecode);

    static bool isBytecode(const std::string& chunk) { return !chunk.empty() && chunk[0] == '\x1B'; }

private:
    struct Entry {
        std::string text;
        std::string bytecode;
    };

    std::mutex mMutex;
    std::map<std::string, Entry, std::less<>> mEntries;
};

}  // namespace vexil3::lua
