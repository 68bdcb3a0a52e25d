#include "host/cli/Bars.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "host/cli/Numbers.h"
#include "host/cli/Table.h"

namespace vexil3::cli {

namespace {

constexpr std::array<const char*, 5> kNames{"open", "high", "low", "close", "volume"};
constexpr int kTimeWidth = 20;

struct Column {
    std::string id;
    const double* values;
    int decimals = 0;
    int width = 0;
};

std::vector<Column> allColumns(Prices& prices, const std::vector<BarColumn>& streams) {
    std::vector<Column> columns;
    for (std::size_t i = 0; i < kNames.size(); ++i)
        columns.push_back({kNames[i], prices.column(static_cast<IPriceStream::Column>(IPriceStream::Open + i))});
    for (const BarColumn& stream : streams) columns.push_back({stream.id, stream.values.data()});
    return columns;
}

// Every column is as wide as its longest number, which its extremes tell without writing all.
void measure(std::vector<Column>& columns, unsigned long count) {
    int priceDecimals = 0;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        Column& column = columns[i];
        const bool isStream = i >= kNames.size();
        column.decimals = decimalsOf(column.values, count);
        if (i < kNames.size() - 1) priceDecimals = std::max(priceDecimals, column.decimals);
        // What is computed has endless decimals; a few more than the prices have are all that tell.
        if (isStream) column.decimals = std::min({column.decimals, priceDecimals + 2, 8});
        double low = 0;
        double high = 0;
        for (unsigned long bar = 0; bar < count; ++bar) {
            if (column.values[bar] < low) low = column.values[bar];
            if (column.values[bar] > high) high = column.values[bar];
        }
        char text[kNumberRoom];
        const auto widthOf = [&](double value) {
            return static_cast<int>(writeFixed(text, value, column.decimals) - text);
        };
        column.width = std::max({static_cast<int>(column.id.size()), widthOf(low), widthOf(high)});
    }
    for (std::size_t i = 0; i + 1 < kNames.size(); ++i) {
        columns[i].width += columns[i].decimals ? priceDecimals - columns[i].decimals : priceDecimals + 1;
        columns[i].decimals = priceDecimals;
    }
}

void writeTable(Output& output, const double* times, std::vector<Column>& columns, unsigned long count) {
    measure(columns, count);
    output.padded("time", kTimeWidth, false);
    for (const Column& column : columns) {
        output.text("  ");
        output.padded(column.id, column.width, true);
    }
    output.character('\n');
    char text[kNumberRoom];
    const auto textFrom = [&](const char* end) { return std::string_view(text, static_cast<std::size_t>(end - text)); };
    for (unsigned long bar = 0; bar < count; ++bar) {
        output.padded(textFrom(writeTime(text, times[bar])), kTimeWidth, false);
        for (const Column& column : columns) {
            const double value = column.values[bar];
            output.text("  ");
            output.padded(std::isnan(value) ? "" : textFrom(writeFixed(text, value, column.decimals)), column.width,
                          true);
        }
        output.character('\n');
    }
}

void writeCsv(Output& output, const double* times, const std::vector<Column>& columns, unsigned long count) {
    output.text("time");
    for (const Column& column : columns) {
        output.character(',');
        writeCsvCell(output, column.id);
    }
    output.character('\n');
    for (unsigned long bar = 0; bar < count; ++bar) {
        output.time(times[bar]);
        for (const Column& column : columns) {
            output.character(',');
            output.number(column.values[bar]);
        }
        output.character('\n');
    }
}

void writeJson(Output& output, const double* times, const std::vector<Column>& columns, unsigned long count) {
    std::vector<std::string> keys;
    keys.reserve(columns.size());
    for (const Column& column : columns) keys.push_back(jsonText(column.id) + ":");
    for (unsigned long bar = 0; bar < count; ++bar) {
        output.text(bar ? ",\n{\"time\":\"" : "[\n{\"time\":\"");
        output.time(times[bar]);
        output.character('"');
        for (std::size_t i = 0; i < columns.size(); ++i) {
            output.character(',');
            output.text(keys[i]);
            if (std::isfinite(columns[i].values[bar]))
                output.number(columns[i].values[bar]);
            else
                output.text("null");
        }
        output.character('}');
    }
    output.text("]");
}

}  // namespace

void writeBars(Output& output, Format format, Prices& prices, const std::vector<BarColumn>& streams) {
    const double* times = prices.column(IPriceStream::Time);
    std::vector<Column> columns = allColumns(prices, streams);
    switch (format) {
        case Format::Table:
            return writeTable(output, times, columns, prices.size());
        case Format::Csv:
            return writeCsv(output, times, columns, prices.size());
        case Format::Json:
            return writeJson(output, times, columns, prices.size());
    }
}

}  // namespace vexil3::cli
