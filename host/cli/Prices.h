// The bars that a script runs on.
#pragma once

#include <array>
#include <string>
#include <vector>

#include <vexil3/host.h>

#include "host/cli/Implements.h"

namespace vexil3::cli {

// Bars from a file of comma-separated values whose first row names the columns time, open, high,
// low, close and, if there is one, volume, in any order. Times rise from row to row.
class Prices final : public Implements<IPriceStream, IPriceStream, IObjectNoRef> {
public:
    // Throws Failure with the file, the row and what is wrong there.
    explicit Prices(const std::string& path);

    // Lets scripts see the first `count` bars only: none shall look ahead.
    void show(unsigned long count) { mVisible = count; }
    // All bars, seen or not.
    unsigned long total() const { return mColumns[Time].size(); }

    const char* instrument() override { return mInstrument.c_str(); }
    unsigned long size() override { return mVisible; }
    const double* column(Column column) override;

private:
    void read(const std::string& path);
    void addRow(const std::string& path, int row, const std::array<char*, 6>& cells);

    std::string mInstrument;
    std::array<std::vector<double>, 6> mColumns;
    unsigned long mVisible = 0;
};

}  // namespace vexil3::cli
