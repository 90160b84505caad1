// Work that may crash, hang or eat memory, run in a child process.

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "dbcontract/jet/JetChildProcess.h"

namespace vorn {
namespace {

using namespace std::chrono_literals;

JetChildLimits ShortLimits() {
    JetChildLimits limits;
    limits.idleTimeout = 1500ms;
    limits.memoryBytes = std::size_t{256} << 20;
    return limits;
}

std::string ReadAll(JetChildProcess& child) {
    std::string all;
    std::vector<std::uint8_t> buffer(3);
    while (const std::size_t n = child.Read(buffer)) all.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(n));
    return all;
}

void Write(int fd, const std::string& text) {
    if (write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) _exit(3);
}

TEST(JetChildProcessTest, StreamsTheResultsAndCapturesThePrinting) {
    ::testing::internal::CaptureStdout();
    JetChildProcess child(
        [](int fd) {
            std::printf("chatter on standard output\n");
            std::fprintf(stderr, "and on standard error\n");
            Write(fd, "first ");
            Write(fd, "second");
            return 0;
        },
        ShortLimits());
    EXPECT_EQ(ReadAll(child), "first second");
    EXPECT_EQ(child.Finish(), JetChildProcess::Outcome::kExited);
    EXPECT_EQ(child.ExitCode(), 0);
    EXPECT_NE(child.Output().find("chatter on standard output"), std::string::npos);
    EXPECT_NE(child.Output().find("and on standard error"), std::string::npos);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

TEST(JetChildProcessTest, ACrashIsAnOutcome) {
    JetChildProcess child(
        [](int fd) {
            Write(fd, "partial");
            std::raise(SIGSEGV);
            return 0;
        },
        ShortLimits());
    EXPECT_EQ(ReadAll(child), "partial");
    EXPECT_EQ(child.Finish(), JetChildProcess::Outcome::kCrashed);
    EXPECT_EQ(child.Signal(), SIGSEGV);
}

TEST(JetChildProcessTest, AHangIsStoppedAtTheLimit) {
    JetChildProcess child(
        [](int) {
            while (true) std::this_thread::sleep_for(10ms);
            return 0;
        },
        ShortLimits());
    EXPECT_EQ(ReadAll(child), "");
    EXPECT_EQ(child.Finish(), JetChildProcess::Outcome::kTimedOut);
}

TEST(JetChildProcessTest, APrintingLoopIsStoppedAtTheLimitToo) {
    JetChildProcess child(
        [](int) {
            while (true) std::printf("mdb_kkd_to_props: unknown\n");
            return 0;
        },
        ShortLimits());
    EXPECT_EQ(ReadAll(child), "");
    EXPECT_EQ(child.Finish(), JetChildProcess::Outcome::kTimedOut);
    EXPECT_FALSE(child.Output().empty());
}

TEST(JetChildProcessTest, MemoryBeyondTheLimitEndsTheChild) {
    JetChildProcess child(
        [](int fd) {
            std::vector<std::vector<char>> hog;
            while (true) hog.emplace_back(std::size_t{16} << 20, 'x');
            Write(fd, "never");
            return 0;
        },
        ShortLimits());
    EXPECT_EQ(ReadAll(child), "");
    const auto outcome = child.Finish();
    // The allocation fails inside the child; whatever it does then, it ends
    // without finishing its work.
    EXPECT_TRUE(outcome == JetChildProcess::Outcome::kCrashed ||
                (outcome == JetChildProcess::Outcome::kExited && child.ExitCode() != 0));
}

TEST(JetChildProcessTest, DroppingTheObjectStopsAChildStillRunning) {
    pid_t pid = 0;
    {
        int pipeFds[2];
        ASSERT_EQ(pipe(pipeFds), 0);
        JetChildProcess child(
            [&pipeFds](int) {
                const pid_t self = getpid();
                if (write(pipeFds[1], &self, sizeof self) != sizeof self) _exit(3);
                while (true) std::this_thread::sleep_for(10ms);
                return 0;
            },
            ShortLimits());
        ASSERT_EQ(read(pipeFds[0], &pid, sizeof pid), static_cast<ssize_t>(sizeof pid));
        close(pipeFds[0]);
        close(pipeFds[1]);
    }
    EXPECT_NE(kill(pid, 0), 0);  // reaped: no such process any more
}

}  // namespace
}  // namespace vorn
