// Lets Ctrl-C end the program with nothing left behind.
#pragma once

namespace vexil3::cli {

// SIGINT, SIGTERM and SIGHUP end the process as they always do, but not in the middle of work that
// leaves files or processes: that is cut short first, by killing the processes below this one. A
// second signal waits for nothing.
class Interruption {
public:
    // For the life of the process; before any other thread is made. Signals that were ignored stay
    // so. Without a thread to be had, signals end the process at once.
    static void arm();

    // Such work, for as long as this lives. [any thread]
    class Hold {
    public:
        Hold();
        // Does not return when a signal came meanwhile.
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;
    };
};

}  // namespace vexil3::cli
