// A file of the machine, read or written at a position of its own without a buffer: what is written
// is in the file at once, and reading a whole file is one system call.
#pragma once

#include <cstdint>
#include <string>

#include <vexil3/files.h>

#include "host/services/Descriptor.h"

namespace vexil3 {

class File final : public TAddRefImpl<IFile> {
public:
    // An open regular file of `size` bytes, to be read.
    static File* reader(Descriptor descriptor, std::string name, std::int64_t size);
    // An open empty file, to be written.
    static File* writer(Descriptor descriptor, std::string name);

    bool is(_GUID id) const override;
    bool to(_GUID id, void** object) const override;

    const char* id() override { return mName.c_str(); }

    // Any place from the start to the end of the file.
    bool seek(long offset, Position origin, IError** error) override;
    std::int64_t position(IError** error) override;
    std::int64_t size(IError** error) override;
    bool eof(IError** error) override;

    bool read(void* buffer, unsigned long count, unsigned long& done, IError** error) override;
    bool readLine(char* buffer, unsigned long size, IError** error) override;
    bool readLineUnicode(wchar_t* buffer, unsigned long size, IError** error) override;
    bool readDouble(double& value, IError** error) override;

    bool setvbuf(BufferingMode mode, int size, IError** error) override;

    bool write(const void* buffer, unsigned long count, IError** error) override;
    bool writeLine(const char* text, IError** error) override;
    bool writeLineUnicode(const wchar_t* text, IError** error) override;
    bool flush(IError** error) override;

private:
    File(Descriptor descriptor, std::string name, bool readable, std::int64_t size)
        : mDescriptor(std::move(descriptor)), mName(std::move(name)), mReadable(readable), mSize(size) {}

    bool canRead(const void* buffer, IError** error) const;
    bool readAt(std::int64_t position, void* buffer, unsigned long count, unsigned long& done, IError** error) const;
    bool fail(IError** error, const char* what, int number) const;
    bool refuse(IError** error, IError::ErrorStage stage, IError::ErrorCode code, const char* what) const;

    const Descriptor mDescriptor;
    const std::string mName;
    const bool mReadable;
    std::int64_t mSize;
    std::int64_t mPosition = 0;
};

}  // namespace vexil3
