// A translated script as the Lua language reads it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <vexil3/files.h>

namespace vexil3::js {

// A read-only file in memory that holds the Lua text, with the line table beside it. One reader at a
// time; only the position moves.
class VEXIL_API JsFile : public TAddRefImpl<IFile> {
public:
    static const _GUID ID;

    // Copies the two texts, which end at their first NUL, and the table. The modes are kept; the file
    // is read-only whatever they say.
    JsFile(const char* name, const char* source, std::vector<int>& lines, IFileAccessor::OpenMode openMode,
           IFileAccessor::AccessMode accessMode, IFileAccessor::DataMode dataMode);
    // Takes text and table over instead.
    JsFile(const char* name, std::string&& source, std::vector<int>&& lines, IFileAccessor::OpenMode openMode,
           IFileAccessor::AccessMode accessMode, IFileAccessor::DataMode dataMode);

    bool is(_GUID id) const override;
    bool to(_GUID id, void** object) const override;

    const char* id() override;
    // From the end, the offset must be negative: the end itself is reached from the start.
    bool seek(long offset, Position origin, IError** error) override;
    std::int64_t position(IError** error) override;
    std::int64_t size(IError** error) override;
    bool eof(IError** error) override;

    // At the end of the text, reading succeeds and delivers nothing.
    bool read(void* buffer, unsigned long count, unsigned long& done, IError** error) override;
    // A line feed that finds no room is consumed, but not delivered.
    bool readLine(char* buffer, unsigned long size, IError** error) override;
    // Code points. A line feed that finds no room is left for the next call. Text that is not UTF-8
    // is an error, with the position behind the length that its first byte announces; a sequence
    // that the end cuts off ends the line.
    bool readLineUnicode(wchar_t* buffer, unsigned long size, IError** error) override;
    // White space and a number. False without an error when there is none.
    bool readDouble(double& value, IError** error) override;

    bool setvbuf(BufferingMode mode, int size, IError** error) override;

    // Always refused.
    bool write(const void* buffer, unsigned long count, IError** error) override;
    bool writeLine(const char* text, IError** error) override;
    bool writeLineUnicode(const wchar_t* text, IError** error) override;
    bool flush(IError** error) override;

    // A copy of the line table.
    std::vector<int> getLines();
    // Valid while the file lives.
    const char* getSource();

private:
    // What `size` gives, and what is left to read; false, passed on, when a query reports an error.
    bool length(std::int64_t& bytes, IError** error);
    bool rest(std::int64_t& bytes, IError** error);

    std::string mName;
    std::string mSource;
    std::vector<int> mLines;
    std::int64_t mPosition = 0;  // 0 to the size, both included
    [[maybe_unused]] IFileAccessor::OpenMode mOpenMode;
    [[maybe_unused]] IFileAccessor::AccessMode mAccessMode;
    [[maybe_unused]] IFileAccessor::DataMode mDataMode;
};

}  // namespace vexil3::js
