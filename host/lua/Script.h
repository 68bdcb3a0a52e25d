// A script as it is kept: compiled, without a state.
#pragma once

#include <vexil3/files.h>
#include <vexil3/language_service.h>

#include <memory>
#include <string>

namespace vexil3::lua {

struct Environment;

struct Script {
    std::string id;  // the file's
    std::string bytecode;
    ILanguageService::ObjectType type = ILanguageService::Unknown;
};

// The name of the global function that declares a kind of script, which is the kind's name too.
const char* kindName(ILanguageService::ObjectType type);

// Reads the whole file. `id` receives the file's id. False after an error.
bool readFile(IFileAccessor* accessor, const char* fileName, std::string& id, std::string& text, IError** error);

// Reads and compiles a file, and runs it once to see what it declares; Unknown for nothing. Null
// after an error.
std::shared_ptr<Script> loadScript(Environment& environment, IFileAccessor* accessor, const char* fileName,
                                   IError** error);

}  // namespace vexil3::lua
