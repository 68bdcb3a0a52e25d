#include "host/cli/Prices.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>

// Reading ahead in a thread gains nothing on files in the page cache.
#define CSV_IO_NO_THREAD
// The library cuts file names for its messages on purpose; ours carry the whole name.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wstringop-truncation"
#include <libfccp/csv.h>
#pragma GCC diagnostic pop

#include "host/cli/Failure.h"
#include "host/cli/Numbers.h"

namespace vexil3::cli {

namespace {

using Reader = io::CSVReader<6, io::trim_chars<' ', '\t'>, io::double_quote_escape<',', '"'>, io::throw_on_overflow,
                             io::empty_line_comment>;

constexpr std::array<const char*, 6> kNames{"time", "open", "high", "low", "close", "volume"};

[[noreturn]] void refuse(const std::string& path, int row, const std::string& what) {
    throw Failure(path + ":" + std::to_string(row) + ": " + what);
}

// The library's own sources take a failure for the end of the file.
class Bytes final : public io::ByteSourceBase {
public:
    explicit Bytes(const std::string& path) : mPath(path), mFile(std::fopen(path.c_str(), "rbe")) {
        if (!mFile) fail();
    }

    int read(char* buffer, int size) override {
        const std::size_t done = std::fread(buffer, 1, static_cast<std::size_t>(size), mFile.get());
        if (std::ferror(mFile.get())) fail();
        if (mInHeader) takeHeader(buffer, buffer + done);
        return static_cast<int>(done);
    }

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    [[noreturn]] void fail() const {
        throw Failure("cannot read the prices " + mPath + ": " + std::strerror(errno) + "; give a file with --prices");
    }

    // Columns are known by their names in small letters.
    void takeHeader(char* from, char* to) {
        char* const first = std::find_if(from, to, [](char c) { return c != '\r' && c != '\n'; });
        char* const end = std::find(first, to, '\n');
        mInHeader = end == to;
        std::transform(first, end, first, [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    }

    const std::string mPath;
    const std::unique_ptr<std::FILE, Close> mFile;
    bool mInHeader = true;
};

void readHeader(Reader& reader, const std::string& path) {
    reader.read_header(io::ignore_extra_column | io::ignore_missing_column, kNames[0], kNames[1], kNames[2], kNames[3],
                       kNames[4], kNames[5]);
    for (const char* name : kNames)
        if (!reader.has_column(name) && name != kNames[IPriceStream::Volume])
            refuse(path, 1,
                   std::string("no column \"") + name +
                       "\"; the first row must name time,open,high,low,close and may name volume");
}

}  // namespace

Prices::Prices(const std::string& path) : mInstrument(std::filesystem::path(path).stem()) {
    try {
        read(path);
    } catch (const io::error::too_few_columns& e) {
        refuse(path, e.file_line, "too few columns");
    } catch (const io::error::too_many_columns& e) {
        refuse(path, e.file_line, "too many columns");
    } catch (const io::error::escaped_string_not_closed& e) {
        refuse(path, e.file_line, "a quotation mark is not closed");
    } catch (const io::error::header_missing&) {
        throw Failure(path + ": the file is empty; its first row must name time,open,high,low,close");
    } catch (const io::error::base& e) {
        throw Failure(path + ": " + e.what());
    }
    if (total() == 0) throw Failure(path + ": no bars");
}

const double* Prices::column(Column column) {
    return column >= Time && column <= Volume ? mColumns[column].data() : nullptr;
}

void Prices::read(const std::string& path) {
    // A guess at the number of bars, to spare the columns their growing.
    constexpr std::uintmax_t kBytesABar = 40;
    std::error_code unknown;
    const std::uintmax_t bytes = std::filesystem::file_size(path, unknown);
    if (!unknown)
        for (std::vector<double>& column : mColumns) column.reserve(bytes / kBytesABar);

    Reader reader(path, std::make_unique<Bytes>(path));
    readHeader(reader, path);
    static char none[] = "0";
    std::array<char*, 6> cells{none, none, none, none, none, none};
    while (reader.read_row(cells[0], cells[1], cells[2], cells[3], cells[4], cells[5]))
        addRow(path, static_cast<int>(reader.get_file_line()), cells);
}

void Prices::addRow(const std::string& path, int row, const std::array<char*, 6>& cells) {
    std::array<double, 6> values{};
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::optional<double> value = i == Time ? parseTime(cells[i]) : parseNumber(cells[i]);
        if (!value)
            refuse(path, row,
                   std::string(kNames[i]) + " \"" + cells[i] + "\" is no " +
                       (i == Time ? "time: give 2024-01-31T09:30:00Z or seconds (not milliseconds) since 1970"
                                  : "number"));
        values[i] = *value;
    }
    if (values[High] < values[Low])
        refuse(path, row, std::string("high ") + cells[High] + " lies below low " + cells[Low]);
    if (total() && values[Time] <= mColumns[Time].back())
        refuse(path, row, std::string("time ") + cells[Time] + " is not after the row before");
    for (std::size_t i = 0; i < values.size(); ++i) mColumns[i].push_back(values[i]);
}

}  // namespace vexil3::cli
