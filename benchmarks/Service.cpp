// What opening scripts costs, beside the bare work. Each pair runs in turn, and the median of the
// rounds counts. Prints a row "NAME OURS REFERENCE" a line, in seconds unless the name says bytes.
//
// Usage: service FOLDER SCRIPT [SHARE]: an empty folder to work in, a script; VEXIL_CLASSPATH is set.
// With a SHARE, growth goes to one part in so many only, and the rows keep their names.
#include <dlfcn.h>
#include <fcntl.h>
#include <openssl/md5.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <vexil3/sdk.h>

#include "files/JsFileAccessor.h"
#include "language/JsLanguage.h"
#include "translation/MD5Calc.h"

extern char** environ;

namespace {

using namespace vexil3;
using namespace vexil3::js;
namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "service: %s\n", what.c_str());
    std::exit(1);
}

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

double timed(const std::function<void()>& work, int times) {
    const double start = now();
    for (int i = 0; i < times; ++i) work();
    return (now() - start) / times;
}

void row(const char* name, double ours, double reference) { std::printf("%s %.9g %.9g\n", name, ours, reference); }

void compare(const char* name, int rounds, int times, const std::function<void()>& ours,
             const std::function<void()>& reference) {
    std::vector<double> mine, others;
    ours();
    reference();
    for (int i = 0; i < rounds; ++i) {
        mine.push_back(timed(ours, times));
        others.push_back(timed(reference, times));
    }
    row(name, median(mine), median(others));
}

