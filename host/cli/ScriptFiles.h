// The files that scripts are read from.
#pragma once

#include <vexil3/file_system_accessor.h>

namespace vexil3::cli {

// Holds interruptions off while a file of it is open: whoever translates a script has its file open,
// and temporary files and a process beside it.
class ScriptFiles final : public FileSystemAccessor {
public:
    IFile* open(const char* name, OpenMode openMode, AccessMode accessMode, DataMode dataMode, IError** error) override;
};

}  // namespace vexil3::cli
