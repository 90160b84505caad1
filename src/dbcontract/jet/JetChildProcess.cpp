#include "dbcontract/jet/JetChildProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr std::size_t kOutputKept = 8192;
constexpr int kChildFailedCode = 70;

// The address space this process uses now, in bytes.
std::size_t CurrentAddressSpace() {
    std::FILE* statm = std::fopen("/proc/self/statm", "r");
    if (statm == nullptr) return 0;
    unsigned long pages = 0;
    if (std::fscanf(statm, "%lu", &pages) != 1) pages = 0;
    std::fclose(statm);
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

void SetLimit(int resource, rlim_t value) {
    const rlimit limit{value, value};
    setrlimit(resource, &limit);  // a limit that cannot be set leaves the other guards in place
}

void CloseFd(int& fd) {
    if (fd >= 0) close(fd);
    fd = -1;
}

}  // namespace

JetChildProcess::JetChildProcess(const std::function<int(int fd)>& work, const JetChildLimits& limits)
    : limits_(limits) {
    Start(work);
}

JetChildProcess::~JetChildProcess() {
    if (outcome_ == Outcome::kRunning && pid_ > 0) Kill();
    CloseFd(dataFd_);
    CloseFd(outputFd_);
}

void JetChildProcess::Start(const std::function<int(int fd)>& work) {
    int data[2];
    int output[2];
    if (pipe2(data, O_CLOEXEC) != 0) {
        throw VornError(errnum::kJetDatabaseDamaged, "DAO.DBEngine", "Cannot start the file reader: no pipe.");
    }
    if (pipe2(output, O_CLOEXEC) != 0) {
        close(data[0]);
        close(data[1]);
        throw VornError(errnum::kJetDatabaseDamaged, "DAO.DBEngine", "Cannot start the file reader: no pipe.");
    }
    // Buffered output of this process would otherwise be written twice.
    std::fflush(nullptr);
    started_ = lastData_ = Clock::now();
    pid_ = fork();
    if (pid_ == 0) {
        close(data[0]);
        close(output[0]);
        RunChild(work, data[1], output[1]);
    }
    close(data[1]);
    close(output[1]);
    dataFd_ = data[0];
    outputFd_ = output[0];
    if (pid_ < 0) {
        CloseFd(dataFd_);
        CloseFd(outputFd_);
        throw VornError(errnum::kJetDatabaseDamaged, "DAO.DBEngine", "Cannot start the file reader: no process.");
    }
    fcntl(dataFd_, F_SETFL, O_NONBLOCK);
    fcntl(outputFd_, F_SETFL, O_NONBLOCK);
}

void JetChildProcess::RunChild(const std::function<int(int fd)>& work, int dataFd, int outputFd) {
    // The child must not outlive a parent that died, and must never read
    // the terminal or print to it.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int devNull = open("/dev/null", O_RDONLY);
    if (devNull >= 0) dup2(devNull, STDIN_FILENO);
    dup2(outputFd, STDOUT_FILENO);
    dup2(outputFd, STDERR_FILENO);
    std::signal(SIGPIPE, SIG_DFL);
    SetLimit(RLIMIT_CORE, 0);
    SetLimit(RLIMIT_AS, CurrentAddressSpace() + limits_.memoryBytes);
    if (limits_.totalTimeout.count() > 0) {
        // A backstop for the CPU alone; the parent's clock is the real limit.
        SetLimit(RLIMIT_CPU, static_cast<rlim_t>(limits_.totalTimeout.count() / 1000 + 2));
    }
    int code = kChildFailedCode;
    try {
        code = work(dataFd);
    } catch (...) {
        code = kChildFailedCode;
    }
    std::fflush(stdout);
    std::fflush(stderr);
    _exit(code);
}

JetChildProcess::Clock::time_point JetChildProcess::Deadline() const {
    Clock::time_point deadline = lastData_ + limits_.idleTimeout;
    if (limits_.totalTimeout.count() > 0) deadline = std::min(deadline, started_ + limits_.totalTimeout);
    return deadline;
}

bool JetChildProcess::WaitForData() {
    while (true) {
        const auto now = Clock::now();
        const auto deadline = Deadline();
        if (now >= deadline) return false;
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(deadline - now);
        pollfd fds[2] = {{dataFd_, POLLIN, 0}, {outputFd_, POLLIN, 0}};
        const int count = outputFd_ >= 0 ? 2 : 1;
        const int ready = poll(fds, static_cast<nfds_t>(count), static_cast<int>(std::min<long long>(wait.count(), 60'000)));
        if (ready < 0 && errno != EINTR) return false;
        if (count == 2 && fds[1].revents != 0) DrainOutput();
        if (fds[0].revents != 0) return true;
    }
}

void JetChildProcess::DrainOutput() {
    char buffer[4096];
    while (outputFd_ >= 0) {
        const ssize_t n = read(outputFd_, buffer, sizeof buffer);
        if (n > 0) {
            output_.append(buffer, static_cast<std::size_t>(n));
            if (output_.size() > 2 * kOutputKept) output_.erase(0, output_.size() - kOutputKept);
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno == EAGAIN) return;
        CloseFd(outputFd_);
    }
}

std::size_t JetChildProcess::Read(std::span<std::uint8_t> buffer) {
    while (dataFd_ >= 0) {
        const ssize_t n = read(dataFd_, buffer.data(), buffer.size());
        if (n > 0) {
            lastData_ = Clock::now();
            return static_cast<std::size_t>(n);
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno == EAGAIN) {
            if (WaitForData()) continue;
            outcome_ = Outcome::kTimedOut;
            Kill();
        }
        CloseFd(dataFd_);
    }
    return 0;
}

JetChildProcess::Outcome JetChildProcess::Finish() {
    CloseFd(dataFd_);
    if (outcome_ != Outcome::kRunning) return outcome_;
    // The child closes its output as it exits; wait for that, then reap it.
    lastData_ = Clock::now();
    while (outputFd_ >= 0) {
        pollfd fd{outputFd_, POLLIN, 0};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(Deadline() - Clock::now());
        if (left.count() <= 0) break;
        if (poll(&fd, 1, static_cast<int>(std::min<long long>(left.count(), 60'000))) > 0) DrainOutput();
    }
    while (outcome_ == Outcome::kRunning && Clock::now() < Deadline()) {
        Reap(false);
        if (outcome_ == Outcome::kRunning) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    if (outcome_ == Outcome::kRunning) {
        outcome_ = Outcome::kTimedOut;
        Kill();
    }
    return outcome_;
}

void JetChildProcess::Kill() {
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    const Outcome before = outcome_;
    Reap(true);
    if (before == Outcome::kTimedOut) outcome_ = Outcome::kTimedOut;
}

void JetChildProcess::Reap(bool block) {
    if (pid_ <= 0) return;
    int status = 0;
    pid_t done = 0;
    do {
        done = waitpid(pid_, &status, block ? 0 : WNOHANG);
    } while (done < 0 && errno == EINTR);
    if (done == 0) return;
    pid_ = -1;
    if (done < 0) {
        outcome_ = Outcome::kCrashed;
    } else if (WIFEXITED(status)) {
        exitCode_ = WEXITSTATUS(status);
        outcome_ = Outcome::kExited;
    } else {
        signal_ = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
        outcome_ = Outcome::kCrashed;
    }
}

}  // namespace vorn