std::string slurp(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

void spill(const fs::path& path, const std::string& text) {
    if (!(std::ofstream(path, std::ios::binary) << text)) fail("cannot write " + path.string());
}

Ref<FileSystemAccessor> accessorOf(const fs::path& root) {
    Ref<FileSystemAccessor> accessor(new FileSystemAccessor);
    if (!accessor->init(root.c_str(), nullptr, nullptr)) fail("no folder " + root.string());
    return accessor;
}

void openScript(IFileAccessor* accessor, const std::string& name) {
    Ref<IError> error;
    const Ref<IFile> file(
        accessor->open(name.c_str(), IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text, error.out()));
    if (!file)
        fail("cannot open " + name + (error ? std::string(": ") + Ref<IErrorEntry>(error->get(0))->message() : ""));
}

// --- the same work as an open on a hit, in bare system calls

std::string readBare(const char* path) {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    struct stat facts;
    if (file < 0 || fstat(file, &facts) != 0) fail(path);
    std::string text(static_cast<std::size_t>(facts.st_size), '\0');
    if (read(file, text.data(), text.size()) != facts.st_size) fail(path);
    close(file);
    return text;
}

void openBare(const std::string& script, const std::string& entry) {
    const std::string text = readBare(script.c_str());
    const char* temporary = "/tmp/0123456789abcdef.lua";
    const int file = open(temporary, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0 || write(file, text.data(), text.size()) < 0) fail(temporary);
    close(file);
    for (const char* name : {"/md5sum", "/content", "/lines", "/ok"})
        if (access((entry + name).c_str(), F_OK) != 0) fail(entry + name);
    for (const char* name : {"/md5sum", "/content", "/lines"}) readBare((entry + name).c_str());
    unsigned char digest[MD5_DIGEST_LENGTH];
    const std::string again = readBare(temporary);
    MD5(reinterpret_cast<const unsigned char*>(again.data()), again.size(), digest);
    unlink(temporary);
}

// --- rows

struct Place {
    Place(const fs::path& folder_, const char* script) : folder(folder_), text(slurp(script)) {}

    fs::path folder;
    fs::path scripts = folder / "scripts";
    fs::path cache = folder / "cache";
    std::string text;

    std::string entry(const std::string& name) const { return (cache / MD5Calc(name).hexdigest()).string(); }
};

void warmOpen(const Place& place) {
    const auto files = accessorOf(place.scripts);
    const Ref<JsFileAccessor> accessor(new JsFileAccessor(files.get()));
    openScript(accessor.get(), "study.jsl");
    compare(
        "warm-open", 31, 200, [&] { openScript(accessor.get(), "study.jsl"); },
        [&] { openBare((place.scripts / "study.jsl").string(), place.entry("study.jsl")); });
}

double ownProcessorTime() {
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void coldOpen(const Place& place) {
    const auto files = accessorOf(place.scripts);
    const Ref<JsFileAccessor> accessor(new JsFileAccessor(files.get()));
    const std::string prefix = std::getenv("VEXIL_CLASSPATH");
    std::string command = "java -cp ";
    for (const char* jar : {"antlr-3.5.2-complete-no-st3.jar:", "scrivel.jar:", "serializer.jar:", "xalan.jar:",
                            "xercesImpl.jar:", "xml-apis.jar:", "scrivelbin.jar "})
        command += prefix + jar;
    command += "com.morrow.scrivel.Program " + (place.scripts / "study.jsl").string() + " " +
               (place.folder / "out").string() + " " + (place.folder / "err").string();
    double processor = 0, wall = 0;
    compare(
        "cold-open", 11, 1,
        [&] {
            fs::remove(place.entry("study.jsl") + "/ok");
            const double start = now(), used = ownProcessorTime();
            openScript(accessor.get(), "study.jsl");
            processor += ownProcessorTime() - used;
            wall += now() - start;
        },
        [&] {
            if (std::system(command.c_str()) != 0) fail(command);
        });
    row("cold-open-processor", processor, wall);
}

ILanguage* loadLanguage(ILanguageService::Language language) {
    void* library = dlopen(EnumNames::languageFilename(language), RTLD_NOW);
    if (!library) fail(dlerror());
    auto* create = reinterpret_cast<ILanguage* (*)()>(dlsym(library, "createLanguage"));
    ILanguage* loaded = create ? create() : nullptr;
    if (!loaded) fail("no language");
    return loaded;
}

Ref<IIndicatorProfileImplementation> profileOf(ILanguage* language, IFileAccessor* accessor, const std::string& name) {
    Ref<IError> error;
    Ref<IIndicatorProfileImplementation> profile(
        language->createIndicatorProfile(accessor, name.c_str(), nullptr, error.out()));
    if (!profile) fail("no profile of " + name);
    return profile;
}

void profiles(const Place& place) {
    const auto files = accessorOf(place.scripts);
    ILanguage* js = loadLanguage(ILanguageService::JavaScript);
    ILanguage* lua = loadLanguage(ILanguageService::Lua);
    spill(place.scripts / "study.lua", slurp(place.entry("study.jsl") + "/content"));
    compare(
        "profile", 31, 100, [&] { profileOf(js, files.get(), "study.jsl"); },
        [&] { profileOf(lua, files.get(), "study.lua"); });
    js->release();
    lua->release();
}

// Whole entries for scripts of the names from `first` on, as the module writes them.
void fillCache(const Place& place, long first, long last) {
    const std::string whole = place.entry("study.jsl");
    for (long i = first; i < last; ++i) {
        const std::string entry = place.entry("filler" + std::to_string(i) + ".jsl");
        fs::create_directory(entry);
        for (const char* file : {"/md5sum", "/lines", "/content", "/ok"}) fs::copy_file(whole + file, entry + file);
    }
}

void growth(const Place& place, long share) {
    const auto files = accessorOf(place.scripts);
    const Ref<JsFileAccessor> accessor(new JsFileAccessor(files.get()));
    const auto open = [&] { openScript(accessor.get(), "study.jsl"); };
    const auto opening = [&] {
        std::vector<double> times;
        for (int i = 0; i < 31; ++i) times.push_back(timed(open, 100));
        return median(times);
    };

    fillCache(place, 0, 9);
    const double few = opening();
    fillCache(place, 9, 1000 / share);
    row("growth-entries-1000", opening(), few);

    ILanguage* js = loadLanguage(ILanguageService::JavaScript);
    std::vector<Ref<IIndicatorProfileImplementation>> held;
    const auto hold = [&](std::size_t count) {
        while (held.size() < count) {
            const std::string name = "filler" + std::to_string(held.size()) + ".jsl";
            std::error_code ignored;
            fs::create_hard_link(place.scripts / "study.jsl", place.scripts / name, ignored);
            held.push_back(profileOf(js, files.get(), name));
        }
    };
    hold(1);
    const double one = opening();
    hold(static_cast<std::size_t>(100 / share));
    row("growth-profiles-100", opening(), one);
    fillCache(place, 1000 / share, 10'000 / share);
    hold(static_cast<std::size_t>(10'000 / share));
    row("growth-profiles-10000", opening(), one);
    held.clear();
    js->release();

    fillCache(place, 10'000 / share, 100'000 / share);
    row("growth-entries-100000", opening(), few);
}

// The peak of a process that opens a script whose translation is 32 MiB.
void memory(const Place& place) {
    std::string lua, lines = "0\n";
    while (lua.size() < 32u << 20) {
        lua += "local value = close[period - 1] * factor + offset -- a line of ordinary length\n";
        lines += "1\n";
    }
    const std::string entry = place.entry("large.jsl");
    fs::create_directories(entry);
    spill(place.scripts / "large.jsl", place.text);
    spill(entry + "/md5sum", MD5Calc(place.text).hexdigest());
    spill(entry + "/content", lua);
    spill(entry + "/lines", lines);
    spill(entry + "/ok", "");
    const double size = static_cast<double>(lua.size());
    std::string().swap(lua);
    std::string().swap(lines);

    int pipe[2];
    if (::pipe(pipe) != 0) fail("pipe");
    if (fork() == 0) {
        // The peak so far is the parent's; a script of its own name starts from what is left.
        spill("/proc/self/clear_refs", "5");
        const auto files = accessorOf(place.scripts);
        const Ref<JsFileAccessor> accessor(new JsFileAccessor(files.get()));
        const auto peak = [] {
            std::ifstream status("/proc/self/status");
            for (std::string word; status >> word;)
                if (word == "VmHWM:") return status >> word, std::stod(word) * 1024;
            return 0.0;
        };
        const double before = peak();
        openScript(accessor.get(), "large.jsl");
        const double used = peak() - before;
        _exit(write(pipe[1], &used, sizeof used) == sizeof used ? 0 : 1);
    }
    double used = 0;
    if (read(pipe[0], &used, sizeof used) != sizeof used) fail("the measured process died");
    wait(nullptr);
    row("memory-bytes", used, size);
}

}  // namespace

int main(int argc, char** argv) {
    const long share = argc == 4 ? std::atol(argv[3]) : 1;
    if (argc < 3 || share < 1 || !std::getenv("VEXIL_CLASSPATH"))
        fail("usage: service FOLDER SCRIPT [SHARE], with VEXIL_CLASSPATH set");
    const Place place(fs::absolute(argv[1]), argv[2]);
    fs::create_directories(place.scripts);
    fs::create_directories(place.cache);
    setenv("VEXIL_JS_CACHE", place.cache.c_str(), 1);
    spill(place.scripts / "study.jsl", place.text);
    setvbuf(stdout, nullptr, _IOLBF, 0);

    warmOpen(place);
    profiles(place);
    memory(place);
    coldOpen(place);
    growth(place, share);
}
