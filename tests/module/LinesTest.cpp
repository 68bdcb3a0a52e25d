// Line tables: parsed, stored, and used for errors and debugger events.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "doubles/Fault.h"
#include "doubles/HostObjects.h"
#include "doubles/TextModels.h"
#include "files/LineListing.h"
#include "files/split.h"
#include "lines/ErrorLines.h"
#include "lines/JSDebugger.h"
#include "lines/JSDebuggerCallback.h"

namespace vexil3::test {

namespace {

const std::vector<int> kTable = {0, 1, 1, 2, 3, 3, 4, 5, 7, 7, 9, 9, 10};

std::string randomText(std::mt19937& random, const std::vector<std::string>& pieces, unsigned int most) {
    std::string text;
    for (unsigned int n = random() % most; n > 0; --n) text += pieces[random() % pieces.size()];
    return text;
}

class Rewriting : public testing::Test {
protected:
    Rewriting() {
        std::vector<int> table = kTable;
        mCache.add("a.jsl", table);
    }

    std::vector<Fault> rewritten(const std::vector<Fault>& source, const char* script = "a.jsl") {
        const Ref<IError> error = makeError(source);
        Ref<IError> result;
        js::updateErrorLines(result.out(), error.get(), &mCache, script);
        EXPECT_EQ(faults(error), source) << "the source stays as it was";
        return faults(result);
    }
    std::string message(const std::string& text) { return rewritten({{4, 100, text, "a.jsl", 0, 0}}).at(0).message; }

    js::FileLinesCache mCache;
};

}  // namespace

TEST(Pieces, SplitAndListingReadAsAStreamWould) {
    std::mt19937 random(7);
    const std::vector<std::string> pieces = {
        "\n", "\n\n", "1",  "23", "999999999", "1234567890", "9999999999", "4294967297", "99999999999999999999",
        "-5", "+6",   "\r", " ",  "\t",        "x",          "7x",         "0009",       ",",
        "\v8"};
    for (int round = 0; round < 20000; ++round) {
        const std::string text = randomText(random, pieces, 14);
        const std::vector<std::string> expected = slowSplit(text, '\n');
        ASSERT_EQ(js::split(text, '\n'), expected) << testing::PrintToString(text);
        ASSERT_EQ(js::parseLineListing(text), slowListing(text)) << testing::PrintToString(text);
    }
    std::vector<std::string> kept = {"first"};
    js::split(",a,,b\r,", ',', kept);
    EXPECT_EQ(kept, (std::vector<std::string>{"first", "a", "b\r"}));
    EXPECT_EQ(js::parseLineListing("1\n2\n\n5\r\n\r\n"), (std::vector<int>{1, 2, 5, 0}));
    // Bytes at random, too: whatever a broken translator writes.
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % 24, '\0');
        for (char& c : text) c = static_cast<char>(random() % 3 ? random() % 64 : 1 + random() % 255);
        text = text.c_str();
        ASSERT_EQ(js::parseLineListing(text), slowListing(text)) << testing::PrintToString(text);
    }
}

TEST(FileLinesCache, MapsInsideItsTablesOnly) {
    js::FileLinesCache cache;
    std::vector<int> table = {5, 0, 8};
    cache.add("a", table);
    table[0] = 99;
    const std::pair<int, int> cases[] = {{0, 5},   {1, 0},           {2, 8},           {3, -1},
                                         {-1, -1}, {2147483647, -1}, {-2147483647, -1}};
    for (const auto& [lua, javaScript] : cases) {
        int line = lua;
        EXPECT_EQ(cache.getLine("a", line), javaScript >= 0);
        EXPECT_EQ(line, javaScript >= 0 ? javaScript : lua);
    }
    int line = 1;
    EXPECT_FALSE(cache.getLine("b", line));
    EXPECT_FALSE(cache.getLine(nullptr, line));
    EXPECT_EQ(line, 1);
    EXPECT_EQ(cache.getFileLines("a"), (std::vector<int>{5, 0, 8}));
    EXPECT_TRUE(cache.getFileLines("b").empty() && cache.getFileLines(nullptr).empty());
    std::vector<int> shorter = {7};
    cache.add("a", shorter);
    EXPECT_EQ(cache.getFileLines("a"), shorter);
    line = 2;
    EXPECT_FALSE(cache.getLine("a", line)) << "nothing of the longer table is left";
}

