#include "host/cli/CommandLine.h"

#include <array>
#include <charconv>
#include <map>

#include <CLI/CLI.hpp>

#include "host/cli/Environment.h"
#include "host/cli/Failure.h"
#include "host/cli/Numbers.h"

namespace vexil3::cli {

namespace {

struct GestureOption {
    const char* flag;
    Gesture::Kind kind;
    const char* help;
};

constexpr std::array kGestures{
    GestureOption{"--click", Gesture::Click, "Click; the first ones place the tool's points"},
    GestureOption{"--double-click", Gesture::DoubleClick, "Click twice"},
    GestureOption{"--drag", Gesture::Drag, "Drag to here; several in a row are one movement"},
    GestureOption{"--move", Gesture::Move, "Move the whole tool to here; several in a row are one movement"},
    GestureOption{"--move-point", Gesture::MovePoint, "Move the tool's point POINT (from 0) to here, likewise"},
};

const char* shapeOf(Gesture::Kind kind) {
    return kind == Gesture::MovePoint ? "POINT,X,Y,TIME,PRICE" : "X,Y,TIME,PRICE";
}

bool takeInteger(std::string_view text, int& value) {
    const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
    return status == std::errc() && end == text.data() + text.size();
}

Gesture parseGesture(const GestureOption& option, const std::string& text) {
    const std::vector<std::string> fields = CLI::detail::split(text, ',');
    const std::size_t first = option.kind == Gesture::MovePoint ? 1 : 0;
    Gesture gesture{.kind = option.kind};
    if (fields.size() == first + 4 && (first == 0 || takeInteger(fields[0], gesture.point)) &&
        takeInteger(fields[first], gesture.x) && takeInteger(fields[first + 1], gesture.y)) {
        const std::optional<double> time = parseTime(fields[first + 2]);
        const std::optional<double> price = parseNumber(fields[first + 3]);
        if (time && price) {
            gesture.time = *time;
            gesture.price = *price;
            return gesture;
        }
    }
    throw Failure(std::string(option.flag) + " " + text + ": write it as " + shapeOf(option.kind) + ", for example " +
                  (first ? "0," : "") + "120,80,2024-01-31T09:30:00Z,1.1025");
}

// The gestures of all options, in the order in which they stand on the command line.
std::vector<Gesture> gesturesInOrder(const CLI::App& run, const std::map<const CLI::Option*, GestureOption>& options) {
    std::vector<Gesture> gestures;
    std::map<const CLI::Option*, std::size_t> taken;
    for (const CLI::Option* option : run.parse_order())
        if (const auto found = options.find(option); found != options.end())
            gestures.push_back(parseGesture(found->second, option->results().at(taken[option]++)));
    return gestures;
}

Format formatNamed(const std::string& name) {
    if (name == "table") return Format::Table;
    if (name == "csv") return Format::Csv;
    if (name == "json") return Format::Json;
    throw CLI::ValidationError("--format " + name, "give table, csv or json");
}

// One script, so that whatever else stands there is named as what was not expected.
void addScript(CLI::App& command, Options& options, const char* help) {
    command.add_option("SCRIPT", options.scripts, help)->required()->expected(1)->allow_extra_args(false);
}

CLI::App* addRun(CLI::App& app, Options& options) {
    CLI::App* run = app.add_subcommand("run", "Run a script over prices");
    addScript(*run, options, "A script, *.jsl or *.lua");
    run->add_option("--prices", options.prices,
                    "File of comma-separated time,open,high,low,close,volume [the bundled prices]")
        ->type_name("FILE");
    run->add_option("--set", options.settings, "Give a parameter another value")
        ->allow_extra_args(false)
        ->type_name("ID=VALUE");
    run->add_option_function<std::string>(
           "--format", [&options](const std::string& name) { options.format = formatNamed(name); },
           "table, csv or json [table]")
        ->type_name("FORMAT");
    run->add_flag("--trace", options.trace,
                  "Write every line that runs, and the call stack beneath it, to standard error");
    run->footer(
        "What comes out depends on the script:\n"
        "  indicator  its streams beside the bars, then what it draws (csv: the streams)\n"
        "  strategy   its orders and its result (csv: the orders)\n"
        "  tool       what it draws after the gestures, which count in the order in which they stand;\n"
        "             without a click before the first move, its points are clicked on bars spread\n"
        "             over the prices\n"
        "  macro      the lines that it logs\n"
        "\nExample:\n"
        "  vexil run --set N=20 --format csv examples/moving_average.jsl > average.csv");
    return run;
}

void addOthers(CLI::App& app, Options& options) {
    CLI::App* check = app.add_subcommand("check", "Check the syntax of scripts without running them");
    check->add_option("SCRIPT", options.scripts, "Scripts, *.jsl or *.lua")->required();
    check->footer("Says nothing when all is well.\n\nExample:\n  vexil check examples/*.jsl");
    check->final_callback([&options] { options.command = Options::Check; });

    CLI::App* translate = app.add_subcommand("translate", "Show the Lua text that a JavaScript script becomes");
    addScript(*translate, options, "A script, *.jsl");
    translate->footer(
        "The JavaScript lines stand before the Lua lines that they become, as comments.\n\n"
        "Example:\n  vexil translate examples/moving_average.jsl");
    translate->final_callback([&options] { options.command = Options::Translate; });
}

void checkCommand(CLI::App& app, const std::string& name) {
    const auto isNamed = [&](const CLI::App* command) { return command->get_name() == name; };
    if (!app.get_subcommands(isNamed).empty()) return;
    const bool isScript = name.ends_with(".jsl") || name.ends_with(".lua");
    throw Failure("there is no command " + name +
                  (isScript ? "; did you mean: vexil run " + name : "; give run, check or translate"));
}

}  // namespace

std::optional<Options> parseCommandLine(int argc, char** argv, int& exitCode) {
    Options options;
    CLI::App app("Runs chart scripts, in JavaScript or Lua, over prices from a file.", "vexil");
    options.prices = defaultPrices();
    app.set_version_flag("--version", "vexil " VEXIL_VERSION);
    app.footer(
        "Exit codes: 0 success, 1 a fault in a script, 2 a wrong call or something that the machine lacks.\n\n"
        "Example:\n  vexil run examples/moving_average.jsl");

    CLI::App* run = addRun(app, options);
    addOthers(app, options);
    std::map<const CLI::Option*, GestureOption> gestures;
    std::array<std::vector<std::string>, kGestures.size()> texts;
    for (std::size_t i = 0; i < kGestures.size(); ++i) {
        CLI::Option* option = run->add_option(kGestures[i].flag, texts[i], kGestures[i].help);
        option->allow_extra_args(false)->type_name(shapeOf(kGestures[i].kind))->group("Gestures on a tool");
        gestures.emplace(option, kGestures[i]);
    }
    if (argc > 1 && *argv[1] != '-') checkCommand(app, argv[1]);
    try {
        app.parse(argc, argv);
        if (app.get_subcommands().empty()) throw CLI::RequiredError("A command, one of run, check and translate,");
    } catch (const CLI::ParseError& e) {
        // What is misspelt says more than what is missing then.
        const std::vector<std::string> misspelt = app.remaining(true);
        const bool isMissing = e.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError);
        const int code = isMissing && !misspelt.empty() ? app.exit(CLI::ExtrasError(misspelt)) : app.exit(e);
        exitCode = code == 0 ? Success : WrongCall;
        return {};
    }
    options.gestures = gesturesInOrder(*run, gestures);
    return options;
}

}  // namespace vexil3::cli
