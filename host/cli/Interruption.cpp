#include "host/cli/Interruption.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace vexil3::cli {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
// Between two looks for processes: one may be about to start.
constexpr int kPauseMilliseconds = 10;

struct State {
    std::mutex mutex;
    int holds = 0;
    sigset_t signals = {};
    int signal = 0;  // what came
};

// Never destroyed: the watching thread lives as long as the process.
State& state() {
    static State& only = *new State;
    return only;
}

[[noreturn]] void dieOf(int signal) {
    sigset_t one;
    ::sigemptyset(&one);
    ::sigaddset(&one, signal);
    ::signal(signal, SIG_DFL);
    ::pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
    for (;;) ::raise(signal);
}

void addDescendants(const std::string& process, std::vector<pid_t>& found) {
    std::error_code gone;
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + process + "/task", gone)) {
        std::ifstream children(task.path() / "children");
        for (pid_t child = 0; children >> child;) {
            found.push_back(child);
            addDescendants(std::to_string(child), found);
        }
    }
}

// Parents first, so that none goes on to start another.
void killDescendants() {
    std::vector<pid_t> found;
    addDescendants("self", found);
    for (const pid_t process : found) ::kill(process, SIGKILL);
}

// With the mutex locked, so that a signal is either pending or noted whenever somebody looks: who
// waits for a child may well see its end before the watching thread runs.
bool interrupted() {
    constexpr timespec now = {};
    if (!state().signal) state().signal = std::max(::sigtimedwait(&state().signals, nullptr, &now), 0);
    return state().signal != 0;
}

void watch(int descriptor) {
    pollfd signals = {descriptor, POLLIN, 0};
    for (bool known = false;;) {
        if (::poll(&signals, 1, known ? kPauseMilliseconds : -1) > 0 || known) {
            const std::lock_guard lock(state().mutex);
            const bool second = known && signals.revents;
            known = interrupted();
            if (known && (second || state().holds == 0)) dieOf(state().signal);
        }
        if (known) killDescendants();
    }
}

// Those that would end the process as things are.
sigset_t deadlySignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : kSignals) {
        struct sigaction action {};
        if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) ::sigaddset(&signals, signal);
    }
    return signals;
}

}  // namespace

void Interruption::arm() {
    // Blocked here, and so in whatever is started from here: all are left to the watching thread.
    state().signals = deadlySignals();
    const int descriptor = ::signalfd(-1, &state().signals, SFD_CLOEXEC);
    if (descriptor < 0) return;
    ::pthread_sigmask(SIG_BLOCK, &state().signals, nullptr);
    // Whoever loses its parent is to be found below this process.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    try {
        std::thread(watch, descriptor).detach();
    } catch (const std::system_error&) {
        ::pthread_sigmask(SIG_UNBLOCK, &state().signals, nullptr);
        ::close(descriptor);
    }
}

Interruption::Hold::Hold() {
    const std::lock_guard lock(state().mutex);
    ++state().holds;
}

Interruption::Hold::~Hold() {
    const std::lock_guard lock(state().mutex);
    if (--state().holds > 0 || !interrupted()) return;
    killDescendants();
    dieOf(state().signal);
}

}  // namespace vexil3::cli
