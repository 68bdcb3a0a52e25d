#include "host/cli/Environment.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>

namespace vexil3::cli {

namespace fs = std::filesystem;

namespace {

// A translation is short: starting quickly counts for more than running at full speed.
constexpr const char* kJavaOptions = "-XX:TieredStopAtLevel=1 -XX:+UseSerialGC -Xshare:auto";

constexpr const char* kTranslator = "scrivel.jar";

const char* variable(const char* name) {
    const char* value = std::getenv(name);
    return value && *value ? value : nullptr;
}

std::string home() {
    if (const char* value = variable("HOME")) return value;
    const passwd* user = ::getpwuid(::getuid());
    return user && user->pw_dir ? user->pw_dir : "";
}

std::string userCache() {
    const char* xdg = variable("XDG_CACHE_HOME");
    if (xdg && *xdg == '/') return std::string(xdg) + "/vexil";
    const std::string user = home();
    return user.empty() ? "" : user + "/.cache/vexil";
}

bool isPlain(const std::string& path) {
    return path.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-+:,@%=") ==
           path.npos;
}

// The class path goes into a shell's command line as it is.
std::string forShell(const std::string& path) {
    if (isPlain(path)) return path;
    std::string quoted = "'";
    for (const char c : path) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// The Java launcher splits its variable at blanks and knows both quotation marks, but no escapes.
std::string forJava(const std::string& path) {
    std::string quoted;
    for (const char c : path) {
        const char mark = c == '"' ? '\'' : '"';
        quoted += isPlain(std::string(1, c)) ? std::string(1, c) : std::string{mark, c, mark};
    }
    return quoted;
}

std::string translatorFolder() { return prefix() + "/share/vexil/scrivel/"; }

// A folder for each build of the translator: what one wrote runs with its own library only.
std::string defaultCache() {
    const std::string user = userCache();
    struct stat built {};
    if (user.empty() || ::stat((translatorFolder() + kTranslator).c_str(), &built) != 0) return user;
    return user + "/" + std::to_string(built.st_mtim.tv_sec);
}

bool isOnSearchPath(const std::string& program) {
    const char* path = variable("PATH");
    std::istringstream folders(path ? path : "/usr/bin:/bin");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (::access(((folder.empty() ? "." : folder) + "/" + program).c_str(), X_OK) == 0) return true;
    return false;
}

// Why no file as large as the script can be made in the folder, or an empty text.
std::string cannotWrite(const std::string& folder, const std::string& script) {
    if (::access((folder + "/").c_str(), W_OK | X_OK) != 0) return std::strerror(errno);
    std::error_code unknown;
    const fs::space_info space = fs::space(folder + "/", unknown);
    const std::uintmax_t bytes = unknown ? 0 : fs::file_size(script, unknown);
    return unknown || space.available > bytes ? "" : std::strerror(ENOSPC);
}

// Java reads the names of files as the locale's text, and the C locale has but ASCII.
void setLocale() {
    const char* name = nullptr;
    for (const char* const each : {"LC_ALL", "LC_CTYPE", "LANG"})
        if (!name) name = variable(each);
    if (!name || !std::strcmp(name, "C") || !std::strcmp(name, "POSIX")) ::setenv("LC_ALL", "C.UTF-8", 1);
}

// The module takes folders as they stand, an empty one for the root, and its file accessors see names from
// a root of their own.
void seeFromRoot(const char* name) {
    const char* folder = variable(name);
    if (!folder) ::unsetenv(name);
    if (folder && *folder != '/') ::setenv(name, fs::absolute(folder).c_str(), 1);
}

}  // namespace

std::string prefix() {
    std::error_code status;
    return fs::read_symlink("/proc/self/exe", status).parent_path().parent_path().string();
}

std::string defaultPrices() { return prefix() + "/share/vexil/examples/prices.csv"; }

void setEnvironment() {
    setLocale();
    const std::string cache = defaultCache();
    if (!variable("VEXIL_JS_CACHE")) ::setenv("VEXIL_JS_CACHE", cache.c_str(), 1);
    seeFromRoot("VEXIL_JS_CACHE");
    seeFromRoot("VEXIL_TEMP_DIR");
    if (!variable("VEXIL_CLASSPATH")) ::setenv("VEXIL_CLASSPATH", forShell(translatorFolder()).c_str(), 1);
    // Nobody kills a macro here but with the whole program.
    if (!variable("VEXIL_LUA_COMPILE_MACROS")) ::setenv("VEXIL_LUA_COMPILE_MACROS", "1", 1);
    std::string options = kJavaOptions;
    const std::string archive = translatorFolder() + "scrivel.jsa";
    if (fs::exists(archive)) options += " -XX:SharedArchiveFile=" + forJava(archive);
    ::setenv("JDK_JAVA_OPTIONS", options.c_str(), 0);
}

std::string cacheDirectory() {
    const char* value = std::getenv("VEXIL_JS_CACHE");
    return value ? value : prefix() + "/bin/vexil.js.cache";
}

std::optional<std::string> whatIsMissing(const std::string& script) {
    if (!isOnSearchPath("java"))
        return "there is no java on the search path, which translates JavaScript; install one, for example with: "
               "apt-get install default-jre-headless";
    const char* classPath = std::getenv("VEXIL_CLASSPATH");
    // A quoted value is the program's own.
    const std::string jars = !classPath || classPath == forShell(translatorFolder()) ? translatorFolder() : classPath;
    if (!fs::exists(jars + kTranslator))
        return "the translator is missing: there is no " + jars + kTranslator +
               "; build or install it, or set VEXIL_CLASSPATH to the folder of its jars, ending with /";
    const std::string cache = cacheDirectory();
    std::error_code unmade;
    fs::create_directories(cache, unmade);
    if (const std::string why = unmade ? unmade.message() : cannotWrite(cache, script); !why.empty())
        return "the cache directory " + cache + " cannot be written (" + why +
               "); make it writable, or set VEXIL_JS_CACHE to a folder that is";
    if (!isPlain(cache))
        return "the path of the cache directory, " + cache +
               ", holds a blank or another character that a shell would take apart; set VEXIL_JS_CACHE to a folder "
               "with a plain name";
    const char* temporary = std::getenv("VEXIL_TEMP_DIR");
    const std::string folder = temporary ? temporary : "/tmp";
    if (const std::string why = cannotWrite(folder, script); !why.empty())
        return "the temporary directory " + folder + " cannot be written (" + why +
               "); set VEXIL_TEMP_DIR to a folder that can";
    return {};
}

}  // namespace vexil3::cli
