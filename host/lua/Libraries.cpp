#include "host/lua/Libraries.h"

#include <dlfcn.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace vexil3::lua {

namespace {

constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";

bool isPlainName(std::string_view name) {
    return !name.empty() && name[0] != '.' && name.find_first_not_of(kLetters) == std::string_view::npos;
}

// The folder beside the module's own, wherever the two were put.
std::filesystem::path findFolder() {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<const void*>(&findFolder), &info) || !info.dli_fname) return {};
    return std::filesystem::absolute(info.dli_fname).parent_path().parent_path() / "share/vexil/lua";
}

const std::filesystem::path& folder() {
    static const std::filesystem::path path = findFolder();
    return path;
}

}  // namespace

const std::string* Libraries::find(std::string_view name) {
    if (!isPlainName(name)) return nullptr;
    const std::lock_guard lock(mMutex);
    auto entry = mEntries.find(name);
    if (entry == mEntries.end()) {
        std::ifstream file(folder() / name, std::ios::binary);
        std::string text{std::istreambuf_iterator<char>(file), {}};
        // Bytecode is trusted only when this process made it.
        if (!file.is_open() || file.bad() || isBytecode(text)) return nullptr;
        entry = mEntries.try_emplace(std::string(name), Entry{std::move(text), {}}).first;
    }
    return entry->second.bytecode.empty() ? &entry->second.text : &entry->second.bytecode;
}

void Libraries::keepCompiled(std::string_view name, std::string bytecode) {
    const std::lock_guard lock(mMutex);
    const auto entry = mEntries.find(name);
    if (entry != mEntries.end() && entry->second.bytecode.empty()) entry->second.bytecode = std::move(bytecode);
}

}  // namespace vexil3::lua
