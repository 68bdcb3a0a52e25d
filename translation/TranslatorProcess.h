// One run of a shell command whose output nobody wants.
#pragma once

#include <optional>
#include <string>

#include <pstreams/pstream.h>

namespace vexil3::js {

// The command runs in "/bin/sh" with its standard output and error on pipes, which are emptied and
// dropped, so that it never blocks on them. Going out of scope closes the pipes and waits for the
// command to end.
class TranslatorProcess : private redi::pstreambuf {
public:
    // Starts the command. Where that fails, startError tells why.
    explicit TranslatorProcess(const std::string& shellCommand);

    // 0, or the errno that kept the command from starting.
    int startError() const { return is_open() ? 0 : error(); }

    // Blocks until the shell has ended, however long its children keep the pipes, and gives its wait
    // status; nothing when the process lets somebody else collect its children.
    std::optional<int> wait();

private:
    bool drain(int timeoutMilliseconds);
};

}  // namespace vexil3::js
