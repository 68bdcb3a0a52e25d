// Runs the external translator.
//
// The command line, split by blanks (nothing is quoted: a shell runs it), P being VEXIL_CLASSPATH or
// the folder "/scrivel/" beside the running program:
//
//   java -cp Pantlr-3.5.2-complete-no-st3.jar:Pscrivel.jar:Pserializer.jar:Pxalan.jar:
//            PxercesImpl.jar:Pxml-apis.jar:Pscrivelbin.jar com.morrow.scrivel.Program SOURCE OUT ERR
//
// (one class path, without a break). SOURCE holds the JavaScript. The translator writes the Lua text
// to OUT and ends with status 0 and the line listing in ERR, or with another status and, in ERR, a
// line "source(LINE,COLUMN): message" for each fault. Its standard streams are dropped.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "translation/IProcessRunner.h"

namespace vexil3::js {

class VEXIL_API UnixProcessRunner : public IProcessRunner {
public:
    UnixProcessRunner();

    // One translation; neither argument may be null. A runner that has run before answers with the
    // "Is busy" message until cancel.
    ProcessResult* runExternalCommand(const char* sourcePath, const char* scriptName) override;
    void cancel() override;

    // Runs `command` and waits for it; the result is what its two files and its status say.
    std::unique_ptr<ProcessResult> readFromPipe();

private:
    std::atomic<bool> busy;
    std::string command;  // without the paths of the result files
    std::string sourcePath;
    std::string scriptName;
};

}  // namespace vexil3::js
