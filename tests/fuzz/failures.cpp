// Any bytes as what the translator says when it fails.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>

#include "doubles/MemoryFiles.h"
#include "doubles/TextModels.h"
#include "files/JsFileAccessor.h"
#include "translation/ProcessRunnerFactory.h"

using namespace vexil3;

namespace {

std::string gSaid;

class FailingRunner final : public js::IProcessRunner {
public:
    js::ProcessResult* runExternalCommand(const char*, const char*) override {
        return new js::ProcessResult(256, std::string(gSaid), std::string());
    }
    void cancel() override {}
};

}  // namespace

js::IProcessRunner* js::ProcessRunnerFactory::create() { return new FailingRunner; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Ref<js::JsFileAccessor> accessor = [] {
        // The source is handed over in vain here, so no disk takes part.
        setenv("VEXIL_TEMP_DIR", "/dev/null", 1);
        const Ref<test::MemoryAccessor> files(new test::MemoryAccessor);
        files->journal.recording = false;
        files->files["s.jsl"] = "let x;";
        return Ref<js::JsFileAccessor>(new js::JsFileAccessor(files.get()));
    }();
    gSaid.assign(reinterpret_cast<const char*>(data), size);
    Ref<IError> error;
    const Ref<IFile> file(
        accessor->open("s.jsl", IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text, error.out()));
    EXPECT_FALSE(file);
    EXPECT_EQ(test::faults(error), test::slowFailures(gSaid.c_str(), "s.jsl"));
    return 0;
}
