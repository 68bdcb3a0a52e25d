#include <chrono>
#include <thread>

#include "tests/lua/Fixture.h"

namespace vexil3::test {

class Limits : public LuaTest {
protected:
    void limitMemory(std::size_t bytes) { ASSERT_TRUE(language->setOption(ILanguage::MemoryLimit, &bytes, nullptr)); }
};

constexpr std::size_t kMiB = 1 << 20;

TEST_F(Limits, MemoryRunsOutAtALineAndTheScriptLivesOn) {
    const char* const bodies[] = {
        "local t = {}\n while true do t[#t + 1] = {} end",
        "local function put(t, v) local n = t.n t[n] = v t.n = n + 1 end\n"
        "local t = {n = 0} while true do put(t, {x = 1}) end",
        "local t = {}\n while true do t[#t + 1] = ('x'):rep(#t) end",
        "local s = 'x'\n while true do s = s .. s end",
        "local s = 'x'\n while true do s = s .. 'abcdefgh' .. #s t = {s, t} end",
        "local t = {}\n while true do t = {t, function() return t end} end",
        "local t = {}\n for i = 1, 1e9 do t[i] = i end",
        "local t = {}\n while true do t[#t + 1] = coroutine.create(log) end",
    };
    for (const char* handler : {"update", "prepare"})
        for (const char* body : bodies) {
            Indicator run;
            limitMemory(24 * kMiB);
            ASSERT_TRUE(start(run, "function indicator() end\nfunction " + std::string(handler) +
                                       "(i, p) if p == 1 then return end " + body + " end"));
            const auto call = [&](int period) {
                return *handler == 'u' ? run->update(period, IIndicatorInstanceImplementation::AddBar, run.error.out())
                                       : run->prepare(period, run.error.out());
            };
            EXPECT_FALSE(call(0)) << body;
            const Fault fault = run.fault();
            EXPECT_NE(fault.message.find("not enough memory"), std::string::npos) << fault.message;
            // Compiled code that calls such a function sees no more than the refusal in there.
            EXPECT_EQ(fault.line, std::string(body).find("coroutine") == std::string::npos ? 3 : 2) << fault.message;
        }
}

TEST_F(Limits, GarbageIsNotCounted) {
    limitMemory(16 * kMiB);
    Indicator run;
    ASSERT_TRUE(start(run,
                      "function indicator() end\nfunction update() local keep = {}\n"
                      "for i = 1, 3e6 do keep[i % 1000 + 1] = {i, {}, ('x'):rep(i % 100)} end end"));
    EXPECT_TRUE(run->update(0, IIndicatorInstanceImplementation::AddBar, run.error.out())) << run.fault().message;
}

TEST_F(Limits, AStateNeedsSomeMemoryToo) {
    for (std::size_t bytes = 0; bytes < 200'000; bytes += 1'009) {
        limitMemory(bytes);
        Macro run;
        const bool done = start(run, "function macro() end function execute() end") && run->execute(run.error.out());
        EXPECT_EQ(done, !run.error) << bytes;
    }
}

TEST_F(Limits, KillEndsATightLoop) {
    const std::pair<const char*, int> bodies[] = {
        {"while true do end", 2},
        {"while true do pcall(function() while true do end end) end", 2},
        {"local function f() return f() end f()", 2},
        {"while true do xpcall(function() while true do end end, function() while true do end end) end", 2},
        {"coroutine.wrap(function() while true do end end)()", 2},
    };
    for (const auto& [body, line] : bodies) {
        Macro run;
        ASSERT_TRUE(start(run, "function macro() end\nfunction execute() log('runs') " + std::string(body) +
                                   " end\nfunction kill() log('killed') end"));
        std::thread killer([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            run->kill(nullptr);
        });
        EXPECT_FALSE(run->execute(run.error.out())) << body;
        killer.join();
        EXPECT_EQ(run.fault().message.find(std::string(kFile) + ":2: stopped"), 0u) << run.fault().message;
        EXPECT_EQ(run.callback.host.lines, (std::vector<std::string>{"runs", "killed"}));
    }
}

// Nothing of Lua runs on in such a handler, where the stop would be raised again.
TEST_F(Limits, KillEndsAHandlerThatIsPcall) {
    Macro run;
    ASSERT_TRUE(start(run,
                      "function macro() end\nfunction execute(i)\n"
                      "setmetatable(i, {__call = function() log('runs') while true do end end})\n"
                      "execute = pcall end\nfunction kill() log('killed') end"));
    ASSERT_TRUE(run->execute(run.error.out()));
    std::thread killer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        run->kill(nullptr);
    });
    run->execute(run.error.out());
    killer.join();
    EXPECT_EQ(run.callback.host.lines, (std::vector<std::string>{"runs", "killed"}));
}

class CompiledMacro : public LuaTest {
protected:
    CompiledMacro() : LuaTest("1") {}
};

TEST_F(CompiledMacro, IsKilledOnceItHasEnded) {
    Macro run;
    ASSERT_TRUE(start(run,
                      "function macro() end\nfunction execute() log('runs') local n = 0\n"
                      "for i = 1, 2e8 do n = n + i % 3 end log('ends') end\nfunction kill() log('killed') end"));
    std::thread killer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        run->kill(nullptr);
    });
    EXPECT_TRUE(run->execute(run.error.out())) << run.fault().message;
    killer.join();
    EXPECT_EQ(run.callback.host.lines, (std::vector<std::string>{"runs", "ends", "killed"}));
}

TEST_F(Limits, KillOfAnIdleMacroEndsNothing) {
    Macro run;
    ASSERT_TRUE(
        start(run, "function macro() end function execute() for i = 1, 1e5 do end end function kill() log('k') end"));
    EXPECT_TRUE(run->kill(run.error.out()));
    EXPECT_TRUE(run->execute(run.error.out())) << run.fault().message;
    EXPECT_EQ(run.callback.host.lines.size(), 1u);
}

TEST_F(Limits, AScriptMustLoadInTime) {
    ILanguageService::ObjectType type{};
    accessor->files[kFile] = "\nwhile true do pcall(function() while true do end end) end";
    Ref<IError> error;
    EXPECT_FALSE(language->recognizeFile(accessor.get(), kFile, type, error.out()));
    EXPECT_EQ(faultOf(error).line, 2);
    EXPECT_NE(faultOf(error).message.find("takes too long"), std::string::npos);
    for (const char* text : {"function macro()\n while true do end end", "function macro() end\nwhile true do end"}) {
        Macro run;
        EXPECT_FALSE(load(run, text));
        EXPECT_EQ(run.fault().line, 2);
    }
}

TEST_F(Limits, AFaultOfTheTopLevelComesWithTheProfile) {
    ILanguageService::ObjectType type{};
    accessor->files[kFile] = "function macro() end\nerror('no')";
    Ref<IError> error;
    EXPECT_TRUE(language->recognizeFile(accessor.get(), kFile, type, error.out()));
    EXPECT_EQ(type, ILanguageService::Macro);
    EXPECT_FALSE(error);
    Macro run;
    EXPECT_FALSE(load(run, accessor->files[kFile].c_str()));
    EXPECT_EQ(run.fault().line, 2);
}

}  // namespace vexil3::test
