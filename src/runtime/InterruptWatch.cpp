#include "runtime/InterruptWatch.h"

#include <unistd.h>

#include <atomic>

namespace vorn {
namespace {

// The handler may touch only lock-free atomics and async-signal-safe calls.
static_assert(std::atomic<int>::is_always_lock_free);
static_assert(std::atomic<bool>::is_always_lock_free);

std::atomic<bool> g_watching{false};
std::atomic<int> g_presses{0};
std::atomic<bool> g_pending{false};
std::atomic<int> g_lineFd{-1};

void OnInterrupt(int) {
    if (g_presses.fetch_add(1) > 0) {
        // The user insists: leave the terminal line clean and end now.
        const int fd = g_lineFd.load();
        static constexpr char kClearLine[] = "\r\033[K";
        if (fd >= 0 && write(fd, kClearLine, sizeof kClearLine - 1) < 0) {
            // Nothing more can be done about a failed write on the way out.
        }
        _exit(130);
    }
    g_pending.store(true);
}

}  // namespace

InterruptWatch::InterruptWatch(int lineFd) {
    bool expected = false;
    if (!g_watching.compare_exchange_strong(expected, true)) return;
    // A process that ignores Ctrl-C (started in the background) keeps doing so.
    struct sigaction current {};
    if (sigaction(SIGINT, nullptr, &current) != 0 ||
        ((current.sa_flags & SA_SIGINFO) == 0 && current.sa_handler == SIG_IGN)) {
        g_watching.store(false);
        return;
    }
    g_presses.store(0);
    g_pending.store(false);
    g_lineFd.store(lineFd);

    struct sigaction action {};
    action.sa_handler = OnInterrupt;
    sigemptyset(&action.sa_mask);
    // The work's own system calls must not fail with EINTR because of Ctrl-C.
    action.sa_flags = SA_RESTART;
    if (sigaction(SIGINT, &action, &previous_) != 0) {
        g_lineFd.store(-1);
        g_watching.store(false);
        return;
    }
    installed_ = true;
}

InterruptWatch::~InterruptWatch() {
    if (!installed_) return;
    sigaction(SIGINT, &previous_, nullptr);
    g_lineFd.store(-1);
    g_pending.store(false);
    g_watching.store(false);
}

bool InterruptWatch::TakeInterrupt() { return installed_ && g_pending.exchange(false); }

}  // namespace vorn
