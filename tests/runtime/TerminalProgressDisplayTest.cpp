#include "runtime/TerminalProgressDisplay.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/TestSupport.h"

namespace vorn {
namespace {

using testing::ScreenLines;

// A pseudo-terminal in this process: the display writes to the slave, the
// test reads what a person would see from the master.
class PseudoTerminal {
public:
    PseudoTerminal() {
        winsize size{};
        size.ws_row = 24;
        size.ws_col = 80;
        if (openpty(&master_, &slave_, nullptr, nullptr, &size) != 0) throw std::runtime_error("openpty");
        out_ = fdopen(dup(slave_), "w");
    }
    ~PseudoTerminal() {
        std::fclose(out_);
        close(slave_);
        close(master_);
    }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    std::FILE* out() const { return out_; }

    void SetColumns(unsigned short columns) const {
        winsize size{};
        size.ws_row = 24;
        size.ws_col = columns;
        ioctl(slave_, TIOCSWINSZ, &size);
    }

    // Everything written so far. A marker sent behind it tells when all of
    // it has come through; the wait is only a guard against a hang.
    std::string Drain() {
        constexpr char kMarker = '\x1f';
        if (write(slave_, &kMarker, 1) != 1) return seen_;
        char buffer[512];
        pollfd ready{master_, POLLIN, 0};
        while (poll(&ready, 1, 10000) > 0) {
            const ssize_t n = read(master_, buffer, sizeof buffer);
            if (n <= 0) break;
            const std::string chunk(buffer, static_cast<std::size_t>(n));
            const std::size_t end = chunk.find(kMarker);
            seen_ += chunk.substr(0, end);
            if (end != std::string::npos) break;
        }
        return seen_;
    }

private:
    int master_ = -1;
    int slave_ = -1;
    std::FILE* out_ = nullptr;
    std::string seen_;
};

// The SIGINT handler of the test process, put back after each test.
class SigintGuard {
public:
    SigintGuard() { sigaction(SIGINT, nullptr, &saved_); }
    ~SigintGuard() { sigaction(SIGINT, &saved_, nullptr); }
    SigintGuard(const SigintGuard&) = delete;
    SigintGuard& operator=(const SigintGuard&) = delete;

private:
    struct sigaction saved_ {};
};

volatile std::sig_atomic_t g_testHandlerCalls = 0;
void CountingHandler(int) { g_testHandlerCalls = g_testHandlerCalls + 1; }

void SetSigint(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
}

void ShowCopying(TerminalProgressDisplay& display, std::int16_t percent, const std::string& caption) {
    display.Show("Copying");
    display.ProgressBarVisible(true);
    display.FloodPercent(percent);
    display.FloodCaption(caption);
}

TEST(TerminalProgressDisplay, OnATerminalOneLineShowsBarPercentageTimeAndTextsUntilClosed) {
    PseudoTerminal tty;
    TerminalProgressDisplay display(tty.out());
    ShowCopying(display, 40, "40% (01:30 remaining)");
    display.ProgressText("Table POINT");
    display.ProgressText2("1 of 3");

    std::vector<std::string> seen = ScreenLines(tty.Drain());
    ASSERT_EQ(seen.size(), 1u) << "redrawn in place, never scrolled";
    const std::string& line = seen[0];
    EXPECT_EQ(line.rfind("Copying", 0), 0u);
    EXPECT_NE(line.find("[########............]"), std::string::npos) << line;
    EXPECT_NE(line.find("40% (01:30 remaining)"), std::string::npos) << line;
    EXPECT_NE(line.find("Table POINT"), std::string::npos) << line;
    EXPECT_NE(line.find("1 of 3"), std::string::npos) << line;

    display.FloodPercent(100);
    display.FloodCaption("100% (00:00 remaining)");
    seen = ScreenLines(tty.Drain());
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_NE(seen[0].find("[####################] 100% (00:00 remaining)"), std::string::npos) << seen[0];

    display.Close();
    EXPECT_TRUE(ScreenLines(tty.Drain()).empty()) << "the bar leaves no trace";
}

TEST(TerminalProgressDisplay, TheLineIsCutToTheTerminalWidth) {
    PseudoTerminal tty;
    tty.SetColumns(30);
    TerminalProgressDisplay display(tty.out());
    ShowCopying(display, 50, "50% (00:10 remaining)");
    display.ProgressText("A table with a rather long name indeed");
    const std::vector<std::string> seen = ScreenLines(tty.Drain());
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].size(), 29u) << seen[0];
}

