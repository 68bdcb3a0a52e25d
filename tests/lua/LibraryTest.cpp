#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/lua/Fixture.h"

namespace vexil3::test {

// Loads a copy of the module, which finds its libraries beside itself.
class Library : public LuaTest {
protected:
    Library() {
        std::string name = (std::filesystem::temp_directory_path() / "vexil-lua-XXXXXX").string();
        folder = mkdtemp(name.data());
        std::filesystem::create_directories(folder / "lib");
        std::filesystem::create_directories(folder / "share/vexil/lua");
        std::filesystem::copy_file(VEXIL_LUA_MODULE, folder / "lib/libvexil.lua.so");
        write("tool.lua", R"(local platform = ...
local lib = { platform = platform }
function lib.fail() error("wrong use") end
function lib.call(f) local r = f() return r end
function lib.frames() return platform.frames() end
function lib.describe() platform.onError(function(value)
  if type(value) == "table" then return "Boxed: " .. tostring(value.text), value.frames end
  if value == nil then error("no description") end
  return "Plain: " .. tostring(value)
end) end
return lib)");
        write("secret.txt", "return 'text'");
        write("loop.lua", "return require('loop.lua')");
        write("broken.lua", "return = 1");
        std::ofstream(folder / "share/vexil/out.lua") << "return 'out'";
        void* const module = dlopen((folder / "lib/libvexil.lua.so").c_str(), RTLD_NOW);
        language->release();
        language = reinterpret_cast<ILanguage* (*)()>(dlsym(module, "createLanguage"))();
    }
    ~Library() override { std::filesystem::remove_all(folder); }

    void write(const char* name, const char* text) { std::ofstream(folder / "share/vexil/lua" / name) << text; }

    // Runs `body` as the macro's execute, on line 3.
    bool execute(Macro& run, const std::string& body) {
        return start(run,
                     "local lib = require('tool.lua')\nfunction macro() end\nfunction execute() " + body + " end") &&
               run->execute(run.error.out());
    }

    std::filesystem::path folder;
};

TEST_F(Library, FaultsInItAreTheCallers) {
    Macro plain, nested;
    const std::string at = std::string(kFile) + ":";
    EXPECT_FALSE(execute(plain, "lib.fail()"));
    EXPECT_EQ(plain.fault().message, at + "3: wrong use\nstack traceback:\n\t" + at + "3: in function 'execute'");
    EXPECT_FALSE(execute(nested, "\nlib.call(function()\n local x = nil + 1 end) log(1)"));
    EXPECT_EQ(nested.fault().message, at + "5: attempt to perform arithmetic on a nil value\nstack traceback:\n\t" +
                                          at + "5: in function <anonymous>\n\t" + at + "4: in function 'execute'");
}

TEST_F(Library, DescribesErrors) {
    const std::tuple<const char*, const char*, int> cases[] = {
        {"lib.describe() error('x', 0)", "Plain: x", 3},
        {"lib.describe()\n local x = nil + 1", "Plain: some folder/script.lua:4: attempt", 4},
        {"lib.describe()\n error({text = 't'})", "Boxed: t", 4},
        {"lib.describe()\n error({text = 't', frames = {{line = 9, name = 'made'}}})",
         "Boxed: t\nstack traceback:\n\tsome folder/script.lua:9: in function 'made'", 9},
        {"lib.describe()\n error({text = 't', frames = {1, {}, {line = 'x'}}})", "Boxed: t", 4},
        {"lib.describe()\n error()", "nil", 4},
        {"lib.describe()\n local function f() return 1 + f() end f()", "Plain: stack overflow", 4},
    };
    for (const auto& [body, text, line] : cases) {
        Macro run;
        EXPECT_FALSE(execute(run, body));
        EXPECT_EQ(run.fault().line, line) << body;
        const std::string start = std::string(kFile) + ":" + std::to_string(line) + ": " + text;
        EXPECT_EQ(run.fault().message.substr(0, start.size()), start) << body;
    }
}

// No string is that long, which Lua raises without calling a handler.
TEST_F(Library, FramesThatAScriptAskedForStandInNoFault) {
    std::size_t bytes = 16 << 20;
    ASSERT_TRUE(language->setOption(ILanguage::MemoryLimit, &bytes, nullptr));
    Macro run;
    EXPECT_FALSE(execute(run, "\n local function ask() lib.frames() end ask()\n local s = ('xx'):rep(2e9)"));
    const std::string at = std::string(kFile) + ":";
    EXPECT_EQ(run.fault().message,
              at + "3: not enough memory\nstack traceback:\n\t" + at + "3: in function 'execute'");
}

TEST_F(Library, PlatformTellsAboutTheScript) {
    Macro run;
    ASSERT_TRUE(execute(run, R"(
  local platform = lib.platform
  local function show(frames)
    log(platform.file, (frames:gsub("%z", ";")))
  end
  local function inner() local frames = lib.frames() show(frames) end
  lib.call(function() inner() end)
  log(platform.functionInfo(inner)) log(platform.functionInfo(log)) log(platform.functionInfo(lib.fail))
  log(platform.now() > 1.6e12)
  platform.setmetatable(nil, {__index = function(_, k) return "nil." .. k end})
  local nothing
  log(nothing.field)
  platform.setmetatable(nil, {})
  log(pcall(platform.setmetatable, ("x"), nil))
  local t = setmetatable({}, {__metatable = false})
  log(pcall(platform.setmetatable, t, {})))"))
        << run.fault().message;
    EXPECT_EQ(run.callback.host.lines,
              (std::vector<std::string>{"some folder/script.lua 8 8 inner;9 9 ;9 3 execute;", "8 0", "", "", "true",
                                        "nil.field", "false bad argument #2 to '?' (table expected, got nil)",
                                        "false cannot change a protected metatable"}));
}

TEST_F(Library, OnlyTheFolderItselfIsSearched) {
    Macro run;
    ASSERT_TRUE(execute(run, R"(
  for _, name in ipairs { "../out.lua", "out.lua", "./tool.lua", "absent.lua", "broken.lua", "" } do
    log(name, (pcall(require, name)))
  end
  log(require("secret.txt"), require("loop.lua"), require("tool.lua") == lib, require("tool.lua") == require("tool.lua")))"))
        << run.fault().message;
    EXPECT_EQ(run.callback.host.lines,
              (std::vector<std::string>{"../out.lua false", "out.lua false", "./tool.lua false", "absent.lua false",
                                        "broken.lua false", " false", "text true true true"}));
    // A second state uses what the first compiled.
    Macro second;
    EXPECT_FALSE(execute(second, "lib.fail()"));
    EXPECT_EQ(second.fault().line, 3);
}

TEST_F(Library, DebuggersSeeItsLines) {
    Debugger debugger;
    language->setDebugger(&debugger);
    Macro run;
    ASSERT_TRUE(execute(run, "lib.call(function() end)"));
    debugger.lines.clear();
    ASSERT_TRUE(run->execute(run.error.out()));
    EXPECT_GE(std::count(debugger.lines.begin(), debugger.lines.end(), "@tool.lua:4"), 1);
    language->setDebugger(nullptr);
}

}  // namespace vexil3::test
