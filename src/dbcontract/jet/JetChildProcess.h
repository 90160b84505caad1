#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <sys/types.h>

namespace vorn {

// How far a reading child may go before it is stopped.
struct JetChildLimits {
    // No record for this long: the child is taken to hang.
    std::chrono::milliseconds idleTimeout{60'000};
    // The whole run; zero for no limit beyond the idle one.
    std::chrono::milliseconds totalTimeout{0};
    // Address space the child may take beyond what it starts with.
    std::size_t memoryBytes = std::size_t{1} << 30;
};

// Runs work that may crash, hang or eat memory (the reader of foreign files)
// in a child process: the child streams its results through a pipe, its
// own printing is captured and never reaches the user, and a crash, a hang
// or a limit reached ends in a known outcome instead of taking the program
// down. The child is a fork of this process and never returns into it.
class JetChildProcess {
public:
    enum class Outcome { kRunning, kExited, kCrashed, kTimedOut };

    // Starts `work` in a child process; it writes its results to the file
    // descriptor it is given and returns the child's exit code. Raises 3049
    // when no process can be started.
    JetChildProcess(const std::function<int(int fd)>& work, const JetChildLimits& limits);
    // Kills and reaps a child that is still running.
    ~JetChildProcess();
    JetChildProcess(const JetChildProcess&) = delete;
    JetChildProcess& operator=(const JetChildProcess&) = delete;

    // Reads the next bytes of the child's results into `buffer`, waiting for
    // them. Returns the count, or 0 at the end of the results; when a limit
    // is reached while waiting, the child is killed and 0 returned.
    std::size_t Read(std::span<std::uint8_t> buffer);

    // Waits for the child to end, killing it when it outstays the limits,
    // and tells how it ended.
    Outcome Finish();

    int ExitCode() const { return exitCode_; }
    int Signal() const { return signal_; }
    // The end of what the child printed (for diagnosis; not for the user).
    const std::string& Output() const { return output_; }

private:
    using Clock = std::chrono::steady_clock;

    void Start(const std::function<int(int fd)>& work);
    [[noreturn]] void RunChild(const std::function<int(int fd)>& work, int dataFd, int outputFd);
    // Waits until data can be read or the deadline passes, draining the
    // child's printing meanwhile. False when the deadline passed.
    bool WaitForData();
    void DrainOutput();
    Clock::time_point Deadline() const;
    void Kill();
    void Reap(bool block);

    JetChildLimits limits_;
    pid_t pid_ = -1;
    int dataFd_ = -1;
    int outputFd_ = -1;
    Outcome outcome_ = Outcome::kRunning;
    int exitCode_ = 0;
    int signal_ = 0;
    std::string output_;
    Clock::time_point started_;
    Clock::time_point lastData_;
};

}  // namespace vorn
