// What happens when memory runs out at any one allocation.
#include <cstdlib>
#include <new>

#include "tests/services/Support.h"

namespace {

// Allocations left before one fails; below zero none does.
thread_local int gAllocationsLeft = -1;

}  // namespace

// Not inlined: the compiler knows the pairing of new and delete, not of malloc behind them.
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (gAllocationsLeft >= 0 && gAllocationsLeft-- == 0) throw std::bad_alloc();
    if (void* memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (gAllocationsLeft >= 0 && gAllocationsLeft-- == 0) return nullptr;
    return std::malloc(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace vexil3::test {
namespace {

// Runs `work` with the first, second, ... allocation failing, until it needs no more; `prepare`
// before each with none failing.
template <class Work, class Prepare>
int failEveryAllocation(Work&& work, Prepare&& prepare) {
    for (int n = 0;; ++n) {
        prepare();
        gAllocationsLeft = n;
        work();
        const bool failed = gAllocationsLeft < 0;
        gAllocationsLeft = -1;
        if (!failed) return n;
    }
}

TEST(Allocation, ThrowErrorAlwaysLeavesAnError) {
    const std::string text(100, 'x');
    const int failures = failEveryAllocation(
        [&] {
            IError* slot = nullptr;
            ErrorFactory::throwError(&slot, IError::StageFile, IError::CodeCannotOpen, text.c_str(), text.c_str(), 1);
            ErrorFactory::throwError(&slot, IError::StageFile, IError::CodeCannotOpen, text.c_str());
            if (!slot || slot->count() == 0) std::abort();
            slot->release();
        },
        [] {});
    EXPECT_GT(failures, 3);
}

TEST(Allocation, ThrowStackAddsAllOrNothing) {
    IError* source = nullptr;
    for (int i = 0; i < 5; ++i) ErrorFactory::throwError(&source, IError::StageFile, IError::CodeCannotOpen, "text");
    const int failures = failEveryAllocation(
        [&] {
            IError* slot = nullptr;
            ErrorFactory::throwStack(&slot, source);
            if (!slot || (slot->count() != 5 && slot->count() != 1 && slot->count() != 0)) std::abort();
            slot->release();
        },
        [] {});
    EXPECT_GT(failures, 0);
    EXPECT_EQ(source->count(), 5u);
    source->release();
}

TEST(Allocation, FilesReportItAndThrowNothing) {
    const TemporaryFolder folder;
    folder.write("a", "line\n");
    const Counted<FileSystemAccessor> accessor(new FileSystemAccessor);
    ASSERT_TRUE(accessor->init(folder.path().c_str(), nullptr, nullptr));
    const std::string deep = "one/two/a name that is too long to be kept without memory";
    const int failures = failEveryAllocation(
        [&] {
            IError* slot = nullptr;
            const Counted<IFile> file(
                accessor->open("a", IFileAccessor::Open, IFileAccessor::Read, IFileAccessor::Text, &slot));
            if (!file && !slot) std::abort();
            const Counted<IFile> created(
                accessor->open(deep.c_str(), IFileAccessor::Create, IFileAccessor::Write, IFileAccessor::Text, &slot));
            if (created && !created->writeLine(deep.c_str(), &slot) && !slot) std::abort();
            const Counted<IFileEnumerator> names(accessor->enumerator(true, &slot));
            if (!names && !slot) std::abort();
            const std::unique_ptr<IString> text(IString::create());
            if (text) text->assign(deep.c_str());
            if (slot) slot->release();
        },
        [&] { std::filesystem::remove_all(folder / "one"); });
    EXPECT_GT(failures, 8);
}

}  // namespace
}  // namespace vexil3::test
