#include "host/lua/Fault.h"

#include <charconv>
#include <lua.hpp>

namespace vexil3::lua {

namespace {

// Lua shortens the source's name in messages.
std::string shortened(std::string_view id) {
    if (id.size() < LUA_IDSIZE) return std::string(id);
    return "..." + std::string(id.substr(id.size() - (LUA_IDSIZE - 4)));
}

void appendPlace(std::string& text, const std::string& file, int line) {
    text += file;
    text += ':';
    text += std::to_string(line);
    text += ": ";
}

void appendFrame(std::string& text, const std::string& file, const Frame& frame) {
    text += "\n\t";
    if (frame.line == 0) {
        text += "...";
        return;
    }
    appendPlace(text, file, frame.line);
    if (frame.isMain)
        text += "in main chunk";
    else if (frame.name.empty())
        text += "in function <anonymous>";
    else
        text += "in function '" + frame.name + "'";
}

}  // namespace

Position findPosition(std::string_view text, std::string_view id) {
    const std::string source = shortened(id) + ':';
    if (!text.starts_with(source)) return {};
    int line = 0;
    const auto [end, failure] = std::from_chars(text.data() + source.size(), text.data() + text.size(), line);
    const std::size_t after = end - text.data();
    if (failure != std::errc() || !text.substr(after).starts_with(": ")) return {};
    return {after + 2, line};
}

void Fault::report(const std::string& id, IError** error) const {
    std::string message;
    appendPlace(message, id, line);
    message += text;
    if (!frames.empty()) message += "\nstack traceback:";
    for (const Frame& frame : frames) appendFrame(message, id, frame);
    ErrorFactory::throwError(error, IError::StageScript, IError::CodeScriptFault, message.c_str(), id.c_str(), line);
}

void reportSyntax(std::string_view message, const std::string& id, IError** error) {
    const Position position = findPosition(message, id);
    const std::string text(message.substr(position.length));
    ErrorFactory::throwError(error, IError::StageTranslation, IError::CodeInvalidContent, text.c_str(), id.c_str(),
                             position.line);
}

}  // namespace vexil3::lua