TEST_F(Rewriting, EntriesKeepEverythingButTheirLines) {
    EXPECT_EQ(rewritten({{4, 100, "a.jsl:12: attempt to call a nil value", "a.jsl", 12, 5},
                         {2, 24, "a.jsl:8: error\nstack traceback:\n\ta.jsl:5: in main chunk", "a.jsl", 40, 0},
                         {77, 3, "no marker 12:", "other.jsl", 5, 9}}),
              (std::vector<Fault>{{4, 100, "a.jsl:10: attempt to call a nil value", "a.jsl", 10, 5},
                                  {2, 24, "a.jsl:7: error\nstack traceback:\n\ta.jsl:3: in main chunk", "a.jsl", 40, 0},
                                  {77, 3, "no marker 12:", "other.jsl", 5, 9}}));
    EXPECT_EQ(message("b.jsl:8: in a.jsl:8"), "b.jsl:7: in a.jsl:7")
        << "the entry's own table, whatever the text names";
    EXPECT_EQ(message("a.jsl:40: x"), "a.jsl:40: x");
    EXPECT_EQ(message("a.jsl: oops"), "a.jsl:0 oops");
    EXPECT_EQ(message("a.jsl:0012:"), "a.jsl:10:");
    EXPECT_EQ(message("a.jsl:0040:"), "a.jsl:40:");
    EXPECT_EQ(message("a.jsl:"), "a.jsl:0");
    EXPECT_EQ(message("a.jsl:-3: a.jsl:99999999999999999999"), "a.jsl:-3: a.jsl:-1");
    EXPECT_EQ(message(""), "");

    // Without a file, the script's name is the marker, and the entry's own line means nothing.
    EXPECT_EQ(rewritten({{4, 100, "a.jsl:12: b.jsl:12: x", kNone, 12, 0}}),
              (std::vector<Fault>{{4, 100, "a.jsl:10: b.jsl:12: x", kNone, 12, 0}}));
    EXPECT_EQ(rewritten({{4, 100, "a.jsl:12:", kNone, 12, 0}}, "c.jsl")[0].message, "a.jsl:12:");
    Ref<IError> error;
    js::updateErrorLines(error.out(), nullptr, &mCache, "a.jsl");
    EXPECT_FALSE(error);
    IError** slot = error.out();
    ErrorFactory::throwError(slot, IError::StageScript, IError::CodeScriptFault, nullptr, "a.jsl", 5, 1);
    Ref<IError> result;
    js::updateErrorLines(result.out(), Ref<IError>(new HollowError).get(), &mCache, "a.jsl");
    EXPECT_FALSE(result);
    js::updateErrorLines(result.out(), error.get(), &mCache, "a.jsl");
    EXPECT_EQ(faults(result), (std::vector<Fault>{{4, 100, "", "a.jsl", 3, 1}})) << "no message reads as an empty one";
    js::updateErrorLines(slot, error.get(), &mCache, "a.jsl");
    EXPECT_EQ(faults(error).size(), 2u) << "into the error itself";
}

TEST_F(Rewriting, AnyMessageIsRewrittenAsSearchBySearch) {
    std::mt19937 random(99);
    // Names of digits make markers that can begin inside a number that was just put in.
    const std::vector<std::string> scripts = {"a.jsl", "1", "10", "7", "01", "0", "-1", "", "99:9", "x y"};
    for (const std::string& script : scripts) {
        std::vector<int> table = {101, 10, 7, 1, 0, 99, -1, 1010, 5, 17};
        mCache.add(script.c_str(), table);
    }
    std::vector<std::string> pieces = {".jsl:", ":",  " ", "\n", "1",  "10", "7",
                                       "0",     "99", "-", "x",  "\t", "12", "2147483648"};
    for (const std::string& script : scripts) pieces.push_back(script + ":");
    for (int round = 0; round < 60000; ++round) {
        const std::string script = scripts[random() % scripts.size()], text = randomText(random, pieces, 12);
        const bool hasFile = random() % 3 == 0;
        const auto seen = rewritten({{4, 100, text, hasFile ? script : kNone, 3, 0}}, script.c_str());
        ASSERT_EQ(seen.at(0).message, slowRewrite(text, hasFile ? ".jsl:" : script + ":", script, mCache))
            << testing::PrintToString(text) << " of " << script;
        ASSERT_EQ(seen[0].line, hasFile ? 1 : 3);
    }
}

namespace {

class HostDebugger final : public IDebugger {
public:
    Journal journal;
    IDebuggerCallback* callback = nullptr;
    int frameLine = 0;  // of the frame that it asks for, in Lua and then as it was told
    int answer = 5;

    bool is(_GUID id) const override { return answers<IDebugger, IObjectNoRef>(id); }
    bool to(_GUID id, void** object) const override { return answersTo<IDebugger, IObjectNoRef>(id, this, object); }
    void objectCreated(IObjectNoRef* object) override { journal.add("objectCreated", object); }
    int lineExecuting(IObjectNoRef* object, IDebuggerCallback* given, const char* file, int line) override {
        journal.add("lineExecuting", object, file, line);
        callback = given;
        callback->getCallStackFrame(2, somewhere<IString>(1), somewhere<IString>(2), somewhere<IString>(3), frameLine);
        return answer;
    }
};

class LuaCallback final : public IDebuggerCallback {
public:
    Journal journal;
    int frameLine = 0;

