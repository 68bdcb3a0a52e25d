// What a script's failure looks like to a person.
#pragma once

#include <vexil3/error.h>

#include <string>
#include <string_view>
#include <vector>

#include "host/lua/Frames.h"

namespace vexil3::lua {

// The "SOURCE:LINE: " that Lua puts before a message.
struct Position {
    std::size_t length = 0;  // 0: there is none
    int line = 0;
};

// The position in front of `text`, when its source is the chunk `id`.
Position findPosition(std::string_view text, std::string_view id);

// A failure at run time: what went wrong, where, and on which way.
struct Fault {
    std::string text;
    int line = 0;
    std::vector<Frame> frames;

    // Adds the failure, with its traceback, as one entry.
    void report(const std::string& id, IError** error) const;
};

// Adds Lua's message about the source of the chunk `id`.
void reportSyntax(std::string_view message, const std::string& id, IError** error);

}  // namespace vexil3::lua
