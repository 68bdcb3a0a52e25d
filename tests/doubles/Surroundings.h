// The machine around a test: folders, environment, descriptors.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>

namespace vexil3::test {

// A new, empty folder, removed with all that is in it.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "vexil-test-XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
        mPath = name;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return mPath; }
    std::string operator/(const std::string& name) const { return mPath + "/" + name; }

private:
    std::string mPath;
};

// Sets a variable, or unsets it, and puts back what was there.
class Variable {
public:
    Variable(const char* name, const char* value) : mName(name) {
        if (const char* earlier = std::getenv(name)) mEarlier = earlier;
        set(value);
    }
    Variable(const char* name, const std::string& value) : Variable(name, value.c_str()) {}
    ~Variable() { set(mEarlier ? mEarlier->c_str() : nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    void set(const char* value) { value ? setenv(mName, value, 1) : unsetenv(mName); }

    const char* mName;
    std::optional<std::string> mEarlier;
};

inline std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::string& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary);
    file << content;
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

inline std::ptrdiff_t entriesIn(const std::string& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

inline std::ptrdiff_t openDescriptors() { return entriesIn("/proc/self/fd"); }

}  // namespace vexil3::test
