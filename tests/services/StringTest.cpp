#include "tests/services/Support.h"

namespace vexil3::test {
namespace {

// The definition, in as many steps as it takes.
bool slowLike(const std::string& pattern, const std::string& name) {
    if (pattern.empty()) return name.empty();
    if (pattern[0] == '*')
        return slowLike(pattern.substr(1), name) || (!name.empty() && slowLike(pattern, name.substr(1)));
    return !name.empty() && (pattern[0] == '?' || std::tolower(pattern[0]) == std::tolower(name[0])) &&
           slowLike(pattern.substr(1), name.substr(1));
}

std::vector<std::string> allTexts(const std::string& alphabet, int longest) {
    std::vector<std::string> all{""};
    for (std::size_t first = 0; longest > 0; --longest) {
        const std::size_t end = all.size();
        for (; first < end; ++first)
            for (const char c : alphabet) all.push_back(all[first] + c);
    }
    return all;
}

TEST(Like, AgreesWithItsDefinitionOnAllShortTexts) {
    const std::vector<std::string> names = allTexts("aB.", 4);
    for (const std::string& pattern : allTexts("*?aB.", 4))
        for (const std::string& name : names)
            ASSERT_EQ(StringUtil::like(pattern.c_str(), name.c_str()), slowLike(pattern, name))
                << pattern << " " << name;
}

TEST(Like, EndsSoonOnManyStars) {
    std::string pattern;
    for (int i = 0; i < 200; ++i) pattern += "a*";
    EXPECT_FALSE(StringUtil::like((pattern + "b").c_str(), std::string(20000, 'a').c_str()));
}

TEST(Like, NullMatchesNothing) {
    EXPECT_FALSE(StringUtil::like(nullptr, "a"));
    EXPECT_FALSE(StringUtil::like("*", nullptr));
}

TEST(Strings, HoldWhatWasAssignedLast) {
    const std::unique_ptr<IString> text(IString::create());
    EXPECT_STREQ(text->text(), "");
    text->assign("a value that is too long to be kept without memory");
    EXPECT_STREQ(text->text(), "a value that is too long to be kept without memory");
    text->assign(nullptr);
    EXPECT_STREQ(text->text(), "");
}

TEST(Strings, LanguagesHaveModules) {
    EXPECT_STREQ(EnumNames::languageFilename(ILanguageService::Lua), "libvexil.lua.so");
    EXPECT_STREQ(EnumNames::languageFilename(ILanguageService::JavaScript), "libvexil.js.so");
    EXPECT_EQ(EnumNames::languageFilename(static_cast<ILanguageService::Language>(2)), nullptr);
}

}  // namespace
}  // namespace vexil3::test
