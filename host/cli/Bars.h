// Bars and the values beside them, written out.
#pragma once

#include <string>
#include <vector>

#include "host/cli/Options.h"
#include "host/cli/Output.h"
#include "host/cli/Prices.h"

namespace vexil3::cli {

// A column of numbers, one a bar; not-a-number stands for an empty cell.
struct BarColumn {
    std::string id;
    std::vector<double> values;
};

void writeBars(Output& output, Format format, Prices& prices, const std::vector<BarColumn>& streams);

}  // namespace vexil3::cli
