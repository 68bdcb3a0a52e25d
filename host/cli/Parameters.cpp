#include "host/cli/Parameters.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "host/cli/Failure.h"
#include "host/cli/Numbers.h"

namespace vexil3::cli {

namespace {

std::string orEmpty(const char* text) { return text ? text : ""; }

bool isNumber(const Parameter& parameter) {
    return parameter.type == IParameters::Integer || parameter.type == IParameters::Double;
}

std::string domain(const Parameter& parameter) {
    if (parameter.type == IParameters::Boolean) return "true or false";
    if (parameter.type == IParameters::String) return "a text";
    return std::string(parameter.type == IParameters::Integer ? "a whole number" : "a number") + " from " +
           shortest(parameter.minimum) + " to " + shortest(parameter.maximum);
}

std::string inventory(const std::vector<Parameter>& all) {
    if (all.empty()) return "it has no parameters";
    std::string text = "it has";
    for (const Parameter& parameter : all)
        text += (&parameter == &all.front() ? " " : ", ") + parameter.id + " (" + domain(parameter) + ")";
    return text;
}

// Stores the value that `text` says; false when the parameter takes no such value.
bool assign(Parameter& parameter, const std::string& text) {
    if (parameter.type == IParameters::String) {
        parameter.text = text;
        return true;
    }
    if (parameter.type == IParameters::Boolean) {
        const bool yes = text == "true" || text == "1";
        if (!yes && text != "false" && text != "0") return false;
        parameter.number = yes ? 1 : 0;
        return true;
    }
    const std::optional<double> number = parseNumber(text);
    if (!number || *number < parameter.minimum || *number > parameter.maximum) return false;
    if (parameter.type == IParameters::Integer && *number != std::trunc(*number)) return false;
    parameter.number = *number;
    return true;
}

}  // namespace

bool Parameters::declare(Parameter parameter) {
    if (parameter.id.empty() || mAll.size() == kMostNames || find(parameter.id)) return false;
    if (parameter.id.size() + parameter.name.size() + parameter.text.size() > kLongestName) return false;
    if (isNumber(parameter) && !(parameter.minimum <= parameter.number && parameter.number <= parameter.maximum))
        return false;
    mAll.push_back(std::move(parameter));
    return true;
}

void Parameters::set(const std::string& assignment, const std::string& script) {
    const std::size_t equals = assignment.find('=');
    if (equals == assignment.npos) throw Failure("--set " + assignment + ": write it as ID=VALUE");
    const std::string wanted = assignment.substr(0, equals);
    Parameter* parameter = find(wanted);
    if (!parameter) throw Failure(script + " has no parameter \"" + wanted + "\": " + inventory(mAll));
    if (!assign(*parameter, assignment.substr(equals + 1)))
        throw Failure("--set " + assignment + ": " + parameter->id + " takes " + domain(*parameter));
}

Parameter* Parameters::find(const std::string& id) {
    const auto found = std::find_if(mAll.begin(), mAll.end(), [&](const Parameter& each) { return each.id == id; });
    return found == mAll.end() ? nullptr : &*found;
}

bool ParametersFactory::addInteger(const char* id, const char* name, int value, int minimum, int maximum) noexcept {
    return mTarget.declare({orEmpty(id), orEmpty(name), IParameters::Integer, static_cast<double>(value), "",
                            static_cast<double>(minimum), static_cast<double>(maximum)});
}

bool ParametersFactory::addDouble(const char* id, const char* name, double value, double minimum,
                                  double maximum) noexcept {
    return mTarget.declare({orEmpty(id), orEmpty(name), IParameters::Double, value, "", minimum, maximum});
}

bool ParametersFactory::addBoolean(const char* id, const char* name, bool value) noexcept {
    return mTarget.declare({orEmpty(id), orEmpty(name), IParameters::Boolean, value ? 1.0 : 0.0, "", 0, 0});
}

bool ParametersFactory::addString(const char* id, const char* name, const char* value) noexcept {
    return mTarget.declare({orEmpty(id), orEmpty(name), IParameters::String, 0, orEmpty(value), 0, 0});
}

}  // namespace vexil3::cli
