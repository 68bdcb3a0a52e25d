#include "host/cli/ScriptFiles.h"

#include <new>

#include "host/cli/Implements.h"
#include "host/cli/Interruption.h"

namespace vexil3::cli {

namespace {

class HeldFile final : public Implements<TAddRefImpl<IFile>, IFile, IObject> {
public:
    void hold(Counted<IFile> file) { mFile = std::move(file); }

    const char* id() override { return mFile->id(); }
    bool seek(long offset, Position origin, IError** error) override { return mFile->seek(offset, origin, error); }
    std::int64_t position(IError** error) override { return mFile->position(error); }
    std::int64_t size(IError** error) override { return mFile->size(error); }
    bool eof(IError** error) override { return mFile->eof(error); }
    bool read(void* buffer, unsigned long count, unsigned long& done, IError** error) override {
        return mFile->read(buffer, count, done, error);
    }
    bool readLine(char* buffer, unsigned long size, IError** error) override {
        return mFile->readLine(buffer, size, error);
    }
    bool readLineUnicode(wchar_t* buffer, unsigned long size, IError** error) override {
        return mFile->readLineUnicode(buffer, size, error);
    }
    bool readDouble(double& value, IError** error) override { return mFile->readDouble(value, error); }
    bool setvbuf(BufferingMode mode, int size, IError** error) override { return mFile->setvbuf(mode, size, error); }
    bool write(const void* buffer, unsigned long count, IError** error) override {
        return mFile->write(buffer, count, error);
    }
    bool writeLine(const char* text, IError** error) override { return mFile->writeLine(text, error); }
    bool writeLineUnicode(const wchar_t* text, IError** error) override { return mFile->writeLineUnicode(text, error); }
    bool flush(IError** error) override { return mFile->flush(error); }

private:
    const Interruption::Hold mHold;
    Counted<IFile> mFile;
};

}  // namespace

IFile* ScriptFiles::open(const char* name, OpenMode openMode, AccessMode accessMode, DataMode dataMode,
                         IError** error) {
    Counted<IFile> file(FileSystemAccessor::open(name, openMode, accessMode, dataMode, error));
    if (!file) return nullptr;
    auto* held = new (std::nothrow) HeldFile;
    if (held)
        held->hold(std::move(file));
    else
        ErrorFactory::throwError(error, IError::StageFile, IError::CodeCannotOpen, "out of memory");
    return held;
}

}  // namespace vexil3::cli
