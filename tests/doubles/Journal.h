// What was asked of a double, in order.
#pragma once

#include <mutex>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace vexil3::test {

template <class T>
std::string shown(const T& value) {
    std::ostringstream text;
    if constexpr (std::is_enum_v<T>)
        text << static_cast<int>(value);
    else if constexpr (std::is_pointer_v<T> && !std::is_same_v<T, const char*>)
        text << static_cast<const void*>(value);
    else if constexpr (std::is_same_v<T, const char*>)
        text << (value ? value : "(null)");
    else
        text << value;
    return text.str();
}

// [any thread]
class Journal {
public:
    bool recording = true;

    template <class... Arguments>
    void add(const char* name, const Arguments&... arguments) {
        if (!recording) return;
        std::string call = name;
        ((call += ' ' + shown(arguments)), ...);
        const std::lock_guard lock(mMutex);
        mCalls.push_back(std::move(call));
    }

    // The calls since the last take.
    std::vector<std::string> take() {
        const std::lock_guard lock(mMutex);
        return std::exchange(mCalls, {});
    }

private:
    std::mutex mMutex;
    std::vector<std::string> mCalls;
};

}  // namespace vexil3::test
