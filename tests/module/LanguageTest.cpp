// The language as the host sees it, in front of a Lua language that is a double.
#include <gtest/gtest.h>

#include <cstdlib>

#include <vexil3/file_system_accessor.h>

#include "doubles/LuaLanguage.h"
#include "doubles/MemoryFiles.h"
#include "doubles/Translator.h"
#include "language/JsLanguage.h"
#include "module/Kinds.h"

namespace vexil3::test {

namespace {

const char kLua[] = "local x = 1\nprint(x)\n";
const char kScript[] = "s.jsl";

class Language : public testing::Test {
protected:
    Language() {
        MemoryDiagnostic::reset();
        MemoryDiagnostic::gEnabled = 1;
        mFiles = Ref<MemoryAccessor>(new MemoryAccessor);
        mFiles->files = {{kScript, "let x;"}, {"plain.lua", "plain"}};
        mPlace.translatesTo(kLua, "0\n11\n12\n13\n");
        mLua = new LuaLanguage;
        mLua->released = &mReleased;
        mLanguage = new js::JsLanguage(mLua);
    }
    ~Language() override {
        mLanguage->release();
        EXPECT_EQ(mReleased, 1);
        mFiles = {};
        mError = {};
        EXPECT_EQ(MemoryDiagnostic::registered(), MemoryDiagnostic::released());
        MemoryDiagnostic::gEnabled = 0;
        EXPECT_TRUE(mPlace.tidy());
    }

