#include "lines/FileLinesCache.h"

#include <utility>

namespace vexil3::js {

void FileLinesCache::add(const char* name, std::vector<int>& lines) {
    LineTable table = std::make_shared<const std::vector<int>>(lines);
    std::string key(name);
    const std::lock_guard lock(mMutex);
    // An earlier table goes when the lock is free again.
    mLines[std::move(key)].swap(table);
}

std::vector<int> FileLinesCache::getFileLines(const char* name) {
    const LineTable found = table(name);
    return found ? *found : std::vector<int>();
}

bool FileLinesCache::getLine(const char* name, int& line) { return mapLine(table(name), line); }

LineTable FileLinesCache::table(const char* name) const {
    if (!name) return nullptr;
    const std::lock_guard lock(mMutex);
    const auto found = mLines.find(std::string_view(name));
    return found == mLines.end() ? nullptr : found->second;
}

}  // namespace vexil3::js
