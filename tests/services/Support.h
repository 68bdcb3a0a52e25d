// What the tests of the services share.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <vexil3/sdk.h>

namespace vexil3::test {

struct Release {
    void operator()(const IObject* object) const { object->release(); }
};
template <class T>
using Counted = std::unique_ptr<T, Release>;

// The entries of the error in a slot as "stage/code text", and the slot emptied.
inline std::vector<std::string> take(IError*& slot) {
    std::vector<std::string> all;
    if (!slot) return all;
    for (std::uint64_t i = 0; i < slot->count(); ++i) {
        const Counted<IErrorEntry> entry(slot->get(i));
        all.push_back(std::to_string(entry->stage()) + "/" + std::to_string(entry->code()) + " " +
                      (entry->message() ? entry->message() : "(null)"));
    }
    slot->release();
    slot = nullptr;
    return all;
}

// A folder of the test's own, removed after it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "vexil-test-XXXXXX").string();
        mPath = ::mkdtemp(pattern.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(mPath); }

    std::string operator/(const std::string& name) const { return mPath + "/" + name; }
    const std::string& path() const { return mPath; }

    void write(const std::string& name, const std::string& content) const {
        std::filesystem::create_directories(std::filesystem::path(*this / name).parent_path());
        std::ofstream(*this / name, std::ios::binary) << content;
    }
    std::string read(const std::string& name) const {
        std::ostringstream content;
        content << std::ifstream(*this / name, std::ios::binary).rdbuf();
        return content.str();
    }

private:
    std::string mPath;
};

// An accessor on a folder of its own.
class FilesTest : public testing::Test {
protected:
    FilesTest() : accessor(new FileSystemAccessor) {
        EXPECT_TRUE(accessor->init(folder.path().c_str(), nullptr, &error));
    }
    ~FilesTest() override { EXPECT_EQ(take(error), std::vector<std::string>()) << "an error was left"; }

    Counted<IFile> reader(const std::string& name) {
        return Counted<IFile>(
            accessor->open(name.c_str(), IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Binary, &error));
    }
    Counted<IFile> writer(const std::string& name) {
        return Counted<IFile>(
            accessor->open(name.c_str(), IFileAccessor::Create, IFileAccessor::Write, IFileAccessor::Binary, &error));
    }

    TemporaryFolder folder;
    IError* error = nullptr;
    Counted<FileSystemAccessor> accessor;
};

}  // namespace vexil3::test
