#pragma once

#include <csignal>

namespace vorn {

// Ctrl-C during long work. While a watch lives, the first SIGINT does not end
// the program: it is kept until TakeInterrupt collects it, so that the work
// stops at its next yield. A second SIGINT ends the program at once with exit
// code 130, after clearing the terminal line `lineFd` (-1: none) so that the
// shell's prompt starts on a clean line. When the watch ends, the previous
// handler is back and Ctrl-C means what it meant before.
//
// A SIGINT that the process ignores (a job started in the background) stays
// ignored, and the watch does nothing. One watch at a time: a watch made
// while another lives does nothing either.
class InterruptWatch {
public:
    explicit InterruptWatch(int lineFd);
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

    // True when this watch's handler is installed.
    bool Active() const { return installed_; }

    // True once for a Ctrl-C that arrived since the last call.
    bool TakeInterrupt();

private:
    struct sigaction previous_ {};
    bool installed_ = false;
};

}  // namespace vorn
