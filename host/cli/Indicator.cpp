// Indicators: every bar in turn, then the streams beside the bars.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/cli/Bars.h"
#include "host/cli/Drawing.h"
#include "host/cli/Run.h"

namespace vexil3::cli {

namespace {

struct Stream {
    std::string id;
    std::string label;
    IStreamValues* values;
};

bool isBarColumn(const std::string& id) {
    return id == "time" || id == "open" || id == "high" || id == "low" || id == "close" || id == "volume";
}

class IndicatorInstance final : public InstanceBase<IIndicatorInstanceCallback> {
public:
    IndicatorInstance(IProfile& profile, IPriceStream& source) : InstanceBase(profile), mSource(source) {}

    IPriceStream* getSource() override { return &mSource; }
    bool addStream(const char* id, const char* label, IStreamValues* values) noexcept override {
        const std::string_view shown = label ? label : "";
        if (!id || mStreams.size() == kMostNames || std::strlen(id) + shown.size() > kLongestName) return false;
        const std::string wanted = id;
        const auto sameId = [&](const Stream& stream) { return stream.id == wanted; };
        if (wanted.empty() || !values || isBarColumn(wanted) || std::any_of(mStreams.begin(), mStreams.end(), sameId))
            return false;
        mStreams.push_back({wanted, std::string(shown), values});
        return true;
    }

    const std::vector<Stream>& streams() const { return mStreams; }

private:
    IPriceStream& mSource;
    std::vector<Stream> mStreams;
};

std::vector<BarColumn> valuesOf(const std::vector<Stream>& streams, unsigned long count) {
    std::vector<BarColumn> columns;
    for (const Stream& stream : streams) {
        columns.push_back({stream.id, std::vector<double>(count)});
        stream.values->copy(0, count, columns.back().values.data());
    }
    return columns;
}

void writeJson(Run& run, IProfile& profile, const std::vector<Stream>& streams, const std::vector<BarColumn>& columns,
               const Drawing& drawing) {
    nlohmann::ordered_json head{{"kind", "indicator"}, {"script", run.script}, {"name", profile.getName()}};
    head["instrument"] = run.prices.instrument();
    head["streams"] = nlohmann::ordered_json::array();
    for (const Stream& stream : streams) head["streams"].push_back({{"id", stream.id}, {"label", stream.label}});
    if (!drawing.empty()) head["drawn"] = drawing.json();
    std::string text = jsonText(head);
    // The bars are many and go straight to the output.
    text.pop_back();
    run.output.text(text);
    run.output.text(",\"bars\":");
    writeBars(run.output, Format::Json, run.prices, columns);
    run.output.text("}\n");
}

void warnOfNothing(Run& run, const std::vector<BarColumn>& columns, const Drawing& drawing) {
    const auto warn = [&](const std::string& what) { run.messages.text(run.script + ": warning: " + what + '\n'); };
    const auto isEmpty = [](double value) { return std::isnan(value); };
    for (const BarColumn& column : columns)
        if (std::all_of(column.values.begin(), column.values.end(), isEmpty))
            warn("the stream '" + column.id + "' has no value at any bar");
    if (columns.empty() && drawing.empty()) warn("adds no stream and draws nothing");
}

void draw(IIndicatorInstanceImplementation& instance, Drawing& drawing) {
    ErrorSlot error;
    expect(instance.draw(IOwnerDrawnContext::Background, &drawing, error), error, "drawing");
    expect(instance.draw(IOwnerDrawnContext::Foreground, &drawing, error), error, "drawing");
}

}  // namespace

void runIndicator(Run& run) {
    LoadedScript<IndicatorProfile, IIndicatorProfileImplementation> loaded(run, run.messages,
                                                                           &ILanguage::createIndicatorProfile);
    IndicatorInstance callback(loaded.profile, run.prices);
    const auto instance = loaded.start(callback);
    ErrorSlot error;
    expect(instance->prepare(false, error), error, "prepare");
    warnWithout(run, *instance, {"update", "draw"});
    for (unsigned long period = 0; period < run.prices.total(); ++period) {
        run.prices.show(period + 1);
        expect(instance->update(static_cast<int>(period), IIndicatorInstanceImplementation::AddBar, error), error,
               "update");
    }
    Drawing drawing;
    draw(*instance, drawing);
    const std::vector<BarColumn> columns = valuesOf(callback.streams(), run.prices.total());
    warnOfNothing(run, columns, drawing);
    if (run.options.format == Format::Json) {
        writeJson(run, loaded.profile, callback.streams(), columns, drawing);
    } else {
        writeBars(run.output, run.options.format, run.prices, columns);
        if (run.options.format == Format::Table && !drawing.empty()) {
            run.output.character('\n');
            drawing.table().write(run.output);
        }
    }
    expect(instance->releaseInstance(error), error, "releaseInstance");
}

}  // namespace vexil3::cli
