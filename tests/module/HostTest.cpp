// The module as a host meets it: loaded by name, or linked through nothing but its exports.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "adapters/IndicatorProfileImplementation.h"
#include "adapters/MacroProfileImplementation.h"
#include "adapters/StrategyProfileImplementation.h"
#include "adapters/ToolProfileImplementation.h"
#include "files/JsFile.h"
#include "language/JsLanguage.h"
#include "language/Resources.h"
#include "translation/MD5Calc.h"

namespace vexil3::test {

namespace {

using Factory = ILanguage*();

Factory* load(void*& library) {
    library = dlopen(VEXIL_JS_MODULE, RTLD_NOW | RTLD_LOCAL);
    return library ? reinterpret_cast<Factory*>(dlsym(library, "createLanguage")) : nullptr;
}

// Run in a process of its own, whose library path leads to one variant of the Lua module.
int probe() {
    void* library = nullptr;
    Factory* const create = load(library);
    if (!create) return std::puts(dlerror()), 1;
    ILanguage* const language = create();
    if (!language) return std::puts("-> none"), 0;
    const bool right =
        language->is(js::JsLanguage::ID) && language->is(ILanguage::ID) && language->setDebugger(nullptr);
    language->release();
    return std::puts(right ? "-> a language" : "-> something else"), 0;
}

std::string probeIn(const std::string& variant) {
    // Read here, as a tool that runs this program in its own process answers for that process alone.
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::string command =
        "LD_LIBRARY_PATH='" VEXIL_LUA_VARIANTS "/" + variant + "' '" + program + "' --probe 2>&1";
    std::string output;
    FILE* const pipe = popen(command.c_str(), "r");
    for (int c; (c = std::fgetc(pipe)) != EOF;) output += static_cast<char>(c);
    pclose(pipe);
    return output;
}

}  // namespace

TEST(Host, GetsALanguageOrNothingAndTheLoadersReason) {
    EXPECT_EQ(probeIn("whole"), "-> a language\n");
    EXPECT_EQ(probeIn("without_language"), "-> none\n");
    EXPECT_EQ(probeIn("throwing"), "-> none\n");
    const std::string noFactory = probeIn("without_factory"), broken = probeIn("broken");
    EXPECT_NE(noFactory.find("undefined symbol: createLanguage\n-> none\n"), std::string::npos) << noFactory;
    EXPECT_NE(broken.find("libvexil.lua.so: "), std::string::npos) << broken;
    EXPECT_NE(broken.find("\n-> none\n"), std::string::npos) << broken;
}

TEST(Host, UsesTheClassesThroughTheirExports) {
    std::vector<int> lines = {1};
    const Ref<js::JsFile> file(
        new js::JsFile("f", "text", lines, IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text));
    EXPECT_TRUE(file->is(js::JsFile::ID) && dynamic_cast<IFile*>(file.get()));
    EXPECT_TRUE(js::StrategyProfileImplementation::ID == js::ToolProfileImplementation::ID);
    EXPECT_TRUE(js::StrategyProfileCallback::ID == js::ToolProfileCallback::ID);
    EXPECT_TRUE(js::IndicatorProfileImplementation::ID == js::JsLanguage::ID);
    EXPECT_EQ(js::MD5Calc("abc").hexdigest(), "900150983cd24fb0d6963f7d28e17f72");
    Resources::init(nullptr);
    EXPECT_STREQ(Resources::getErrorClasspath(), "Environment variable CLASSPATH not set");
    EXPECT_STREQ(Resources::getErrorCantOpen("x"), "Cannot open the file x.");
    EXPECT_NE(Resources::mErrorOpenPipe, nullptr);
    Resources::deinit();
    EXPECT_EQ(Resources::mErrorOpenPipe, nullptr);
}

}  // namespace vexil3::test

int main(int count, char** arguments) {
    if (count == 2 && std::string(arguments[1]) == "--probe") return vexil3::test::probe();
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
