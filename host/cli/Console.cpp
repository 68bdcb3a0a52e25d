#include "host/cli/Console.h"

#include <cstdlib>

#include "host/cli/Implements.h"

namespace vexil3::cli {

namespace {

constexpr std::string_view kTraceback = "stack traceback:";

// Languages repeat the place at the head of the text; it stands in the heading already.
std::string_view withoutPlace(std::string_view text, const std::string& file) {
    if (!text.starts_with(file + ":")) return text;
    std::string_view rest = text.substr(file.size() + 1);
    const std::size_t digits = rest.find_first_not_of("0123456789");
    if (digits == 0 || digits == rest.npos || rest[digits] != ':') return text;
    rest.remove_prefix(digits + 1);
    if (rest.starts_with(' ')) rest.remove_prefix(1);
    return rest;
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    return first == text.npos ? std::string_view() : text.substr(first);
}

}  // namespace

Console::Console(Output& output) : mOutput(output), mColour(output.isTerminal() && !std::getenv("NO_COLOR")) {}

void Console::report(IError& error) {
    for (std::uint64_t i = 0; i < error.count(); ++i)
        if (const Counted<IErrorEntry> entry{error.get(i)}) report(*entry);
    mOutput.flush();
}

void Console::complain(std::string_view text) {
    heading("vexil", text);
    mOutput.flush();
}

void Console::report(IErrorEntry& entry) {
    const std::string file = entry.file() ? entry.file() : "";
    const std::string_view message = entry.message() ? entry.message() : "unknown error";
    const std::size_t traceback = message.find(kTraceback);
    const bool hasTraceback = traceback != message.npos && (traceback == 0 || message[traceback - 1] == '\n');

    std::string_view text = hasTraceback ? message.substr(0, traceback) : message;
    while (text.ends_with('\n')) text.remove_suffix(1);
    std::string place = file.empty() ? "vexil" : file;
    if (!file.empty() && entry.line() > 0) place.append(1, ':').append(std::to_string(entry.line()));
    heading(place, withoutPlace(text, file));
    if (const auto line = mSources.line(file, entry.line())) {
        mOutput.text("    ");
        mOutput.text(trimmed(*line));
        mOutput.character('\n');
    }
    if (hasTraceback) {
        mOutput.text(message.substr(traceback));
        if (!message.ends_with('\n')) mOutput.character('\n');
    }
}

void Console::heading(std::string_view place, std::string_view text) {
    mOutput.text(place);
    mOutput.text(mColour ? ": \033[1;31merror:\033[0m " : ": error: ");
    mOutput.text(text);
    mOutput.character('\n');
}

}  // namespace vexil3::cli