    bool is(_GUID id) const override { return answers<IDebuggerCallback, IObjectNoRef>(id); }
    bool to(_GUID id, void** object) const override {
        return answersTo<IDebuggerCallback, IObjectNoRef>(id, this, object);
    }
    bool calculateWatch(const char* expression, IString* value, IString* type, IError** error) override {
        journal.add("calculateWatch", expression, value, type);
        ErrorFactory::throwError(error, IError::StageScript, IError::CodeScriptFault, "a.jsl:12: watch", "a.jsl", 12);
        return false;
    }
    bool prepareCallStack(bool all) override { return journal.add("prepareCallStack", all), true; }
    unsigned long callStackDepth() override { return journal.add("callStackDepth"), 3; }
    bool getCallStackFrame(unsigned long index, IString* file, IString* function, IString* kind, int& line) override {
        journal.add("getCallStackFrame", index, file, function, kind);
        line = frameLine;
        return index < 3;
    }
    bool prepareVarList(bool globals) override { return journal.add("prepareVarList", globals), true; }
    unsigned long varCount() override { return journal.add("varCount"), 4; }
    const char* varName(unsigned long index) override { return journal.add("varName", index), "v"; }
};

}  // namespace

TEST_F(Rewriting, DebuggerSeesJavaScriptLinesAndNotTheSupportFile) {
    js::JSDebugger bridge(&mCache);
    LuaCallback lua;
    HostDebugger host;
    auto* const object = somewhere<IObjectNoRef>(8);
    bridge.objectCreated(object);
    EXPECT_EQ(bridge.lineExecuting(object, &lua, "@a.jsl", 5), 1) << "nobody is there";
    bridge.setDebugger(&host);
    bridge.objectCreated(object);
    EXPECT_EQ(host.journal.take(), std::vector{"objectCreated " + shown(object)});

    struct Case {
        const char* file;
        int lua, javaScript;
    };
    const Case cases[] = {{"@a.jsl", 12, 10}, {"@a.jsl", 0, 0}, {"@a.jsl", 13, 13}, {"@a.jsl", -2, -2},
                          {"=a.jsl", 5, 3},   {"a.jsl", 5, 5},  {"@b.jsl", 5, 5},   {"", 5, 5},
                          {nullptr, 5, 5},    {"@", 5, 5}};
    for (const Case& c : cases) {
        lua.frameLine = c.lua;
        EXPECT_EQ(bridge.lineExecuting(object, &lua, c.file, c.lua), 5);
        EXPECT_EQ(host.journal.take(),
                  std::vector{"lineExecuting " + shown(object) + ' ' + shown(c.file) + ' ' + shown(c.javaScript)});
        EXPECT_EQ(host.frameLine, c.javaScript) << "frames go through the table of the event's file";
        EXPECT_EQ(lua.journal.take(), std::vector<std::string>{"getCallStackFrame 2 0x10 0x20 0x30"});
    }
    for (const char* file : {"@jsMigration.lua", "@/lib/error.jsMigration.lua.bak", "jsMigration.lua"})
        EXPECT_EQ(bridge.lineExecuting(object, &lua, file, 5), 1);
    EXPECT_TRUE(host.journal.take().empty());
}

TEST_F(Rewriting, DebuggerMayComeAndGoWhileEventsAreReported) {
    js::JSDebugger bridge(&mCache);
    LuaCallback lua;
    HostDebugger host;
    host.journal.recording = lua.journal.recording = false;
    std::atomic<bool> done{false};
    std::thread switching([&] {
        while (!done) bridge.setDebugger(nullptr), bridge.setDebugger(&host);
    });
    int others = 0;
    for (int i = 0; i < 100000; ++i) {
        bridge.objectCreated(nullptr);
        const int answer = bridge.lineExecuting(nullptr, &lua, "@a.jsl", 5);
        others += answer != 1 && answer != host.answer;
    }
    done = true;
    switching.join();
    EXPECT_EQ(others, 0);
}

TEST_F(Rewriting, DebuggerCallbackPassesEveryQuestionOn) {
    LuaCallback lua;
    js::JSDebuggerCallback callback(&mCache, &lua);
    std::vector<int> table = kTable;
    callback.setLines(table);
    Ref<IError> error;
    EXPECT_FALSE(callback.calculateWatch("x + 1", somewhere<IString>(1), somewhere<IString>(2), error.out()));
    EXPECT_EQ(faults(error), (std::vector<Fault>{{4, 100, "a.jsl:12: watch", "a.jsl", 12, 0}})) << "as it came";
    EXPECT_TRUE(callback.prepareCallStack(true));
    EXPECT_EQ(callback.callStackDepth(), 3u);
    EXPECT_TRUE(callback.prepareVarList(false));
    EXPECT_EQ(callback.varCount(), 4u);
    EXPECT_STREQ(callback.varName(6), "v");
    EXPECT_EQ(lua.journal.take(),
              (std::vector<std::string>{"calculateWatch x + 1 0x10 0x20", "prepareCallStack 1", "callStackDepth",
                                        "prepareVarList 0", "varCount", "varName 6"}));
    lua.frameLine = 8;
    int line = 0;
    EXPECT_TRUE(callback.getCallStackFrame(0, nullptr, nullptr, nullptr, line));
    EXPECT_EQ(line, 7);
    EXPECT_FALSE(callback.getCallStackFrame(3, nullptr, nullptr, nullptr, line));
    EXPECT_EQ(line, 7) << "whatever the answer";
}

}  // namespace vexil3::test
