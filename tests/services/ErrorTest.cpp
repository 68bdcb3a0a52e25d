#include "tests/services/Support.h"

namespace vexil3::test {
namespace {

using Texts = std::vector<std::string>;

// An error of another maker, with one entry borrowed from a real one.
class ForeignError final : public TAddRefImpl<IError> {
public:
    explicit ForeignError(const char* message) {
        ErrorFactory::throwError(&mInner, StageFile, CodeCannotOpen, message);
    }
    ~ForeignError() override { mInner->release(); }

    bool is(_GUID id) const override { return id == IError::ID || id == IObject::ID; }
    bool to(_GUID id, void** object) const override {
        *object = is(id) ? const_cast<ForeignError*>(this) : nullptr;
        return *object != nullptr;
    }
    std::uint64_t count() override { return mInner->count(); }
    IErrorEntry* get(std::uint64_t index) override { return mInner->get(index); }

private:
    IError* mInner = nullptr;
};

class ErrorTest : public testing::Test {
protected:
    ErrorTest() {
        MemoryDiagnostic::gEnabled = 1;
        MemoryDiagnostic::reset();
    }
    ~ErrorTest() override {
        EXPECT_EQ(MemoryDiagnostic::registered(), MemoryDiagnostic::released());
        MemoryDiagnostic::gEnabled = 0;
    }

    IError* slot = nullptr;
};

TEST_F(ErrorTest, EntriesCarryWhatWasThrown) {
    std::string message = "text";
    ErrorFactory::throwError(&slot, IError::StageTranslation, IError::CodeInvalidContent, message.c_str(), "a.jsl", 12,
                             5);
    message = "gone";
    ErrorFactory::throwError(&slot, IError::StageFile, IError::CodeNotFound, nullptr, nullptr, 3);
    ErrorFactory::throwError(&slot, IError::StageArgument, IError::CodeNullObject, "plain");
    ASSERT_EQ(slot->count(), 3u);
    {
        const Counted<IErrorEntry> first(slot->get(0));
        EXPECT_EQ(first->stage(), 3);
        EXPECT_EQ(first->code(), 23);
        EXPECT_STREQ(first->message(), "text");
        EXPECT_STREQ(first->file(), "a.jsl");
        EXPECT_EQ(first->line(), 12);
        EXPECT_EQ(first->column(), 5);
        const Counted<IErrorEntry> second(slot->get(1));
        EXPECT_EQ(second->message(), nullptr);
        EXPECT_EQ(second->file(), nullptr);
        EXPECT_EQ(second->line(), 3);
        EXPECT_EQ(second->column(), 0);
    }
    EXPECT_EQ(slot->get(3), nullptr);
    EXPECT_EQ(take(slot), (Texts{"3/23 text", "2/24 (null)", "1/5 plain"}));
}

TEST_F(ErrorTest, EntriesOutliveTheirError) {
    ErrorFactory::throwError(&slot, IError::StageFile, IError::CodeCannotOpen, "kept");
    const Counted<IErrorEntry> entry(slot->get(0));
    slot->release();
    EXPECT_STREQ(entry->message(), "kept");
}

TEST_F(ErrorTest, NowhereToGoMeansNothingHappens) {
    ErrorFactory::throwError(nullptr, IError::StageFile, IError::CodeCannotOpen, "lost");
    ErrorFactory::throwStack(&slot, nullptr);
    EXPECT_EQ(slot, nullptr);
    ErrorFactory::throwError(&slot, IError::StageFile, IError::CodeCannotOpen, "source");
    ErrorFactory::throwStack(nullptr, slot);
    EXPECT_EQ(take(slot), Texts{"2/9 source"});
}

TEST_F(ErrorTest, StacksAreAppendedInOrder) {
    IError* source = nullptr;
    ErrorFactory::throwError(&source, IError::StageFile, IError::CodeCannotOpen, "one");
    ErrorFactory::throwError(&source, IError::StageFile, IError::CodeCannotOpen, "two");
    ErrorFactory::throwStack(&slot, source);
    ErrorFactory::throwStack(&slot, source);
    ErrorFactory::throwStack(&source, source);
    EXPECT_EQ(take(slot), (Texts{"2/9 one", "2/9 two", "2/9 one", "2/9 two"}));
    EXPECT_EQ(take(source), (Texts{"2/9 one", "2/9 two", "2/9 one", "2/9 two"}));
}

TEST_F(ErrorTest, ErrorsOfOtherMakersAreAppendedToAsWell) {
    slot = new ForeignError("foreign");
    ErrorFactory::throwError(&slot, IError::StageArgument, IError::CodeNullObject, "ours");
    EXPECT_EQ(take(slot), (Texts{"2/9 foreign", "1/5 ours"}));

    slot = new ForeignError("itself");
    ErrorFactory::throwStack(&slot, slot);
    EXPECT_EQ(take(slot), (Texts{"2/9 itself", "2/9 itself"}));
}

}  // namespace
}  // namespace vexil3::test
