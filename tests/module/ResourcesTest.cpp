#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <stdexcept>
#include <thread>

#include <vexil3/identify.h>
#include <vexil3/localization.h>

#include "language/Resources.h"

namespace vexil3::test {

namespace {

class Texts : public ILocalizationSource {
public:
    std::map<int, std::string> texts;
    std::vector<int> asked;

    bool is(_GUID id) const override { return answers<ILocalizationSource, IObjectNoRef>(id); }
    bool to(_GUID id, void** object) const override {
        return answersTo<ILocalizationSource, IObjectNoRef>(id, this, object);
    }
    bool getString(int messageID, char* buffer, int size) override {
        asked.push_back(messageID);
        EXPECT_EQ(buffer, Resources::gLoadBuffer);
        EXPECT_EQ(size, 32768);
        const auto found = texts.find(messageID);
        if (found == texts.end()) {
            std::memset(buffer, '#', static_cast<std::size_t>(size));
            return false;
        }
        std::strncpy(buffer, found->second.c_str(), static_cast<std::size_t>(size));
        return true;
    }
};

struct Message {
    int id;
    const char* (*accessor)();
    const char* text;
};

const Message kMessages[] = {
    {51501, Resources::getErrorIndexOutOfBounds, "Index is out of bounds."},
    {51502, Resources::getErrorOperationNotSupported, "Operation is not supported."},
    {51503, Resources::getErrorNULL, "Object is NULL"},
    {51504, Resources::getErrorUTF8, "Not UTF-8 symbol"},
    {51505, [] { return Resources::getErrorCantOpen("a.jsl"); }, "Cannot open the file a.jsl."},
    {51506, Resources::getErrorCantRead, "Cannot read the file."},
    {51507, Resources::getErrorOpenPipe, "Can't open pipe"},
    {51508, Resources::getErrorProcessTerminated, "Process Terminated"},
    {51509, Resources::getErrorIsBusy, "Is busy"},
    {51510, Resources::getErrorLUA, "LUA not set"},
    {51511, Resources::getErrorEmptyFile, "File is empty"},
    {51512, Resources::getErrorClasspath, "Environment variable CLASSPATH not set"}};

class ResourcesTest : public testing::Test {
protected:
    ResourcesTest() { Resources::deinit(); }
    ~ResourcesTest() override { Resources::deinit(); }
};

}  // namespace

TEST_F(ResourcesTest, WhoeverAsksFirstLoadsTheDefaults) {
    for (const Message& message : kMessages) {
        Resources::deinit();
        EXPECT_FALSE(Resources::gInit);
        EXPECT_EQ(Resources::mErrorClasspath, nullptr);
        EXPECT_STREQ(message.accessor(), message.text);
        EXPECT_TRUE(Resources::gInit);
    }
    EXPECT_EQ(Resources::gLoadBuffer, nullptr);
}

TEST_F(ResourcesTest, TheSourceIsAskedOnceForEachTextInOrder) {
    Texts source;
    for (const Message& message : kMessages) source.texts[message.id] = std::to_string(message.id);
    Resources::init(&source);
    std::vector<int> ids;
    for (const Message& message : kMessages) {
        EXPECT_EQ(message.accessor(), std::to_string(message.id));
        ids.push_back(message.id);
    }
    EXPECT_EQ(source.asked, ids);

    source.texts = {{51510, "kein LUA"}};
    Resources::init(&source);
    for (const Message& message : kMessages)
        EXPECT_STREQ(message.accessor(), message.id == 51510 ? "kein LUA" : message.text);
    source.texts[51510] = std::string(40000, 'x');
    Resources::init(&source);
    EXPECT_EQ(Resources::getErrorLUA(), std::string(32767, 'x'));
    Resources::init(nullptr);
    EXPECT_STREQ(Resources::getErrorLUA(), "LUA not set");
}

TEST_F(ResourcesTest, ASourceThatThrowsLeavesNothingBehind) {
    struct : Texts {
        bool getString(int, char*, int) override { throw std::runtime_error("no texts"); }
    } source;
    EXPECT_THROW(Resources::init(&source), std::runtime_error);
    EXPECT_EQ(Resources::gLoadBuffer, nullptr);
    EXPECT_STREQ(Resources::getErrorLUA(), "LUA not set");
}

TEST_F(ResourcesTest, TheCannotOpenTextIsCutToFitAndBelongsToItsThread) {
    const char* first = Resources::getErrorCantOpen("a.jsl");
    EXPECT_STREQ(first, "Cannot open the file a.jsl.");
    std::thread([] {
        EXPECT_STREQ(Resources::getErrorCantOpen("other.jsl"), "Cannot open the file other.jsl.");
    }).join();
    EXPECT_STREQ(first, "Cannot open the file a.jsl.");
    const std::string name(5000, 'n');
    EXPECT_EQ(Resources::getErrorCantOpen(name.c_str()), ("Cannot open the file " + name).substr(0, 4095));
    Texts source;
    source.texts[51505] =
        "%s: nicht zu \xC3\xB6"
        "ffnen";
    Resources::init(&source);
    EXPECT_STREQ(Resources::getErrorCantOpen("a"),
                 "a: nicht zu \xC3\xB6"
                 "ffnen");
    for (const auto& [format, text] :
         {std::pair("100 %%: %s", "100 %: a"), {"%1$s? %1$s", "a? a"}, {"%-3.1s|", "a  |"}}) {
        source.texts[51505] = format;
        Resources::init(&source);
        EXPECT_STREQ(Resources::getErrorCantOpen("a"), text);
    }
    for (const char* slip :
         {"%s %s", "%n", "%d", "%", "%s %", "%*s", "%1$s %2$s", "%2$s", "%1$d", "%9", "%99999999999s", "%l", "%%%"}) {
        source.texts[51505] = slip;
        Resources::init(&source);
        EXPECT_STREQ(Resources::getErrorCantOpen("a"), "Cannot open the file a.") << slip;
    }
}

}  // namespace vexil3::test
