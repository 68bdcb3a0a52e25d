#include "tests/lua/Fixture.h"

namespace vexil3::test {

using Sandbox = LuaTest;

TEST_F(Sandbox, NothingLeadsOut) {
    Macro run;
    ASSERT_TRUE(start(run, R"(function macro() end
function execute(instance)
  for _, name in ipairs { "os", "io", "ffi", "package", "debug", "jit", "load", "loadstring", "loadfile", "dofile",
      "collectgarbage", "getfenv", "setfenv", "newproxy", "module", "print" } do
    if _G[name] ~= nil then log(name .. " is there") end
  end
  if string.dump or ("").dump then log("string.dump is there") end
  for _, name in ipairs { "ffi", "os", "io", "debug", "jit", "jit.util", "../lua", "/etc/passwd", "..", ".", "",
      "a/b.lua", "x\0.lua" } do
    if pcall(require, name) then log(name .. " can be required") end
  end
  for _, object in ipairs { instance, instance.parameters } do
    for _, value in pairs(object) do
      if type(value) == "userdata" then log("userdata is in sight") end
    end
  end
end)"));
    Prices prices(3);
    run.callback.host.prices = &prices;
    ASSERT_TRUE(run->init(&run.callback, run.error.out()));
    ASSERT_TRUE(run->execute(run.error.out())) << run.fault().message;
    EXPECT_EQ(run.callback.host.lines, std::vector<std::string>());
}

TEST_F(Sandbox, BytecodeIsNoScript) {
    Macro run;
    EXPECT_FALSE(load(run, std::string("\x1BLJ\x02\x00\x00", 6)));
    EXPECT_EQ(run.fault().stage, IError::StageTranslation);
}

TEST_F(Sandbox, HostObjectsCannotBeTakenApart) {
    const char* const bodies[] = {
        "getmetatable(i.prices).__index = nil",
        "setmetatable(i.prices, {})",
        "setmetatable(i.prices.close, {})",
        "i.prices.close[3] = 4",
    };
    for (const char* body : bodies) {
        Macro run;
        Prices prices(3);
        run.callback.host.prices = &prices;
        ASSERT_TRUE(start(run, "function macro() end\nfunction execute(i) " + std::string(body) + " end"));
        EXPECT_FALSE(run->execute(run.error.out())) << body;
        EXPECT_EQ(run.fault().line, 2);
    }
}

TEST_F(Sandbox, MethodsSurviveWrongArguments) {
    Indicator run;
    run.callback.source = Prices(3);
    ASSERT_TRUE(start(run, R"(function indicator(profile)
  local methods = {}
  for _, object in ipairs { profile, profile.parameters } do
    for _, value in pairs(object) do if type(value) == "function" then methods[#methods + 1] = value end end
  end
  local values = { 0, -1, 1e300, 0/0, "", "x", {}, true, print, profile }
  local fails = 0
  for _, method in ipairs(methods) do
    for _, a in ipairs(values) do
      for _, b in ipairs(values) do
        for _, c in ipairs { values, {}, 1, "x" } do
          if not pcall(method, a, b, c) then fails = fails + 1 end
          if not pcall(method, profile, a, b, c, a, b) then fails = fails + 1 end
        end
      end
    end
  end
  log(fails > 1000)
end
function update(i)
  for _, f in ipairs { i.addStream, i.source.size, i.source.close.size } do
    for _, a in ipairs { i, {}, 0, "x", true } do pcall(f, a) pcall(f, a, {}) pcall(f, i, a, a) pcall(f) end
  end
end)"));
    EXPECT_EQ(run.profileCallback.host.lines, std::vector<std::string>{"true"});
    EXPECT_TRUE(run->update(0, IIndicatorInstanceImplementation::AddBar, run.error.out())) << run.fault().message;
}

}  // namespace vexil3::test
