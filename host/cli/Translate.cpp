// Shows a translation. The platform's interfaces hand the Lua text to the Lua module alone, but the
// translation cache keeps it, under the digest of the script's name.
#include <md5.h>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <vector>

#include "host/cli/Check.h"
#include "host/cli/Environment.h"
#include "host/cli/LanguageModule.h"
#include "host/cli/Numbers.h"
#include "host/cli/SourceText.h"

namespace vexil3::cli {

namespace {

constexpr int kGutter = 5;

std::string entryFolder(const std::string& script) {
    char name[MD5_DIGEST_STRING_LENGTH];
    MD5Data(reinterpret_cast<const std::uint8_t*>(script.data()), script.size(), name);
    return cacheDirectory() + "/" + name;
}

std::vector<std::string> readLines(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(std::move(line));
    return lines;
}

int numberOf(const std::string& text) {
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

void write(Output& output, const std::string& script, const std::vector<std::string>& lua,
           const std::vector<std::string>& table) {
    SourceText source;
    int current = 0;
    for (std::size_t i = 0; i < lua.size(); ++i) {
        // Lua counts its lines from 1, and so does the table, whose entry 0 stands for no line.
        const int line = i + 1 < table.size() ? numberOf(table[i + 1]) : 0;
        const auto text = source.line(script, line);
        if (line != current && text) {
            output.text("-- " + script + ":" + std::to_string(line) + ": ");
            output.text(*text);
            output.character('\n');
        }
        current = line;
        output.padded(text ? std::to_string(line) : "", kGutter, true);
        output.text(" | " + lua[i] + "\n");
    }
}

}  // namespace

void translateScript(const Options& options, Output& output) {
    const std::string& script = options.scripts.front();
    if (languageOf(script) != ILanguageService::JavaScript)
        throw Failure(script + " is Lua already; give a script that ends with .jsl");
    LanguageModule language(ILanguageService::JavaScript);
    checkSyntax(language, script);
    const std::string folder = entryFolder(script);
    if (!std::filesystem::exists(folder + "/ok"))
        throw Failure(whatIsMissing(script).value_or("the translation was not kept in " + folder +
                                                     "; see that there is room, and that no other user owns it"));
    write(output, script, readLines(folder + "/content"), readLines(folder + "/lines"));
}

}  // namespace vexil3::cli
