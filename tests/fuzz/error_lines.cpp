// Errors of any text, file and line, mapped through any table.
#include <fuzzer/FuzzedDataProvider.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "doubles/TextModels.h"
#include "lines/ErrorLines.h"

using namespace vexil3;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string script = input.ConsumeRandomLengthString(12).c_str();
    if (script == test::kNone) return 0;
    const bool hasFile = input.ConsumeBool();
    const int line = input.ConsumeBool() ? input.ConsumeIntegral<int>() : input.ConsumeIntegralInRange(-2, 12);
    std::vector<int> table(input.ConsumeIntegralInRange<std::size_t>(0, 12));
    for (int& mapped : table)
        mapped = input.ConsumeBool() ? input.ConsumeIntegral<int>() : input.ConsumeIntegralInRange(-1, 120);
    const std::string message = input.ConsumeRemainingBytesAsString().c_str();

    js::FileLinesCache cache;
    cache.add(script.c_str(), table);
    const test::Fault raised = {4, 100, message, hasFile ? script : test::kNone, line, 7};
    test::Fault expected = raised;
    expected.message = test::slowRewrite(message, hasFile ? ".jsl:" : script + ":", script, cache);
    if (hasFile) cache.getLine(script.c_str(), expected.line);

    const Ref<IError> source = test::makeError({raised, raised});
    Ref<IError> error;
    js::updateErrorLines(error.out(), source.get(), &cache, script.c_str());
    EXPECT_EQ(test::faults(error), (std::vector{expected, expected}));
    EXPECT_EQ(test::faults(source), (std::vector{raised, raised})) << "the source stays as it was";
    return 0;
}
