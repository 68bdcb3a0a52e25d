// What the command line asks for.
#pragma once

#include <string>
#include <vector>

namespace vexil3::cli {

enum class Format { Table, Csv, Json };

// Something that a person does to a tool with the mouse. Times in seconds since 1970 UTC.
struct Gesture {
    enum Kind { Click, DoubleClick, Drag, Move, MovePoint };

    Kind kind = Click;
    int point = 0;  // of MovePoint
    int x = 0;
    int y = 0;
    double time = 0;
    double price = 0;
};

struct Options {
    enum Command { Run, Check, Translate };

    Command command = Run;
    std::vector<std::string> scripts;
    std::string prices;
    std::vector<std::string> settings;  // ID=VALUE
    Format format = Format::Table;
    bool trace = false;
    std::vector<Gesture> gestures;  // in the order of the command line
};

}  // namespace vexil3::cli
