#include "tests/lua/Fixture.h"

namespace vexil3::test {

constexpr const char* kAverage = R"(
function indicator(profile)
  profile:setName("Moving average")
  profile.parameters:addInteger("N", "Periods", 14, 1, 1000)
end
local average
function prepare(instance, nameOnly)
  average = instance:addStream("MA", "Average")
end
function update(instance, period, mode)
  local n, close = instance.parameters.N, instance.source.close
  if period < n - 1 then return end
  local sum = 0
  for i = 0, n - 1 do sum = sum + close[period - i] end
  average[period] = sum / n
end
)";

using Instances = LuaTest;

TEST_F(Instances, IndicatorFollowsBarsThatComeAndChange) {
    Indicator run;
    run.callback.parameters.all = {{"N", IParameters::Integer, 3, ""}};
    ASSERT_TRUE(start(run, kAverage)) << run.fault().message;
    EXPECT_EQ(run.profileCallback.calls,
              (std::vector<std::string>{"setName Moving average", "integer N Periods 14 1 1000"}));
    ASSERT_TRUE(run->prepare(false, run.error.out()));
    Prices& source = run.callback.source;
    for (int i = 0; i < 100; ++i) {
        source.add(i);
        ASSERT_TRUE(run->update(i, IIndicatorInstanceImplementation::AddBar, run.error.out())) << run.fault().message;
    }
    const std::vector<double> values = run.callback.values("MA");
    EXPECT_TRUE(std::isnan(values[0]) && std::isnan(values[1]));
    for (int i = 2; i < 100; ++i) EXPECT_DOUBLE_EQ(values[i], i - 1) << i;

    source.columns[IPriceStream::Close][99] += 30;
    ASSERT_TRUE(run->update(99, IIndicatorInstanceImplementation::UpdateLast, run.error.out()));
    EXPECT_DOUBLE_EQ(run.callback.values("MA")[99], 108);
    // The bar changes once more as its successor comes.
    source.columns[IPriceStream::Close][99] += 30;
    source.add(100);
    ASSERT_TRUE(run->update(100, IIndicatorInstanceImplementation::AddBar, run.error.out()));
    EXPECT_DOUBLE_EQ(run.callback.values("MA")[100], 119);

    ASSERT_TRUE(run->releaseInstance(run.error.out()));
    EXPECT_TRUE(std::isnan(run.callback.values("MA")[99]));
}

TEST_F(Instances, StreamsRefuseWhatTheHostCouldNotShow) {
    const std::pair<const char*, const char*> cases[] = {
        {"s[10] = 1", "a stream has no bar 10: it has 10, from 0"},
        {"s[-1] = 1", "a stream has no bar -1: it has 10, from 0"},
        {"s[0.5] = 1", "a stream has no bar 0.5: it has 10, from 0"},
        {"s[0/0] = 1", "it has 10, from 0"},
        {"s.name = 1", "a stream has no field 'name'"},
        {"s[1] = 'high'", "a stream's value must be a number"},
        {"i.source.close[10] = 1", "prices cannot be changed"},
        {"i:addStream('S', 'again')", "the stream 'S' is refused"},
        {"i.addStream('S', 'again')", "'addStream' must be called on its object"},
    };
    for (const auto& [statement, message] : cases) {
        Indicator run;
        run.callback.source = Prices(10);
        ASSERT_TRUE(start(run,
                          "function indicator() end local s\n"
                          "function prepare(i) s = i:addStream('S', 'Label') end\n"
                          "function update(i) " +
                              std::string(statement) + " end"));
        ASSERT_TRUE(run->prepare(false, run.error.out()));
        EXPECT_FALSE(run->update(9, IIndicatorInstanceImplementation::AddBar, run.error.out())) << statement;
        EXPECT_NE(run.fault().message.find(message), std::string::npos) << run.fault().message;
        EXPECT_EQ(run.fault().line, 3) << run.fault().message;
    }
}

