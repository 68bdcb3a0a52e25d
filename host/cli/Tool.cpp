// Tools: a person's gestures, then what is drawn.
#include <algorithm>

#include <nlohmann/json.hpp>

#include "host/cli/Drawing.h"
#include "host/cli/Run.h"

namespace vexil3::cli {

namespace {

class ToolInstance final : public InstanceBase<IToolInstanceCallback> {
public:
    ToolInstance(IProfile& profile, IPriceStream& prices) : InstanceBase(profile), mPrices(prices) {}

    IPriceStream* getPrices() override { return &mPrices; }

private:
    IPriceStream& mPrices;
};

// Feeds gestures to a tool in the order in which a chart would.
class Hand {
public:
    Hand(IToolInstanceImplementation& tool, int points) : mTool(tool), mPointsLeft(points) {}

    void begin() {
        expect(mTool.creationStarted(mError), mError, "creationStarted");
        if (mPointsLeft <= 0) finishCreation();
    }

    void act(const Gesture& gesture) {
        if (mMoving && !continues(gesture)) end();
        switch (gesture.kind) {
            case Gesture::Click:
                click(gesture);
                break;
            case Gesture::DoubleClick:
                expect(mTool.doubleClick(gesture.x, gesture.y, gesture.time, gesture.price, mError), mError,
                       "doubleClick");
                break;
            case Gesture::Drag:
                expect(mTool.drag(gesture.x, gesture.y, gesture.time, gesture.price, mError), mError, "drag");
                break;
            case Gesture::Move:
                if (!mMoving) expect(mTool.moveStart(mError), mError, "moveStart");
                expect(mTool.move(gesture.x, gesture.y, gesture.time, gesture.price, mError), mError, "move");
                break;
            case Gesture::MovePoint:
                if (!mMoving)
                    expect(mTool.moveReferencePointStart(gesture.point, mError), mError, "moveReferencePointStart");
                expect(mTool.moveReferencePoint(gesture.x, gesture.y, gesture.time, gesture.price, mError), mError,
                       "moveReferencePoint");
                break;
        }
        mMoving = gesture.kind != Gesture::Click && gesture.kind != Gesture::DoubleClick;
        mLast = gesture;
    }

    // Lets go of what is being moved.
    void end() {
        if (!mMoving) return;
        mMoving = false;
        if (mLast.kind == Gesture::Drag)
            expect(mTool.dragEnd(mLast.x, mLast.y, mLast.time, mLast.price, mError), mError, "dragEnd");
        else if (mLast.kind == Gesture::Move)
            expect(mTool.moveFinished(mError), mError, "moveFinished");
        else
            expect(mTool.moveReferencePointFinished(mError), mError, "moveReferencePointFinished");
    }

private:
    bool continues(const Gesture& gesture) const { return gesture.kind == mLast.kind && gesture.point == mLast.point; }

    void click(const Gesture& gesture) {
        expect(mTool.click(gesture.x, gesture.y, gesture.time, gesture.price, mError), mError, "click");
        if (mPointsLeft > 0 && --mPointsLeft == 0) finishCreation();
    }

    void finishCreation() { expect(mTool.creationFinished(mError), mError, "creationFinished"); }

    IToolInstanceImplementation& mTool;
    int mPointsLeft;
    bool mMoving = false;
    Gesture mLast;
    ErrorSlot mError;
};

// A click for each point, on bars spread over the prices, at their closes; a bar is ten pixels wide.
std::vector<Gesture> sampleClicks(Prices& prices, int points) {
    std::vector<Gesture> clicks;
    const double* times = prices.column(IPriceStream::Time);
    const double* closes = prices.column(IPriceStream::Close);
    for (int i = 0; i < points; ++i) {
        const unsigned long bar =
            prices.total() * static_cast<unsigned long>(i + 1) / static_cast<unsigned long>(points + 1);
        clicks.push_back({Gesture::Click, 0, static_cast<int>(bar) * 10, 100, times[bar], closes[bar]});
    }
    return clicks;
}

std::string countOf(int points) { return std::to_string(points) + (points == 1 ? " point" : " points"); }

// The gestures of the command line. What only a placed tool gets comes after clicks that place it.
std::vector<Gesture> gesturesFor(Run& run, int points) {
    std::vector<Gesture> gestures = run.options.gestures;
    for (const Gesture& gesture : gestures)
        if (gesture.kind == Gesture::MovePoint && (gesture.point < 0 || gesture.point >= points))
            throw Failure("--move-point " + std::to_string(gesture.point) + ": the tool has " + countOf(points) +
                          ", numbered from 0");
    const auto first = std::find_if(gestures.begin(), gestures.end(),
                                    [](const Gesture& gesture) { return gesture.kind != Gesture::DoubleClick; });
    if (first == gestures.end() || first->kind != Gesture::Click) {
        const std::vector<Gesture> clicks = sampleClicks(run.prices, points);
        gestures.insert(gestures.begin(), clicks.begin(), clicks.end());
    }
    const auto clicks = std::count_if(gestures.begin(), gestures.end(),
                                      [](const Gesture& gesture) { return gesture.kind == Gesture::Click; });
    if (clicks < points)
        run.messages.text(run.script + ": warning: the tool has " + countOf(points) + ", " + std::to_string(clicks) +
                          (clicks == 1 ? " was" : " were") + " clicked: it is not placed\n");
    return gestures;
}

void write(Run& run, IProfile& profile, const Drawing& drawing) {
    if (run.options.format == Format::Csv) return drawing.table().writeCsv(run.output);
    if (run.options.format == Format::Table) return drawing.table().write(run.output);
    nlohmann::ordered_json document{{"kind", "tool"}, {"script", run.script}, {"name", profile.getName()}};
    document["instrument"] = run.prices.instrument();
    document["drawn"] = drawing.json();
    run.output.text(jsonText(document, 2));
    run.output.character('\n');
}

}  // namespace

void runTool(Run& run) {
    run.prices.show(run.prices.total());
    LoadedScript<ToolProfile, IToolProfileImplementation> loaded(run, run.messages, &ILanguage::createToolProfile);
    ToolInstance callback(loaded.profile, run.prices);
    const auto instance = loaded.start(callback);
    checkSettings(run, *instance, loaded.profile);
    ErrorSlot error;
    expect(instance->prepare(false, error), error, "prepare");
    warnWithout(run, *instance, {"draw"});

    const int points = loaded.profile.getCreationStrategy()->getPointCount();
    const std::vector<Gesture> gestures = gesturesFor(run, points);
    Hand hand(*instance, points);
    hand.begin();
    for (const Gesture& gesture : gestures) hand.act(gesture);
    hand.end();

    Drawing drawing;
    expect(instance->draw(IOwnerDrawnContext::Background, &drawing, error), error, "draw");
    expect(instance->draw(IOwnerDrawnContext::Foreground, &drawing, error), error, "draw");
    expect(instance->releaseInstance(error), error, "releaseInstance");
    write(run, loaded.profile, drawing);
}

}  // namespace vexil3::cli
