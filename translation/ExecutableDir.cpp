#include "translation/ExecutableDir.h"

#include <unistd.h>

#include <cstdlib>

namespace vexil3::js {

std::string getExecutableDir() {
    char buffer[260];
    const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (length <= 0) return "./";
    const std::string path(buffer, static_cast<std::size_t>(length));
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

std::string getCacheDir() {
    const char* directory = std::getenv("VEXIL_JS_CACHE");
    return (directory ? std::string(directory) : getExecutableDir() + "/vexil.js.cache") + "/";
}

}  // namespace vexil3::js