    Workplace mPlace;
    Ref<MemoryAccessor> mFiles;
    Ref<IError> mError;
    LuaLanguage* mLua;
    js::JsLanguage* mLanguage;
    int mReleased = 0;
    ILoadMetadata* const mMetadata = somewhere<ILoadMetadata>(40);
};

// An error in the script's Lua line 2, under the id of the file that was opened.
const Raised kRaised = {"line 2", "id of s.jsl", 2};

template <class Interface>
using Creator = Interface* (ILanguage::*)(IFileAccessor*, const char*, ILoadMetadata*, IError**);

template <class Kind>
void expectProfile(Creator<typename Kind::Interface> create, const char* name, ILanguage* language, LuaLanguage* lua,
                   IFileAccessor* files, ILoadMetadata* metadata) {
    Ref<IError> error;
    lua->profilesRaise = {"id of s.jsl:3: x.jsl:3: declared badly", "id of s.jsl", 1};
    {
        const Ref<typename Kind::Interface> profile((language->*create)(files, kScript, metadata, error.out()));
        ASSERT_TRUE(profile) << name << testing::PrintToString(faults(error));
        EXPECT_FALSE(error);
        EXPECT_TRUE(profile->is(Kind::Adapter::ID)) << name;
        EXPECT_EQ(lua->journal.take(),
                  std::vector{std::string(name) + ' ' + kLua + ' ' + kScript + ' ' + shown(metadata)});
        typename Kind::Host host;
        host.objectID = "id of s.jsl";
        profile->init(&host, error.out());
        EXPECT_EQ(faults(error),
                  (std::vector<Fault>{{4, 100, "id of s.jsl:13: x.jsl:13: declared badly", "id of s.jsl", 11, 7}}))
            << "by the table that creating it has recorded";
    }
    {
        const Ref<typename Kind::Interface> plain((language->*create)(files, "plain.lua", nullptr, error.out()));
        EXPECT_TRUE(plain && !error) << name;
        EXPECT_EQ(lua->journal.take(), std::vector{std::string(name) + " plain plain.lua 0"});
    }
    lua->raised = kRaised;
    EXPECT_EQ((language->*create)(files, kScript, metadata, error.out()), nullptr);
    EXPECT_EQ(faults(error), (std::vector<Fault>{{4, 100, "line 2", "id of s.jsl", 12, 0}})) << name;
    lua->raised = {};
    lua->journal.take();
    EXPECT_EQ((language->*create)(files, "none.jsl", metadata, error.out()), nullptr);
    EXPECT_EQ(faults(error), (std::vector<Fault>{{2, 24, "no such file"}}));
    EXPECT_EQ((language->*create)(nullptr, kScript, metadata, error.out()), nullptr);
    EXPECT_EQ((language->*create)(files, nullptr, metadata, error.out()), nullptr);
    EXPECT_EQ(faults(error), (std::vector<Fault>{{1, 5, "Object is NULL"}}));
    EXPECT_TRUE(lua->journal.take().empty()) << "the Lua language is not asked";
}

}  // namespace

TEST_F(Language, ProfilesOfEveryKindAreMadeFromTheTranslation) {
    const auto check = [&]<class Kind>(Kind, Creator<typename Kind::Interface> create, const char* name) {
        expectProfile<Kind>(create, name, mLanguage, mLua, mFiles.get(), mMetadata);
    };
    check(IndicatorKind(), &ILanguage::createIndicatorProfile, "createIndicatorProfile");
    check(StrategyKind(), &ILanguage::createStrategyProfile, "createStrategyProfile");
    check(ToolKind(), &ILanguage::createToolProfile, "createToolProfile");
    check(MacroKind(), &ILanguage::createMacroProfile, "createMacroProfile");
    EXPECT_EQ(mPlace.runs(), 1);
}

TEST_F(Language, TranslationFailuresAreTheHostsErrorsAndNewTablesReplaceOldOnes) {
    mLua->raised = kRaised;
    EXPECT_EQ(mLanguage->createMacroProfile(mFiles.get(), kScript, nullptr, mError.out()), nullptr);
    EXPECT_EQ(faults(mError)[0].line, 12);
    mFiles->files[kScript] = "let y;";
    mPlace.translatesTo(kLua, "0\n21\n22\n");
    mLanguage->createMacroProfile(mFiles.get(), kScript, nullptr, mError.out());
    EXPECT_EQ(faults(mError)[0].line, 22);
    mLua->journal.take();

    mFiles->files[kScript] = "let z;";
    mPlace.misbehaves("echo 'source(3,1): bad' >\"$6\"; exit 1");
    EXPECT_EQ(mLanguage->createMacroProfile(mFiles.get(), kScript, nullptr, mError.out()), nullptr);
    EXPECT_EQ(faults(mError), (std::vector<Fault>{{3, 23, "bad", kScript, 3}}));
    EXPECT_FALSE(mLanguage->checkSyntax(nullptr, mFiles.get(), kScript, "", mError.out()));
    EXPECT_EQ(faults(mError), (std::vector<Fault>{{3, 23, "bad", kScript, 3}}));
    EXPECT_TRUE(mLua->journal.take().empty());
}

TEST_F(Language, SyntaxIsCheckedOnTheTranslation) {
    auto* const permissions = somewhere<IPermissions>(41);
    const std::string asked = "checkSyntax " + shown(permissions) + ' ';
    EXPECT_TRUE(mLanguage->checkSyntax(permissions, mFiles.get(), kScript, "not looked at", mError.out()));
    EXPECT_EQ(mLua->journal.take(), std::vector{asked + kLua + ' ' + kScript + ' ' + kLua});
    mFiles->files["empty.jsl"] = "nothing";
    mPlace.translatesTo("", "");
    EXPECT_TRUE(mLanguage->checkSyntax(permissions, mFiles.get(), "empty.jsl", nullptr, mError.out()));
    EXPECT_EQ(mLua->journal.take(), std::vector{asked + " empty.jsl "});
    EXPECT_FALSE(mError);

    mLanguage->updateCache(mFiles.get(), kScript, nullptr);
    mLua->raised = kRaised;
    EXPECT_FALSE(mLanguage->checkSyntax(permissions, mFiles.get(), kScript, nullptr, mError.out()));
    EXPECT_EQ(faults(mError), (std::vector<Fault>{{4, 100, "line 2", "id of s.jsl", 12, 0}}));
    mLua->answersAnyway = true;
    EXPECT_TRUE(mLanguage->checkSyntax(permissions, mFiles.get(), kScript, nullptr, mError.out()));
    EXPECT_EQ(faults(mError), (std::vector<Fault>{{4, 100, "line 2", "id of s.jsl", 12, 0}}));
    EXPECT_TRUE(Ref(mLanguage->createToolProfile(mFiles.get(), kScript, nullptr, mError.out())));
    EXPECT_FALSE(mError) << "a profile in spite of errors is a profile";
    mLua->journal.take();
    for (int step = 0; step < 3; ++step) {
        mFiles->callsUntilFailure = step;
        EXPECT_FALSE(mLanguage->checkSyntax(permissions, mFiles.get(), "plain.lua", nullptr, mError.out()));
        EXPECT_EQ(faults(mError), (std::vector<Fault>{{2, 9, "broken"}})) << step;
    }
    mFiles->claimedSize = INT64_MAX;
    EXPECT_FALSE(mLanguage->checkSyntax(permissions, mFiles.get(), "plain.lua", nullptr, mError.out()));
    EXPECT_EQ(faults(mError), (std::vector<Fault>{{2, 23, "The file is too large", "plain.lua", 0}}));
    EXPECT_TRUE(mLua->journal.take().empty());
}

TEST_F(Language, OtherRequestsAreForwardedOrRefused) {
    ILanguageService::ObjectType type = ILanguageService::Unknown;
    EXPECT_TRUE(mLanguage->recognizeFile(mFiles.get(), kScript, type, mError.out()));
    EXPECT_EQ(type, ILanguageService::Tool);
    EXPECT_EQ(mLua->journal.take(), std::vector{std::string("recognizeFile ") + kLua + ' ' + kScript});
    mLua->raised = kRaised;
    EXPECT_FALSE(mLanguage->recognizeFile(mFiles.get(), kScript, type, mError.out()));
    EXPECT_EQ(faults(mError), (std::vector<Fault>{{4, 100, "line 2", "id of s.jsl", 2, 7}})) << "as it came";
    mLua->journal.take();
    mLua->raised = {};

    EXPECT_TRUE(mLanguage->setOption(ILanguage::MemoryLimit, nullptr, mError.out()));
    EXPECT_FALSE(mLanguage->canCompile(nullptr));
    EXPECT_FALSE(mLanguage->compile(nullptr, nullptr, nullptr, mError.out()));
    EXPECT_FALSE(mError);
    EXPECT_TRUE(mLua->journal.take().empty());

    for (IDebugger* const debugger : {somewhere<IDebugger>(42), static_cast<IDebugger*>(nullptr)}) {
        EXPECT_TRUE(mLanguage->setDebugger(debugger));
        ASSERT_NE(mLua->debugger, nullptr);
        EXPECT_TRUE(mLua->debugger->is(js::JSDebugger::ID)) << "the bridge, not the host's";
        mLua->debugger = nullptr;
    }
}

TEST_F(Language, ConvertedErrorsMapScriptsOnlyAndLoseTheirColumn) {
    ASSERT_TRUE(mLanguage->updateCache(mFiles.get(), kScript, mError.out()));
    ASSERT_TRUE(mLanguage->updateCache(mFiles.get(), "plain.lua", mError.out()));
    mFiles->files["t.jsl"] = "let y;";
    mFiles->ids["t.jsl"] = "no script's name";
    ASSERT_TRUE(mLanguage->updateCache(mFiles.get(), "t.jsl", mError.out()));
    const Ref<IError> hollow(new HollowError);
    const Ref<IError> source = makeError({{4, 100, "s.jsl:2: text stays", "id of s.jsl", 2, 7},
                                          {2, 9, "x", "ID OF S.JSL", 2, 7},
                                          {3, 8, "y", "id of s.jsl", 40, 7},
                                          {7, 6, "z", "id of plain.lua", 1, 7},
                                          {7, 6, "t", "no script's name", 1, 7},
                                          {7, 6, "w", kNone, 1, 7}});
    mLanguage->convertError(mError.out(), source.get());
    EXPECT_EQ(faults(mError), (std::vector<Fault>{{4, 100, "s.jsl:2: text stays", "id of s.jsl", 12, 0},
                                                  {2, 9, "x", "ID OF S.JSL", 2, 0},
                                                  {3, 8, "y", "id of s.jsl", 40, 0},
                                                  {7, 6, "z", "id of plain.lua", 1, 0},
                                                  {7, 6, "t", "no script's name", 1, 0},
                                                  {7, 6, "w", kNone, 1, 0}}));
    for (IError* const nothing : {static_cast<IError*>(nullptr), hollow.get()}) {
        mLanguage->convertError(mError.out(), nothing);
        EXPECT_FALSE(mError);
    }
}

TEST_F(Language, WithoutALuaLanguageEverythingSaysSo) {
    std::srand(7);
    const int drawn = std::rand();
    std::srand(7);
    js::JsLanguage* const alone = new js::JsLanguage(nullptr);
    EXPECT_NE(std::rand(), drawn) << "names are drawn from the time";
    const std::vector<Fault> expected = {{1000, 10000, "LUA not set"}};
    ILanguageService::ObjectType type;
    const auto said = [&](bool result) {
        EXPECT_FALSE(result);
        EXPECT_EQ(faults(mError), expected);
        mError = {};
    };
    said(alone->checkSyntax(nullptr, mFiles.get(), kScript, "", mError.out()));
    said(alone->recognizeFile(mFiles.get(), kScript, type, mError.out()));
    said(alone->createIndicatorProfile(mFiles.get(), kScript, nullptr, mError.out()));
    said(alone->createStrategyProfile(mFiles.get(), kScript, nullptr, mError.out()));
    said(alone->createToolProfile(mFiles.get(), kScript, nullptr, mError.out()));
    said(alone->createMacroProfile(mFiles.get(), kScript, nullptr, mError.out()));
    EXPECT_FALSE(alone->setDebugger(nullptr));
    alone->release();
    EXPECT_TRUE(mFiles->journal.take().empty());
}

}  // namespace vexil3::test