TEST(TerminalProgressDisplay, CtrlCWhileShownIsOneAbortRequestAndAfterCloseItsOldMeaningIsBack) {
    const SigintGuard guard;
    SetSigint(CountingHandler);
    g_testHandlerCalls = 0;
    PseudoTerminal tty;
    TerminalProgressDisplay display(tty.out());
    EXPECT_EQ(display.TakeRequest(), ProgressRequest::kNone);

    ShowCopying(display, 10, "10%");
    std::raise(SIGINT);
    EXPECT_EQ(g_testHandlerCalls, 0) << "the display takes Ctrl-C while shown";
    EXPECT_EQ(display.TakeRequest(), ProgressRequest::kAbort);
    EXPECT_EQ(display.TakeRequest(), ProgressRequest::kNone) << "handed over once";

    display.Close();
    std::raise(SIGINT);
    EXPECT_EQ(g_testHandlerCalls, 1);
    EXPECT_EQ(display.TakeRequest(), ProgressRequest::kNone);
}

TEST(TerminalProgressDisplay, CtrlCThatTheProcessIgnoresStaysIgnored) {
    const SigintGuard guard;
    SetSigint(SIG_IGN);
    PseudoTerminal tty;
    TerminalProgressDisplay display(tty.out());
    ShowCopying(display, 10, "10%");
    std::raise(SIGINT);
    EXPECT_EQ(display.TakeRequest(), ProgressRequest::kNone);
    struct sigaction current {};
    sigaction(SIGINT, nullptr, &current);
    EXPECT_EQ(current.sa_handler, SIG_IGN);
}

TEST(TerminalProgressDisplayDeathTest, SecondCtrlCEndsTheProgramWith130OnACleanLine) {
    PseudoTerminal tty;
    EXPECT_EXIT(
        {
            TerminalProgressDisplay display(tty.out());
            ShowCopying(display, 30, "30% (02:00 remaining)");
            std::raise(SIGINT);
            std::raise(SIGINT);
            std::_Exit(0);
        },
        ::testing::ExitedWithCode(130), "");
    EXPECT_TRUE(ScreenLines(tty.Drain()).empty()) << "the bar was drawn and then wiped";
    EXPECT_NE(tty.Drain().find("30% (02:00 remaining)"), std::string::npos);
}

// What a display writes into a plain file while `use` drives it.
std::string WrittenIntoAFile(const std::function<void(TerminalProgressDisplay&)>& use) {
    const testing::TempFolder folder;
    const auto path = folder / "progress.log";
    std::FILE* file = std::fopen(path.c_str(), "w");
    if (file == nullptr) throw std::runtime_error("cannot open " + path.string());
    {
        TerminalProgressDisplay display(file);
        use(display);
        display.Close();
    }
    std::fclose(file);
    return testing::ReadFile(path);
}

TEST(TerminalProgressDisplay, IntoAFileWritesPlainLinesAtEachTenthAndEachText) {
    const SigintGuard guard;
    SetSigint(SIG_DFL);
    const std::string text = WrittenIntoAFile([](TerminalProgressDisplay& display) {
        display.Show("Copying");
        struct sigaction current {};
        sigaction(SIGINT, nullptr, &current);
        EXPECT_EQ(current.sa_handler, SIG_DFL) << "Ctrl-C is only taken over on a terminal";
        display.ProgressBarVisible(true);
        display.ProgressText("Table POINT");
        for (int percent = 0; percent <= 100; percent += 5) {
            display.FloodPercent(static_cast<std::int16_t>(percent));
            display.FloodCaption(std::to_string(percent) + "%");
        }
        display.ProgressText("Table POINT");  // unchanged: no new line
    });
    EXPECT_EQ(text.find_first_of("\r\033"), std::string::npos);
    EXPECT_EQ(text,
              "Copying\nTable POINT\nCopying: 0%\nCopying: 10%\nCopying: 20%\nCopying: 30%\n"
              "Copying: 40%\nCopying: 50%\nCopying: 60%\nCopying: 70%\nCopying: 80%\n"
              "Copying: 90%\nCopying: 100%\n");
}

TEST(TerminalProgressDisplay, IntoAFileTextsSetBeforeShowFollowTheTitle) {
    // The progress interface sets the first line (its label) before it opens the display.
    EXPECT_EQ(WrittenIntoAFile([](TerminalProgressDisplay& display) {
                  display.ProgressLabel(true);
                  display.ProgressText("Working");
                  display.ProgressText2("step 1");
                  display.Show("Upsize");
                  display.ProgressText("Table POINT");
              }),
              "Upsize\nWorking\n  step 1\nTable POINT\n");
}

}  // namespace
}  // namespace vorn
