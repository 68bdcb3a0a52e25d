#include "host/cli/Console.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

#include "host/cli/Implements.h"

namespace vexil3::cli {

namespace {

constexpr std::string_view kTraceback = "stack traceback:";

// An entry's message, taken apart.
struct Message {
    std::string_view text;
    std::string_view traceback;
};

// Languages repeat the place at the head of the text; it stands in the heading already.
void dropPlace(Message& message, const std::string& file, int line) {
    if (!message.text.starts_with(file + ":")) return;
    const char* first = message.text.data() + file.size() + 1;
    const char* last = message.text.data() + message.text.size();
    int named = 0;
    const auto [end, status] = std::from_chars(first, last, named);
    if (status != std::errc() || end == last || *end != ':') return;
    message.text.remove_prefix(static_cast<std::size_t>(end - message.text.data()) + 1);
    if (message.text.starts_with(' ')) message.text.remove_prefix(1);
    // Where they differ, the entry was brought to the source's lines and the text was not.
    if (named != line) message.traceback = {};
}

Message takeApart(std::string_view text) {
    const std::size_t traceback = text.find(kTraceback);
    Message message{text, {}};
    if (traceback != text.npos && (traceback == 0 || text[traceback - 1] == '\n'))
        message = {text.substr(0, traceback), text.substr(traceback)};
    while (message.text.ends_with('\n')) message.text.remove_suffix(1);
    while (message.traceback.ends_with('\n')) message.traceback.remove_suffix(1);
    return message;
}

// Without the character that keeps a name of a script in a person's own words from being taken for a place.
std::string withoutJoiners(std::string_view text) {
    constexpr std::string_view kJoined = ".jsl\u2060:";
    std::string plain(text);
    for (std::size_t at = plain.find(kJoined); at != plain.npos; at = plain.find(kJoined, at))
        plain.replace(at, kJoined.size(), ".jsl:");
    return plain;
}

// A line without its indentation, and without the end of one that no screen holds.
std::string_view excerpt(std::string_view line) {
    constexpr std::size_t kLongest = 400;
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    if (line.size() <= kLongest) return line;
    std::size_t end = kLongest;
    while ((static_cast<unsigned char>(line[end]) & 0xC0) == 0x80 && end > 0) --end;
    return line.substr(0, end);
}

}  // namespace

Console::Console(Output& output) : mOutput(output), mColour(output.isTerminal() && !std::getenv("NO_COLOR")) {}

void Console::report(IError& error, const std::string& script) {
    for (std::uint64_t i = 0; i < error.count(); ++i)
        if (const Counted<IErrorEntry> entry{error.get(i)}) report(*entry, script);
    mOutput.flush();
}

void Console::complain(std::string_view text) {
    heading("vexil", text);
    mOutput.flush();
}

void Console::report(IErrorEntry& entry, const std::string& script) {
    const bool inScript = entry.stage() == IError::StageTranslation || entry.stage() == IError::StageScript;
    const std::string file = entry.file() ? entry.file() : inScript ? script : "vexil";
    Message message = takeApart(entry.message() ? entry.message() : "unknown error");
    dropPlace(message, file, entry.line());
    std::string place = file;
    if (entry.line() > 0) place.append(1, ':').append(std::to_string(entry.line()));
    heading(place, withoutJoiners(message.text));
    if (const auto line = mSources.line(file, entry.line())) {
        mOutput.text("    ");
        mOutput.text(excerpt(*line));
        mOutput.character('\n');
    }
    if (message.traceback.empty()) return;
    mOutput.text(message.traceback);
    mOutput.character('\n');
}

void Console::heading(std::string_view place, std::string_view text) {
    mOutput.text(place);
    mOutput.text(mColour ? ": \033[1;31merror:\033[0m " : ": error: ");
    mOutput.text(text);
    mOutput.character('\n');
}

}  // namespace vexil3::cli
