// Any bytes as a line listing.
#include <gtest/gtest.h>

#include <cstdint>

#include "doubles/TextModels.h"
#include "files/LineListing.h"
#include "files/split.h"

using namespace vexil3;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    EXPECT_EQ(js::split(text, '\n'), test::slowSplit(text, '\n'));
    EXPECT_EQ(js::parseLineListing(text), test::slowListing(text));
    return 0;
}
