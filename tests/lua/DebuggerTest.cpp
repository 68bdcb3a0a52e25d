#include <algorithm>
#include <memory>

#include "tests/lua/Fixture.h"

namespace vexil3::test {

class Debugging : public LuaTest {
protected:
    Debugging() { language->setDebugger(&debugger); }

    static std::string text(const std::unique_ptr<IString>& string) { return string->text(); }

    Debugger debugger;
};

TEST_F(Debugging, EveryLineOfAHotLoopIsReported) {
    Indicator run;
    ASSERT_TRUE(start(run,
                      "function indicator() end\nfunction update(i, period)\n local sum = 0\n"
                      " for i = 1, 10000 do\n  sum = sum + i\n end\nend"));
    debugger.lines.clear();
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(run->update(i, IIndicatorInstanceImplementation::AddBar, run.error.out()));
    const std::string body = std::string("@") + kFile + ":5";
    EXPECT_EQ(std::count(debugger.lines.begin(), debugger.lines.end(), body), 30000);
    EXPECT_EQ(debugger.created, std::vector<IObjectNoRef*>{&run.callback});
    EXPECT_EQ(debugger.objects.back(), &run.callback);
    // Nobody listens any more.
    debugger.lines.clear();
    language->setDebugger(nullptr);
    EXPECT_TRUE(run->update(3, IIndicatorInstanceImplementation::AddBar, run.error.out()));
    EXPECT_TRUE(debugger.lines.empty());
}

TEST_F(Debugging, ShowsCallsVariablesAndWatches) {
    Macro run;
    ASSERT_TRUE(start(run,
                      "function macro() end\nlevel = 7\nlocal outer = 'o'\nlocal function inner(a)\n"
                      " local b, c = a + 1\n return b, outer\nend\nfunction execute()\n local r = inner(1)\n"
                      " return r\nend"));
    const std::unique_ptr<IString> a(IString::create()), b(IString::create()), c(IString::create());
    int seen = 0;
    debugger.onLine = [&](IDebuggerCallback* event, int line) {
        if (line != 6) return 1;
        ++seen;
        const auto watch = [&](const char* expression) {
            return event->calculateWatch(expression, a.get(), b.get(), nullptr) ? text(a) + "|" + text(b) : "failed";
        };
        EXPECT_EQ(watch("a + b"), "3|number");
        EXPECT_EQ(watch("outer"), "o|string");
        EXPECT_EQ(watch("level"), "7|number");
        EXPECT_EQ(watch("c"), "nil|nil");
        EXPECT_EQ(watch("level = 8"), "nil|nil");
        EXPECT_EQ(watch("level"), "8|number");
        Ref<IError> error;
        EXPECT_FALSE(event->calculateWatch("a.b.c", a.get(), b.get(), error.out()));
        EXPECT_EQ(faultOf(error).message, "attempt to index local 'a' (a number value)");
        EXPECT_FALSE(event->calculateWatch("1 +", a.get(), b.get(), error.out()));

        EXPECT_TRUE(event->prepareCallStack(false));
        EXPECT_EQ(event->callStackDepth(), 2u);
        std::string frames;
        int at = 0;
        for (unsigned long i = 0; event->getCallStackFrame(i, a.get(), b.get(), c.get(), at); ++i)
            frames += text(a) + " " + text(b) + " " + text(c) + " " + std::to_string(at) + "\n";
        EXPECT_EQ(frames, std::string(kFile) + " inner Lua 6\n" + kFile + " execute Lua 9\n");
        EXPECT_TRUE(event->prepareCallStack(true));
        EXPECT_GT(event->callStackDepth(), 2u);

        EXPECT_TRUE(event->prepareVarList(false));
        std::vector<std::string> names;
        for (unsigned long i = 0; i < event->varCount(); ++i) names.emplace_back(event->varName(i));
        EXPECT_EQ(names, (std::vector<std::string>{"outer", "a", "b", "c"}));
        EXPECT_EQ(event->varName(names.size()), nullptr);
        EXPECT_TRUE(event->prepareVarList(true));
        EXPECT_GT(event->varCount(), 20u);
        return 1;
    };
    ASSERT_TRUE(run->execute(run.error.out())) << run.fault().message;
    EXPECT_EQ(seen, 1);
}

TEST_F(Debugging, EndsAScriptThatWouldCatchIt) {
    Indicator run;
    ASSERT_TRUE(start(run,
                      "function indicator() end\nfunction update()\n while true do\n"
                      "  pcall(function()\n   local x = 1\n  end)\n end\nend"));
    debugger.onLine = [](IDebuggerCallback*, int line) { return line == 5 ? 0 : 1; };
    EXPECT_FALSE(run->update(0, IIndicatorInstanceImplementation::AddBar, run.error.out()));
    EXPECT_NE(run.fault().message.find("stopped by the debugger"), std::string::npos);
    debugger.onLine = [](IDebuggerCallback*, int line) -> int { return line == 3 ? throw std::runtime_error("x") : 1; };
    EXPECT_FALSE(run->update(0, IIndicatorInstanceImplementation::AddBar, run.error.out()));
    EXPECT_EQ(run.fault().line, 3);
}

TEST_F(Debugging, MayNotEnterTheScriptThatStands) {
    Indicator run;
    ASSERT_TRUE(start(run, "function indicator() end\nfunction update() end"));
    Ref<IError> inner;
    bool entered = true;
    debugger.onLine = [&](IDebuggerCallback*, int) {
        entered =
            run->update(0, IIndicatorInstanceImplementation::AddBar, inner.out()) || run->prepare(false, inner.out());
        return 1;
    };
    EXPECT_TRUE(run->update(0, IIndicatorInstanceImplementation::AddBar, run.error.out()));
    EXPECT_FALSE(entered);
    EXPECT_NE(faultOf(inner).message.find("still busy with update"), std::string::npos);
}

}  // namespace vexil3::test
