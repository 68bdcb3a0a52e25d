#include "translation/TranslatorProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace vexil3::js {

namespace {

// How long a child's end can go unnoticed while something else still holds its pipes.
constexpr int kNoticeMilliseconds = 10;
// The pause between two looks at a child that has closed its pipes: first and longest.
constexpr useconds_t kFirstPause = 100;
constexpr useconds_t kLongestPause = 5000;

}  // namespace

TranslatorProcess::TranslatorProcess(const std::string& shellCommand) {
    open(shellCommand, std::ios_base::in | pstdout | pstderr);
    // A process that the host starts meanwhile has no use for them.
    for (const buf_read_src source : {rsrc_out, rsrc_err})
        if (rpipe(source) >= 0) fcntl(rpipe(source), F_SETFD, FD_CLOEXEC);
}

std::optional<int> TranslatorProcess::wait() {
    useconds_t pause = kFirstPause;
    while (!exited()) {
        if (error() == ECHILD) return std::nullopt;
        if (drain(kNoticeMilliseconds)) continue;
        usleep(pause);
        pause = std::min(pause * 2, kLongestPause);
    }
    return status();
}

// Drops what comes within the time. False once both pipes have ended.
bool TranslatorProcess::drain(int timeoutMilliseconds) {
    pollfd pipes[] = {{rpipe(rsrc_out), POLLIN, 0}, {rpipe(rsrc_err), POLLIN, 0}};
    if (pipes[0].fd < 0 && pipes[1].fd < 0) return false;
    if (poll(pipes, 2, timeoutMilliseconds) <= 0) return true;
    char dropped[65536];
    for (const buf_read_src source : {rsrc_out, rsrc_err}) {
        if (!pipes[source].revents) continue;
        const ssize_t count = ::read(pipes[source].fd, dropped, sizeof dropped);
        if (count == 0 || (count < 0 && errno != EINTR)) {
            ::close(rpipe(source));
            rpipe(source) = -1;
        }
    }
    return true;
}

}  // namespace vexil3::js
