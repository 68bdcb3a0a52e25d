// The parameters that a script declares, and their values for one run.
#pragma once

#include <string>
#include <vector>

#include <vexil3/host.h>

#include "host/cli/Implements.h"

namespace vexil3::cli {

// Of what a script declares, which the program keeps: how many of a kind, and the bytes of each.
constexpr std::size_t kMostNames = 1000;
constexpr std::size_t kLongestName = 1UL << 16;

struct Parameter {
    std::string id;
    std::string name;
    IParameters::Type type = IParameters::String;
    double number = 0;
    std::string text;
    double minimum = 0;
    double maximum = 0;
};

class Parameters final : public Implements<IParameters, IParameters, IObjectNoRef> {
public:
    // False, and nothing changed, when the id is empty or taken, the number out of its bounds, or the
    // parameter too long or one too many.
    bool declare(Parameter parameter);

    // Takes "ID=VALUE". Throws Failure with what there is to set when there is no such parameter or
    // it takes no such value; `script` is named in it.
    void set(const std::string& assignment, const std::string& script);

    const std::vector<Parameter>& all() const { return mAll; }

    unsigned long count() override { return mAll.size(); }
    const char* id(unsigned long index) override { return index < mAll.size() ? mAll[index].id.c_str() : ""; }
    Type type(unsigned long index) override { return index < mAll.size() ? mAll[index].type : String; }
    double number(unsigned long index) override { return index < mAll.size() ? mAll[index].number : 0; }
    const char* text(unsigned long index) override { return index < mAll.size() ? mAll[index].text.c_str() : ""; }

private:
    Parameter* find(const std::string& id);

    std::vector<Parameter> mAll;
};

class ParametersFactory final : public Implements<IParametersFactory, IParametersFactory, IObjectNoRef> {
public:
    explicit ParametersFactory(Parameters& target) : mTarget(target) {}

    bool addInteger(const char* id, const char* name, int value, int minimum, int maximum) noexcept override;
    bool addDouble(const char* id, const char* name, double value, double minimum, double maximum) noexcept override;
    bool addBoolean(const char* id, const char* name, bool value) noexcept override;
    bool addString(const char* id, const char* name, const char* value) noexcept override;

private:
    Parameters& mTarget;
};

}  // namespace vexil3::cli
