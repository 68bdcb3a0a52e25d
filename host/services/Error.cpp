#include "host/services/Error.h"

#include <vexil3/object.h>

namespace vexil3 {

constinit const _GUID Error::ID{0x5B0E7D12, 0x93C4, 0x4E6A, {0xA1, 0x3F, 0x70, 0x2C, 0xD8, 0x4B, 0x96, 0xE5}};

namespace {

std::optional<std::string> copied(const char* text) { return text ? std::optional<std::string>(text) : std::nullopt; }

template <class Class>
bool answer(const Class* self, bool known, void** object) {
    *object = known ? const_cast<Class*>(self) : nullptr;
    return known;
}

class OutOfMemoryEntry final : public IErrorEntry {
public:
    bool is(_GUID id) const override { return id == IErrorEntry::ID || id == IObject::ID; }
    bool to(_GUID id, void** object) const override { return answer<IErrorEntry>(this, is(id), object); }
    void addRef() const override {}
    bool release() const override { return true; }

    IError::ErrorStage stage() override { return IError::StageLanguage; }
    IError::ErrorCode code() override { return IError::CodeInternal; }
    const char* message() override { return "out of memory"; }
    const char* file() override { return nullptr; }
    int line() override { return 0; }
    int column() override { return 0; }
};

class OutOfMemoryError final : public IError {
public:
    bool is(_GUID id) const override { return id == IError::ID || id == IObject::ID; }
    bool to(_GUID id, void** object) const override { return answer<IError>(this, is(id), object); }
    void addRef() const override {}
    bool release() const override { return true; }

    std::uint64_t count() override { return 1; }
    IErrorEntry* get(std::uint64_t index) override { return index == 0 ? &mEntry : nullptr; }

private:
    OutOfMemoryEntry mEntry;
};

}  // namespace

ErrorEntry::ErrorEntry(IError::ErrorStage stage, IError::ErrorCode code, const char* message, const char* file,
                       int line, int column)
    : mStage(stage), mCode(code), mMessage(copied(message)), mFile(copied(file)), mLine(line), mColumn(column) {}

bool ErrorEntry::is(_GUID id) const { return id == IErrorEntry::ID || id == IObject::ID; }

bool ErrorEntry::to(_GUID id, void** object) const { return answer<IErrorEntry>(this, is(id), object); }

Error::~Error() {
    for (IErrorEntry* entry : mEntries) entry->release();
}

bool Error::is(_GUID id) const { return id == Error::ID || id == IError::ID || id == IObject::ID; }

bool Error::to(_GUID id, void** object) const { return answer<Error>(this, is(id), object); }

IErrorEntry* Error::get(std::uint64_t index) {
    if (index >= mEntries.size()) return nullptr;
    mEntries[index]->addRef();
    return mEntries[index];
}

IError* outOfMemoryError() noexcept {
    // In static storage for good: a slot may still hold it while the process ends.
    alignas(OutOfMemoryError) static unsigned char storage[sizeof(OutOfMemoryError)];
    static IError* const error = new (storage) OutOfMemoryError;
    return error;
}

}  // namespace vexil3
