#include "tests/lua/Fixture.h"

namespace vexil3::test {

using Errors = LuaTest;

// `boom` is on line 2, and each handler, all on line 3 + its place in the list, calls it there.
std::string failingScript(const std::string& kind, const std::vector<std::string>& handlers) {
    std::string text = "function " + kind + "() end\nlocal function boom() local x; return x.field end\n";
    for (const std::string& name : handlers) text += "function " + name + "() boom() return 1 end\n";
    return text;
}

template <class Kind>
using Operations = std::vector<std::pair<std::string, std::function<bool(Kind&, IError**)>>>;

template <class Kind>
std::vector<std::string> namesOf(const Operations<Kind>& operations) {
    std::vector<std::string> names;
    for (const auto& [name, call] : operations) names.push_back(name);
    return names;
}

Operations<Indicator> indicatorOperations() {
    return {{"prepare", [](auto& run, auto e) { return run->prepare(false, e); }},
            {"update", [](auto& run, auto e) { return run->update(0, IIndicatorInstanceImplementation::AddBar, e); }},
            {"notifyFinished", [](auto& run, auto e) { return run->notifyFinished(1, nullptr, e); }},
            {"draw", [](auto& run, auto e) { return run->draw(IOwnerDrawnContext::Background, nullptr, e); }},
            {"releaseInstance", [](auto& run, auto e) { return run->releaseInstance(e); }}};
}

Operations<Strategy> strategyOperations() {
    return {{"prepare", [](auto& run, auto e) { return run->prepare(true, e); }},
            {"update", [](auto& run, auto e) { return run->update(e); }},
            {"notifyFinished", [](auto& run, auto e) { return run->notifyFinished(1, nullptr, e); }},
            {"checkParameters", [](auto& run, auto e) { return run->checkParameters(nullptr, nullptr, 0, e); }},
            {"changeParameters", [](auto& run, auto e) { return run->changeParameters(nullptr, e); }},
            {"releaseInstance", [](auto& run, auto e) { return run->releaseInstance(e); }}};
}

Operations<Tool> toolOperations() {
    return {{"creationStarted", [](auto& run, auto e) { return run->creationStarted(e); }},
            {"click", [](auto& run, auto e) { return run->click(1, 2, 3, 4, e); }},
            {"doubleClick", [](auto& run, auto e) { return run->doubleClick(1, 2, 3, 4, e); }},
            {"drag", [](auto& run, auto e) { return run->drag(1, 2, 3, 4, e); }},
            {"dragEnd", [](auto& run, auto e) { return run->dragEnd(1, 2, 3, 4, e); }},
            {"creationFinished", [](auto& run, auto e) { return run->creationFinished(e); }},
            {"prepare", [](auto& run, auto e) { return run->prepare(false, e); }},
            {"moveStart", [](auto& run, auto e) { return run->moveStart(e); }},
            {"move", [](auto& run, auto e) { return run->move(1, 2, 3, 4, e); }},
            {"moveFinished", [](auto& run, auto e) { return run->moveFinished(e); }},
            {"moveReferencePointStart", [](auto& run, auto e) { return run->moveReferencePointStart(0, e); }},
            {"moveReferencePoint", [](auto& run, auto e) { return run->moveReferencePoint(1, 2, 3, 4, e); }},
            {"moveReferencePointFinished", [](auto& run, auto e) { return run->moveReferencePointFinished(e); }},
            {"notifyFinished", [](auto& run, auto e) { return run->notifyFinished(1, nullptr, e); }},
            {"checkParameters", [](auto& run, auto e) { return run->checkParameters(nullptr, nullptr, 0, e); }},
            {"changeParameters", [](auto& run, auto e) { return run->changeParameters(nullptr, e); }},
            {"draw", [](auto& run, auto e) { return run->draw(IOwnerDrawnContext::Background, nullptr, e); }},
            {"releaseInstance", [](auto& run, auto e) { return run->releaseInstance(e); }}};
}

Operations<Macro> macroOperations() {
    return {{"execute", [](auto& run, auto e) { return run->execute(e); }},
            {"notifyFinished", [](auto& run, auto e) { return run->notifyFinished(1, nullptr, e); }},
            {"kill", [](auto& run, auto e) { return run->kill(e); }},
            {"releaseInstance", [](auto& run, auto e) { return run->releaseInstance(e); }}};
}

template <class Kind>
class EveryHandler : public LuaTest {
public:
    void run(const std::string& kind, const Operations<Kind>& operations) {
        Kind failing, silent, early;
        ASSERT_TRUE(start(failing, failingScript(kind, namesOf(operations)))) << failing.fault().message;
        ASSERT_TRUE(load(early, failingScript(kind, {})));
        early.instance = Ref(early.profile->getInstanceImplementation());
        ASSERT_TRUE(start(silent, failingScript(kind, {})));
        int line = 3;
        for (const auto& [name, call] : operations) {
            Ref<IError> error;
            EXPECT_TRUE(call(silent, error.out())) << name;
            EXPECT_FALSE(error) << name;
            EXPECT_EQ(call(early, error.out()), name == "kill") << name << " before init";
            EXPECT_FALSE(call(failing, error.out())) << name;
            const Fault fault = faultOf(error);
            const std::string at = std::string(kFile) + ":", lineText = std::to_string(line++);
            EXPECT_EQ(fault.message, at + "2: attempt to index local 'x' (a nil value)\nstack traceback:\n\t" + at +
                                         "2: in function 'boom'\n\t" + at + lineText + ": in function '" + name + "'");
            EXPECT_EQ(std::make_tuple(fault.stage, fault.code, fault.line, fault.file, fault.count),
                      std::make_tuple(4, 100, 2, std::string(kFile), 1u));
            EXPECT_FALSE(call(failing, nullptr)) << name << " without a slot";
        }
    }
};

using EveryIndicatorHandler = EveryHandler<Indicator>;
using EveryStrategyHandler = EveryHandler<Strategy>;
using EveryToolHandler = EveryHandler<Tool>;
using EveryMacroHandler = EveryHandler<Macro>;

TEST_F(EveryIndicatorHandler, ReportsItsFaultOrIsLeftOut) { run("indicator", indicatorOperations()); }
TEST_F(EveryStrategyHandler, ReportsItsFaultOrIsLeftOut) { run("strategy", strategyOperations()); }
TEST_F(EveryToolHandler, ReportsItsFaultOrIsLeftOut) { run("tool", toolOperations()); }
TEST_F(EveryMacroHandler, ReportsItsFaultOrIsLeftOut) { run("macro", macroOperations()); }

// The line and the text, without the traceback, of what `body` raises in execute, which is line 2.
TEST_F(Errors, EveryWayToFailHasALineAndAText) {
    const std::tuple<const char*, const char*, int> cases[] = {
        {"error('plain')", "plain", 2},
        {"error('no position', 0)", "no position", 2},
        {"local function f()\n error('of the caller', 2) end\n f()", "of the caller", 4},
        {"local function f()\n error('x') end\n local ok, e = pcall(f) error(e, 0)", "x", 3},
        {"error({})", "table: 0x", 2},
        {"error(setmetatable({}, {__tostring = function() return 'described' end}))", "described", 2},
        {"error(setmetatable({}, {__tostring = function() error('again') end}))", "an error without a text", 2},
        {"error()", "nil", 2},
        {"error(true)", "true", 2},
        {"\n\n local t = 1 + nil", "attempt to perform arithmetic on a nil value", 4},
        {"coroutine.wrap(function()\n error('inside') end)()", "inside", 3},
        {"return 1 + 1,\n string.rep()", "bad argument #1 to 'rep'", 3},
        {"('x'):gsub(1)", "bad argument #3 to", 2},
        {"local function f() return 1 + f() end f()", "stack overflow", 2},
        {"local function f() f() f() end f()", "stack overflow", 2},
        {"local function f() return (('a'):gsub('a', f)) end f()", "stack overflow", 2},
        {"local function f() return coroutine.wrap(f)() + 1 end f()", "stack overflow", 2},
        {"local function f() local _, e = coroutine.resume(coroutine.create(f)) error(e, 0) end f()", "stack overflow",
         2},
        {"local t = setmetatable({}, {}) getmetatable(t).__tostring = function() log(t) return '' end log(t)",
         "stack overflow", 2},
        {"local function f() table.sort({3, 2, 1}, function(a, b) f() return a < b end) end f()", "stack overflow", 2},
        {"xpcall(error, error) local x = nil + 1", "attempt to perform arithmetic on a nil value", 2},
        {"require('../secret.lua')", "there is no library", 2},
    };
    for (const auto& [body, text, line] : cases) {
        Macro run;
        ASSERT_TRUE(start(run, "function macro() end\nfunction execute() " + std::string(body) + " end"))
            << run.fault().message;
        EXPECT_FALSE(run->execute(run.error.out())) << body;
        const Fault fault = run.fault();
        const std::string prefix = std::string(kFile) + ":" + std::to_string(line) + ": ";
        EXPECT_EQ(fault.line, line) << body << "\n" << fault.message;
        EXPECT_EQ(fault.message.substr(0, prefix.size()), prefix) << body;
        EXPECT_EQ(fault.message.find(text), prefix.size()) << body << "\n" << fault.message;
        EXPECT_LT(fault.message.size(), 6000u);
        // It lives on.
        EXPECT_FALSE(run->execute(run.error.out()));
    }
}

// Where compiled code runs out of stack, LuaJIT loses the place; a macro is not compiled.
TEST_F(Errors, EndlessRecursionIsFoundInCompiledCode) {
    for (const char* body : {"return 1 + f(a + 1, b)", "return 1 + (a > b and f(b, a) or f(a + 2, b))",
                             "local t = {a} t[2] = f(b, a) return #t"}) {
        Indicator run;
        ASSERT_TRUE(start(run, "function indicator() end\nlocal function f(a, b) " + std::string(body) +
                                   " end\nfunction prepare() for i = 1, 5 do pcall(f, i, 2) end f(1, 2) end"));
        for (int i = 0; i < 3; ++i) {
            EXPECT_FALSE(run->prepare(false, run.error.out()));
            const Fault fault = run.fault();
            // The recursion's, or the one that it was called from.
            EXPECT_TRUE(fault.line == 2 || fault.line == 3) << fault.message;
            EXPECT_NE(fault.message.find(": stack overflow\nstack traceback:\n"), std::string::npos) << fault.message;
        }
    }
}

TEST_F(Errors, HandlersMayFailWhereCompiledCodeRanOutOfStack) {
    for (const char* handler : {"string.rep", "setmetatable", "function(e) return string.rep(e) end"}) {
        Indicator run;
        ASSERT_TRUE(start(run,
                          "function indicator() end\nlocal function f(a) return 1 + f(a + 1) end\n"
                          "function prepare() for i = 1, 20 do assert(not xpcall(f, " +
                              std::string(handler) + ", 1)) end end"));
        EXPECT_TRUE(run->prepare(false, run.error.out())) << run.fault().message;
    }
}

TEST_F(Errors, LongNamesStayWhole) {
    const std::string name = "folder/" + std::string(200, 'x') + ".lua";
    accessor->files[name] = "function macro() end\nfunction execute()\n error('text') end";
    Macro run;
    run.profile = Ref(language->createMacroProfile(accessor.get(), name.c_str(), nullptr, run.error.out()));
    run.instance = Ref(run.profile->getInstanceImplementation());
    ASSERT_TRUE(run->init(&run.callback, run.error.out()));
    EXPECT_FALSE(run->execute(run.error.out()));
    const std::string at = name + ":3: ";
    EXPECT_EQ(run.fault().message, at + "text\nstack traceback:\n\t" + at + "in function 'execute'");
}

TEST_F(Errors, LoadingFailsWithTheScriptsLine) {
    Macro broken, failing, other, kindless, declaring, late;
    EXPECT_FALSE(load(broken, "function macro() end\nlocal = 5"));
    EXPECT_EQ(std::make_tuple(broken.fault().stage, broken.fault().code, broken.fault().line),
              std::make_tuple(3, 23, 2));
    EXPECT_EQ(broken.fault().message, "'<name>' expected near '='");
    EXPECT_EQ(broken.fault().file, kFile);

    EXPECT_FALSE(load(failing, "function macro() end\nerror('top')"));
    EXPECT_EQ(failing.fault().message,
              std::string(kFile) + ":2: top\nstack traceback:\n\t" + kFile + ":2: in main chunk");

    EXPECT_FALSE(load(other, "function tool() end"));
    EXPECT_EQ(other.fault().message, "The script is no macro but declares the kind tool");
    EXPECT_FALSE(load(kindless, "local x = 1"));
    EXPECT_EQ(kindless.fault().message, "The script is no macro: it has no function 'macro'");
    EXPECT_FALSE(load(declaring, "function macro(p)\n p:setName() end"));
    EXPECT_EQ(declaring.fault().line, 2);

    EXPECT_FALSE(start(late,
                       "if tries then tries = nil end function macro(p) end\nif log('x') == nil and P then end\n"
                       "local n = 0; for i = 1, 3 do n = n + i end\nbroken = n.x.y"));
    EXPECT_EQ(late.fault().line, 4);

    Ref<IError> error;
    EXPECT_EQ(language->createMacroProfile(accessor.get(), "absent.lua", nullptr, error.out()), nullptr);
    EXPECT_EQ(faultOf(error).code, IError::CodeCannotOpen);
    EXPECT_EQ(language->createMacroProfile(nullptr, kFile, nullptr, error.out()), nullptr);
    EXPECT_EQ(faultOf(error).code, IError::CodeNullObject);
}

TEST_F(Errors, TheHostsExceptionsBecomeTheScripts) {
    Macro run;
    ASSERT_TRUE(start(run, "function macro() end\nfunction execute()\n log('x') end"));
    run.callback.host.throws = true;
    EXPECT_FALSE(run->execute(run.error.out()));
    EXPECT_EQ(run.fault().line, 3);
    EXPECT_NE(run.fault().message.find("the log is full"), std::string::npos);
}

}  // namespace vexil3::test
