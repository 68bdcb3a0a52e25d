// The names of the files in a folder.
#pragma once

#include <string>
#include <vector>

#include <vexil3/files.h>

namespace vexil3 {

class FileEnumerator final : public TAddRefImpl<IFileEnumerator> {
public:
    // The regular files of the folder at `path` whose own names match one of `patterns` (null: all),
    // in order; each name is given behind `prefix`, those of folders below with their folder.
    // Null after an error.
    static FileEnumerator* create(const std::string& path, const std::string& prefix, const char** patterns,
                                  bool recursive, IError** error);

    bool is(_GUID id) const override;
    bool to(_GUID id, void** object) const override;

    const char* next() override;

private:
    explicit FileEnumerator(std::vector<std::string> names) : mNames(std::move(names)) {}

    const std::vector<std::string> mNames;
    std::size_t mNext = 0;
};

}  // namespace vexil3
