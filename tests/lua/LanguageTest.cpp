#include "tests/lua/Fixture.h"

namespace vexil3::test {

using Languages = LuaTest;

TEST_F(Languages, RecognizesTheFourKinds) {
    const std::pair<const char*, ILanguageService::ObjectType> cases[] = {
        {"function indicator() end", ILanguageService::Indicator},
        {"strategy = function() end", ILanguageService::Strategy},
        {"_G['tool'] = function() end", ILanguageService::Tool},
        {"#!/usr/bin/lua\nfunction macro() end", ILanguageService::Macro},
        {"", ILanguageService::Unknown},
        {"indicator = 'Indicator'", ILanguageService::Unknown},
        {"local function indicator() end", ILanguageService::Unknown},
    };
    for (const auto& [text, expected] : cases) {
        accessor->files[kFile] = text;
        ILanguageService::ObjectType type = ILanguageService::Macro;
        Ref<IError> error;
        EXPECT_EQ(language->recognizeFile(accessor.get(), kFile, type, error.out()),
                  expected != ILanguageService::Unknown)
            << text;
        EXPECT_EQ(type, expected) << text;
        EXPECT_FALSE(error) << text;
    }
    ILanguageService::ObjectType type{};
    Ref<IError> error;
    accessor->files[kFile] = "function tool() end function macro() end";
    EXPECT_FALSE(language->recognizeFile(accessor.get(), kFile, type, error.out()));
    EXPECT_EQ(faultOf(error).message, "The script declares both tool and macro; it can be only one");
}

TEST_F(Languages, ChecksSyntaxWithoutRunning) {
    Ref<IError> error;
    EXPECT_TRUE(language->checkSyntax(nullptr, accessor.get(), kFile, "error('not run')", error.out()));
    EXPECT_TRUE(language->checkSyntax(nullptr, accessor.get(), kFile, "", error.out()));
    EXPECT_FALSE(error);
    EXPECT_FALSE(language->checkSyntax(nullptr, accessor.get(), kFile, "\n\nx = = 1", error.out()));
    EXPECT_EQ(std::make_tuple(faultOf(error).line, faultOf(error).stage, faultOf(error).code),
              std::make_tuple(3, 3, 23));
    accessor->files[kFile] = "\nlocal";
    EXPECT_FALSE(language->checkSyntax(nullptr, accessor.get(), kFile, nullptr, error.out()));
    EXPECT_EQ(faultOf(error).line, 2);
}

TEST_F(Languages, DeclarationsReachTheHost) {
    Indicator indicator;
    ASSERT_TRUE(load(indicator, R"(function indicator(p)
      p:setID("ID") p:setName("Name") p:setDescription("Text") p:setRequiredSource("Bar") p:setIndicatorType("oscillator")
      p.parameters:addDouble("d", "D", 2, 1, 3) p.parameters:addBoolean("b", "B", true)
      p.parameters:addString("s", "S", "v") p.parameters:addInteger("i", "I", 5, 0, 9) end)"));
    EXPECT_EQ(indicator.profileCallback.calls,
              (std::vector<std::string>{"setID ID", "setName Name", "setDescription Text", "setRequiredSource 1",
                                        "setIndicatorType 1", "double d D 2 1 3", "boolean b B 1", "string s S v",
                                        "integer i I 5 0 9"}));
    Strategy strategy;
    ASSERT_TRUE(load(strategy, "function strategy(p) p:setStrategyType('trading') end"));
    EXPECT_EQ(strategy.profileCallback.calls, std::vector<std::string>{"setStrategyType 1"});
    Tool tool;
    ASSERT_TRUE(load(tool, "function tool(p) p:setPointCount(2) p:setIcon('i.png') end"));
    EXPECT_EQ(tool.profileCallback.calls, (std::vector<std::string>{"setPointCount 2", "setIcon i.png"}));
    Macro macro;
    ASSERT_TRUE(load(macro, "function macro(p) p:setTooltip('tip') p:setIcon('i.png') end"));
    EXPECT_EQ(macro.profileCallback.calls, (std::vector<std::string>{"setTooltip tip", "setIcon i.png"}));

    Indicator refused;
    refused.profileCallback.factory.accepts = false;
    EXPECT_FALSE(load(refused, "function indicator(p)\n p.parameters:addInteger('N', 'Periods', 1, 2, 3) end"));
    EXPECT_EQ(refused.fault().line, 2);
    Indicator wrong;
    EXPECT_FALSE(load(wrong, "function indicator(p)\n\n p:setRequiredSource('file') end"));
    EXPECT_NE(wrong.fault().message.find("'file' is no choice here; 'tick' and 'bar' are"), std::string::npos);
}

TEST_F(Languages, IdentifyTheirObjects) {
    Macro run;
    ASSERT_TRUE(start(run, "function macro() end"));
    void* object = nullptr;
    EXPECT_TRUE(run.instance->to(IExecutable::ID, &object));
    EXPECT_EQ(object, run.instance.get());
    EXPECT_TRUE(run.profile->is(IMacroProfileImplementation::ID) && language->is(ILanguage::ID));
    EXPECT_FALSE(run.profile->to(IProfileLocalization::ID, &object));
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(run.profile->getLanguage(), ILanguageService::Lua);
}

}  // namespace vexil3::test
