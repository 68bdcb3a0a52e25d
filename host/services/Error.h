// The platform's own error and its entries.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include <vexil3/error.h>

namespace vexil3 {

class ErrorEntry final : public TAddRefImpl<IErrorEntry> {
public:
    ErrorEntry(IError::ErrorStage stage, IError::ErrorCode code, const char* message, const char* file, int line,
               int column);

    bool is(_GUID id) const override;
    bool to(_GUID id, void** object) const override;

    IError::ErrorStage stage() override { return mStage; }
    IError::ErrorCode code() override { return mCode; }
    const char* message() override { return mMessage ? mMessage->c_str() : nullptr; }
    const char* file() override { return mFile ? mFile->c_str() : nullptr; }
    int line() override { return mLine; }
    int column() override { return mColumn; }

private:
    const IError::ErrorStage mStage;
    const IError::ErrorCode mCode;
    const std::optional<std::string> mMessage;
    const std::optional<std::string> mFile;
    const int mLine;
    const int mColumn;
};

class Error final : public TAddRefImpl<IError> {
public:
    static const _GUID ID;

    Error() = default;
    ~Error() override;

    bool is(_GUID id) const override;
    bool to(_GUID id, void** object) const override;

    std::uint64_t count() override { return mEntries.size(); }
    IErrorEntry* get(std::uint64_t index) override;

    // Room for `extra` more entries, so that adopting them cannot fail.
    void reserve(std::uint64_t extra) {
        const std::size_t needed = mEntries.size() + extra;
        // In growing steps: entries mostly come one by one.
        if (needed > mEntries.capacity()) mEntries.reserve(std::max(needed, 2 * mEntries.capacity()));
    }
    // Takes over the caller's reference; there must be room.
    void adopt(IErrorEntry* entry) noexcept { mEntries.push_back(entry); }

private:
    std::vector<IErrorEntry*> mEntries;
};

// What stands in an empty slot when there is no memory for an error: one for the process, never
// destroyed, takes no entries.
IError* outOfMemoryError() noexcept;

}  // namespace vexil3