TEST_F(Instances, PricesAreThere) {
    Indicator run;
    run.callback.source = Prices(10);
    ASSERT_TRUE(start(run, R"(function indicator() end
function notifyFinished(i, cookie, values)
  local s = i.source
  log(cookie, values.order, s.instrument, s.length, s:size(), s.close.length, s.close:size(), s.close[9], s.open[9],
      s.high[9], s.low[9], s.volume[9], s.time[9], s.close[10], s.close[-1], s.median)
end)"));
    Values values;
    ASSERT_TRUE(run->notifyFinished(7, &values, run.error.out())) << run.fault().message;
    EXPECT_EQ(run.callback.host.lines[0], "7 filled EUR/USD 10 10 10 10 9 8.7 8.8 8.9 9.1 8.6 nil nil nil");
}

TEST_F(Instances, StrategySeesNoBarToCome) {
    Strategy run;
    run.callback.bid = run.callback.ask = Prices(10);
    ASSERT_TRUE(start(run, R"(function strategy() end
function update(instance, period)
  log(period, instance.bid.close.length, instance.bid.close[period], instance.bid.close[period + 1], instance.ask.length)
  instance:buy(4) instance:sell(1) log(instance:position())
end)"));
    for (run.callback.period = 0; run.callback.period < 3; ++run.callback.period)
        ASSERT_TRUE(run->update(run.error.out())) << run.fault().message;
    EXPECT_EQ(run.callback.host.lines,
              (std::vector<std::string>{"0 1 0 nil 1", "3", "1 2 1 nil 2", "6", "2 3 2 nil 3", "9"}));
    EXPECT_FALSE(run->update(run.error.out()));
    EXPECT_NE(run.fault().message.find("no margin left"), std::string::npos);
}

TEST_F(Instances, ParametersAreCheckedAndChanged) {
    Tool run;
    run.callback.parameters = {{"N", IParameters::Integer, 5, ""},
                               {"on", IParameters::Boolean, 1, ""},
                               {"title", IParameters::String, 0, "Trend"}};
    ASSERT_TRUE(start(run, R"(function tool() end
function checkParameters(instance, p) if p.N > 9 then return "N is too big" end return p.N ~= 8 end
function changeParameters(instance, p) log(instance.parameters.N, instance.parameters.on, instance.parameters.title, p.N) end
function canChangeParameters(instance) return instance.parameters.N == 5 end
function moveStart(instance) log(instance.parameters.N) end)"));
    Parameters good{{"N", IParameters::Integer, 6, ""}}, bad{{"N", IParameters::Integer, 10, ""}},
        odd{{"N", IParameters::Integer, 8, ""}};
    char text[6] = "";
    EXPECT_TRUE(run->canChangeParameters());
    EXPECT_TRUE(run->checkParameters(&good, text, sizeof text, run.error.out()));
    EXPECT_FALSE(run->checkParameters(&bad, text, sizeof text, run.error.out()));
    EXPECT_STREQ(text, "N is ");
    EXPECT_FALSE(run->checkParameters(&odd, text, sizeof text, run.error.out()));
    EXPECT_FALSE(run.error);
    EXPECT_STREQ(text, "check");
    ASSERT_TRUE(run->changeParameters(&good, run.error.out()));
    ASSERT_TRUE(run->moveStart(run.error.out()));
    EXPECT_EQ(run.callback.host.lines, (std::vector<std::string>{"5 true Trend 6", "6"}));
    EXPECT_FALSE(run->canChangeParameters());
}

TEST_F(Instances, DrawingReachesTheContextOnlyWhileDrawRuns) {
    Tool run;
    ASSERT_TRUE(start(run, R"(function tool() end
local kept
function draw(instance, stage, context)
  kept = context
  context:line(1, 2, 3, 4, 0xFF0000) context:rectangle(5, 6, 7, 8) context:text(9, 10, "here" .. stage, 1)
end
function click(instance, x, y, time, price) log(x, y, time, price) kept:line(1, 2, 3, 4) end
function drag(instance) draw(instance, 0, {line = 0}) end)"));
    Canvas canvas;
    ASSERT_TRUE(run->draw(IOwnerDrawnContext::Foreground, &canvas, run.error.out())) << run.fault().message;
    EXPECT_EQ(canvas.drawn,
              (std::vector<std::string>{"line 1 2 3 4 #16711680", "rectangle 5 6 7 8 #0", "here1 9 10 #1"}));
    EXPECT_FALSE(run->click(1, 2, 3.5, 4.5, run.error.out()));
    EXPECT_EQ(run.callback.host.lines[0], "1 2 3.5 4.5");
    EXPECT_NE(run.fault().message.find("only while draw runs"), std::string::npos);
}

TEST_F(Instances, MembersAreFoundAndInvoked) {
    Macro run;
    ASSERT_TRUE(start(run,
                      "function macro() end\nlevel = 3\nfunction twice(x) return 2 * x end\n"
                      "function fail() local x = nil; return x.y end\nlocal hidden = 1"));
    int method = -1, property = -1, failing = -1;
    IExecutable::MemberType type{};
    ASSERT_TRUE(run->findMember("twice", &method, &type));
    EXPECT_EQ(type, IExecutable::Method);
    ASSERT_TRUE(run->findMember("level", &property, &type));
    EXPECT_EQ(type, IExecutable::Property);
    ASSERT_TRUE(run->findMember("fail", &failing, &type));
    for (const char* name : {"hidden", "absent", "string", "error", "log"})
        EXPECT_FALSE(run->findMember(name, &failing, &type)) << name;
    Args call{21}, set{8}, get, wrong, unknown;
    run->invoke(method, IExecutable::Call, nullptr, &call);
    EXPECT_EQ(call.result, "42");
    run->invoke(property, IExecutable::Set, nullptr, &set);
    run->invoke(property, IExecutable::Get, nullptr, &get);
    EXPECT_EQ(get.result, "8");
    run->invoke(failing, IExecutable::Call, nullptr, &wrong);
    EXPECT_FALSE(wrong.isSucceeded());
    EXPECT_EQ(faultOf(wrong.error).line, 4);
    run->invoke(99, IExecutable::Call, nullptr, &unknown);
    EXPECT_FALSE(unknown.isSucceeded());
}

TEST_F(Instances, EachHasAStateOfItsOwn) {
    Macro first;
    ASSERT_TRUE(start(first, "count = 0 function macro() end function execute() count = count + 1 log(count) end"));
    Ref<IMacroInstanceImplementation> second(first.profile->getInstanceImplementation());
    first.profile = Ref<IMacroProfileImplementation>();
    MacroInstance callback;
    ASSERT_TRUE(second->init(&callback, first.error.out()));
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(first->execute(first.error.out()));
    ASSERT_TRUE(second->execute(first.error.out()));
    EXPECT_EQ(first.callback.host.lines.back(), "3");
    EXPECT_EQ(callback.host.lines.back(), "1");
}

}  // namespace vexil3::test
