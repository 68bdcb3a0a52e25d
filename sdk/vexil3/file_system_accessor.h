// Files of the machine.
#pragma once

#include <string>

#include <vexil3/files.h>

namespace vexil3 {

// Relative names lie under the root, absolute ones where they say. A file's id is its name as it
// was asked for. After init, every operation but init: [any thread]
class VEXIL_API FileSystemAccessor : public TAddRefImpl<IFileAccessor> {
public:
    FileSystemAccessor() = default;

    // `root` must name a folder; `metadata` may be null and is not kept.
    bool init(const char* root, IMetadataProvider* metadata, IError** error);

    bool is(_GUID id) const override;
    bool to(_GUID id, void** object) const override;

    bool resolvePath(const char* base, const char* name, char* buffer, int size) override;
    bool location(const char* name, char* buffer, int size) override;
    IFileEnumerator* enumerator(bool recursive, IError** error) override;
    IFileEnumerator* enumerator(const char** patterns, bool recursive, IError** error) override;
    IFileEnumerator* enumerator(const char* folder, const char** patterns, bool recursive, IError** error) override;
    bool exists(const char* name, IError** error) override;
    bool isSupported(const char* name, OpenMode openMode, AccessMode accessMode) override;
    IFile* open(const char* name, OpenMode openMode, AccessMode accessMode, DataMode dataMode, IError** error) override;

private:
    std::string full(const char* base, const char* name) const;

    std::string mRoot;
};

}  // namespace vexil3
