// A translator in place of Java: a shell script named `java` that keeps to the real one's command line
// and misbehaves on demand.
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <string>
#include <vector>

#include "doubles/Surroundings.h"

namespace vexil3::test {

// A pattern, as fnmatch takes it, for any drawn name.
inline std::string anyName(int length) {
    std::string pattern;
    while (length-- > 0) pattern += "[0-9A-Za-z]";
    return pattern;
}

// Everything that a translation touches, in a folder of its own: bin/java first on the search path,
// the cache, the temporary sources, the scripts.
class Workplace {
public:
    Workplace() {
        for (const char* folder : {"bin", "cache", "tmp", "scripts"})
            std::filesystem::create_directory(mFolder / folder);
        writeFile(mFolder / "bin/java", kScript);
        chmod((mFolder / "bin/java").c_str(), 0755);
        translatesTo("local x = 1\nprint(x)\n", "1\n1\n3\n");
    }

    std::string operator/(const std::string& name) const { return mFolder / name; }
    const std::string& path() const { return mFolder.path(); }

    // Texts without single quotes.
    void translatesTo(const std::string& lua, const std::string& listing) {
        writeFile(mFolder / "results", "lua='" + lua + "'\nlisting='" + listing + "'\n");
    }
    // Shell text that runs once the results are written; $here is this folder, $4 to $6 are the
    // source and the two results.
    void misbehaves(const std::string& shellText) { writeFile(mFolder / "misbehaviour", shellText); }
    void behaves() { std::filesystem::remove(mFolder / "misbehaviour"); }

    // How often it was started, with which arguments (joined by blanks), and the source it was given.
    std::ptrdiff_t runs() const {
        const std::string text = readFile(mFolder / "runs");
        return std::count(text.begin(), text.end(), '\n');
    }
    std::string arguments() const { return readFile(mFolder / "arguments"); }
    std::string source() const { return readFile(mFolder / "source"); }

    std::string script(const std::string& name, const std::string& text) const {
        writeFile(mFolder / ("scripts/" + name), text);
        return mFolder / ("scripts/" + name);
    }
    // True when nothing lies about but whole entries.
    bool tidy() const {
        for (const auto& entry : std::filesystem::directory_iterator(mFolder / "cache"))
            if (!entry.is_directory()) return false;
        return entriesIn(mFolder / "tmp") == 0;
    }

private:
    static constexpr char kScript[] = R"(#!/bin/sh
here=$VEXIL_TEST_WORKPLACE
echo run >>"$here/runs"
printf '%s' "$*" >"$here/arguments"
cat "$4" >"$here/source"
. "$here/results"
printf %s "$lua" >"$5" && printf %s "$listing" >"$6" || exit 1
[ -f "$here/misbehaviour" ] && . "$here/misbehaviour"
exit 0
)";

    TemporaryDirectory mFolder;
    Variable mPath{"PATH", mFolder / "bin:" + std::getenv("PATH")};
    Variable mHere{"VEXIL_TEST_WORKPLACE", mFolder.path()};
    Variable mCache{"VEXIL_JS_CACHE", mFolder / "cache"};
    Variable mTemporary{"VEXIL_TEMP_DIR", mFolder / "tmp"};
    Variable mJars{"VEXIL_CLASSPATH", "/jars/"};
};

}  // namespace vexil3::test
