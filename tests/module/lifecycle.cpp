// A process that loads the module, has a language made, releases it and unloads the module, a thousand
// times. It is linked with nothing of ours: what a program is linked with never leaves it.
#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include <vexil3/language.h>

#include "doubles/Surroundings.h"

namespace {

std::string mappings() {
    std::ifstream file("/proc/self/maps");
    return {std::istreambuf_iterator<char>(file), {}};
}

// What a process can lose.
struct Holdings {
    long mappings, descriptors, pages = 0;

    static Holdings now() {
        const std::string maps = ::mappings();
        Holdings held{std::count(maps.begin(), maps.end(), '\n'), vexil3::test::openDescriptors()};
        std::ifstream("/proc/self/statm") >> held.pages >> held.pages;
        return held;
    }
};

bool comeAndGo() {
    void* const library = dlopen(VEXIL_JS_MODULE, RTLD_NOW | RTLD_LOCAL);
    if (!library) return std::puts(dlerror()), false;
    auto* const create = reinterpret_cast<vexil3::ILanguage* (*)()>(dlsym(library, "createLanguage"));
    vexil3::ILanguage* const language = create ? create() : nullptr;
    if (language) language->release();
    dlclose(library);
    if (!language) std::puts("no language");
    return language;
}

}  // namespace

int main() {
    constexpr int kTimes = 1000, kSettled = 50;
    Holdings settled{};
    for (int i = 0; i < kTimes; ++i) {
        if (!comeAndGo()) return 1;
        if (i == kSettled) settled = Holdings::now();
    }
    const Holdings end = Holdings::now();
    std::printf("%d times: %+ld mappings, %+ld descriptors, %+ld pages\n", kTimes, end.mappings - settled.mappings,
                end.descriptors - settled.descriptors, end.pages - settled.pages);
    // The Lua module stays, by contract; ours must really have gone each time.
    if (mappings().find("libvexil.js.so") != std::string::npos) return std::puts("it stayed"), 1;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    // A sanitizer gives no memory back.
    settled.mappings = end.mappings;
    settled.pages = end.pages;
#endif
    return end.mappings > settled.mappings + 2 || end.descriptors != settled.descriptors ||
           end.pages > settled.pages + 64;
}
