#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/services/Support.h"

namespace vexil3::test {
namespace {

using Texts = std::vector<std::string>;
using AccessorTest = FilesTest;

int openDescriptors() {
    return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

Texts namesOf(const Counted<IFileEnumerator>& names) {
    Texts all;
    while (const char* name = names ? names->next() : nullptr) all.emplace_back(name);
    return all;
}

TEST_F(AccessorTest, InitWantsAFolder) {
    folder.write("file", "");
    const Counted<FileSystemAccessor> other(new FileSystemAccessor);
    EXPECT_FALSE(other->init(nullptr, nullptr, &error));
    EXPECT_FALSE(other->init((folder / "none").c_str(), nullptr, &error));
    EXPECT_FALSE(other->init((folder / "file").c_str(), nullptr, &error));
    EXPECT_EQ(take(error), (Texts{"1/5 no file name",
                                  "2/24 " + (folder / "none") + ": cannot use the folder: No such file or directory",
                                  "2/24 " + (folder / "file") + ": cannot use the folder: Not a directory"}));
}

TEST_F(AccessorTest, FilesAreNamedAsTheyWereAskedFor) {
    folder.write("sub/a", "text");
    for (const std::string& name : {std::string("sub/a"), std::string("./sub/../sub/a"), folder / "sub/a"}) {
        const Counted<IFile> file = reader(name);
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(file->id(), name);
        EXPECT_TRUE(accessor->exists(name.c_str(), &error));
    }
}

TEST_F(AccessorTest, OnlyRegularFilesExistAndOpen) {
    folder.write("sub/a", "text");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("loop", folder / "loop");
    for (const char* name : {"sub", "sub/", "pipe", "none", "sub/a/b"}) {
        EXPECT_FALSE(accessor->exists(name, &error)) << name;
        EXPECT_EQ(take(error), Texts()) << name;
        EXPECT_EQ(reader(name), nullptr) << name;
        EXPECT_EQ(take(error).size(), 1u) << name;
    }
    EXPECT_FALSE(accessor->exists("loop", &error));
    EXPECT_EQ(reader("loop"), nullptr);
    EXPECT_EQ(writer("sub"), nullptr);
    EXPECT_EQ(writer("pipe"), nullptr);
    EXPECT_EQ(take(error).size(), 4u);
}

TEST_F(AccessorTest, ErrorsSayWhichFileAndWhy) {
    folder.write("file", "");
    EXPECT_EQ(reader("none"), nullptr);
    EXPECT_EQ(reader("file/a"), nullptr);
    EXPECT_EQ(writer("file/a"), nullptr);
    EXPECT_EQ(writer(std::string(300, 'n')), nullptr);
    EXPECT_EQ(take(error), (Texts{"2/24 " + (folder / "none") + ": cannot open: No such file or directory",
                                  "2/24 " + (folder / "file/a") + ": cannot open: Not a directory",
                                  "2/24 " + (folder / "file/a") + ": cannot write: Not a directory",
                                  "2/9 " + (folder / std::string(300, 'n')) + ": cannot write: File name too long"}));
    EXPECT_EQ(accessor->open(nullptr, IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text, &error), nullptr);
    EXPECT_FALSE(accessor->exists(nullptr, &error));
    EXPECT_EQ(take(error), (Texts{"1/5 no file name", "1/5 no file name"}));
}

TEST_F(AccessorTest, WritingMakesFoldersAndEmptiesTheFile) {
    ASSERT_NE(writer("one/two/a"), nullptr);
    EXPECT_TRUE(std::filesystem::exists(folder / "one/two/a"));
    folder.write("one/two/a", "old text");
    ASSERT_TRUE(writer("one/two/a")->write("new", 3, &error));
    EXPECT_EQ(folder.read("one/two/a"), "new");
}

TEST_F(AccessorTest, OnlyTwoWaysToOpenAreSupported) {
    folder.write("a", "text");
    for (const auto open : {IFileAccessor::Create, IFileAccessor::Open})
        for (const auto access : {IFileAccessor::Read, IFileAccessor::Write}) {
            const bool supported = (open == IFileAccessor::Open && access == IFileAccessor::Read) ||
                                   (open == IFileAccessor::Create && access == IFileAccessor::Write);
            EXPECT_EQ(accessor->isSupported("a", open, access), supported);
            const Counted<IFile> file(accessor->open("a", open, access, IFileAccessor::Text, &error));
            EXPECT_EQ(file != nullptr, supported);
            EXPECT_EQ(take(error).size(), supported ? 0u : 1u);
        }
}

TEST_F(AccessorTest, DescriptorsAreClosedAndNotInherited) {
    folder.write("a", "text");
    const int before = openDescriptors();
    {
        const Counted<IFile> in = reader("a");
        const Counted<IFile> out = writer("b");
        EXPECT_EQ(openDescriptors(), before + 2);
        int inheritable = 0;
        for (int i = 3; i < 64; ++i) {
            const int flags = ::fcntl(i, F_GETFD);
            std::error_code status;
            const auto target = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(i), status).string();
            if (flags >= 0 && !(flags & FD_CLOEXEC) && target.starts_with(folder.path())) ++inheritable;
        }
        EXPECT_EQ(inheritable, 0);
        EXPECT_EQ(reader("none"), nullptr);
        EXPECT_EQ(reader("."), nullptr);
        take(error);
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(AccessorTest, EnumeratorsGiveNamesThatOpen) {
    for (const char* name : {"b.lua", "a.JSL", "sub/c.jsl", "sub/deep/d.jsl", "sub/e.txt"}) folder.write(name, "");
    const char* patterns[] = {"*.jsl", "e.*", nullptr};
    const auto list = [&](const char* in, const char** which, bool recursive) {
        return namesOf(Counted<IFileEnumerator>(accessor->enumerator(in, which, recursive, &error)));
    };
    EXPECT_EQ(namesOf(Counted<IFileEnumerator>(accessor->enumerator(false, &error))), (Texts{"a.JSL", "b.lua"}));
    EXPECT_EQ(list(nullptr, patterns, true), (Texts{"a.JSL", "sub/c.jsl", "sub/deep/d.jsl", "sub/e.txt"}));
    EXPECT_EQ(list("sub", patterns, false), (Texts{"sub/c.jsl", "sub/e.txt"}));
    EXPECT_EQ(list((folder / "sub/").c_str(), patterns, false), (Texts{folder / "sub/c.jsl", folder / "sub/e.txt"}));
    for (const std::string& name : list("sub", nullptr, true)) EXPECT_NE(reader(name), nullptr) << name;
    EXPECT_EQ(accessor->enumerator("none", nullptr, true, &error), nullptr);
    EXPECT_EQ(take(error), Texts{"2/24 " + (folder / "none/") + ": cannot list: No such file or directory"});
}

TEST_F(AccessorTest, PathsFitTheBufferOrAreRefused) {
    const std::string expected = folder / "sub/a";
    std::string buffer(expected.size() + 1, '#');
    const int size = static_cast<int>(buffer.size());
    EXPECT_TRUE(accessor->resolvePath("sub", "a", buffer.data(), size));
    EXPECT_EQ(buffer.c_str(), expected);
    EXPECT_FALSE(accessor->resolvePath(nullptr, "sub/a", buffer.data(), size - 1));
    EXPECT_FALSE(accessor->resolvePath(nullptr, nullptr, buffer.data(), size));
    EXPECT_FALSE(accessor->resolvePath(nullptr, "a", nullptr, size));
    EXPECT_TRUE(accessor->location("sub/a", buffer.data(), size));
    EXPECT_EQ(buffer.c_str(), folder / "sub");
    EXPECT_TRUE(accessor->resolvePath("/elsewhere", "/a", buffer.data(), size));
    EXPECT_STREQ(buffer.c_str(), "/a");
}

}  // namespace
}  // namespace vexil3::test
