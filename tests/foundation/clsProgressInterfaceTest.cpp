#include "foundation/clsProgressInterface.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "FoundationTestHelpers.h"
#include "runtime/SessionSlot.h"
#include "runtime/TerminalUserInterface.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

constexpr char kTexts[] = "3438\tAborting...\n4397\tWorking\n4398\tremaining\n10001\tCancel\n10002\tAbort script\n";

// A session with the progress interface, a text table and a recording user
// interface, and a clock that the test sets.
class ProgressInterfaceTest : public ::testing::Test {
protected:
    void SetUp() override {
        SessionSlot<clsProgressInterface>::Make(std::make_unique<clsProgressInterface>());
        Progress().SetClock([this] { return now_; });
    }
    void TearDown() override { SessionSlot<clsProgressInterface>::ResetForTests(); }

    // The display of the last window opened.
    StoredProgressDisplay& Display() {
        if (ui_->Displays().empty()) throw std::logic_error("no progress display was made");
        return *ui_->Displays().back();
    }

    // Opens the window and starts a bar of `elements` at the current time.
    void StartBar(std::int32_t elements) {
        Progress().ShowProgressInit("Copying");
        Progress().ProgressBarInit(elements);
    }

    // Records the events raised, by name, in order, in events_.
    void RecordEvents() {
        std::vector<std::string>* events = &events_;
        const std::pair<ProgressEvent, const char*> names[] = {
            {ProgressEvent::kAbort, "Abort"},
            {ProgressEvent::kCancelProcess, "CancelProcess"},
            {ProgressEvent::kClearAbort, "ClearAbort"},
            {ProgressEvent::kRequestPropertiesUpdate, "RequestPropertiesUpdate"}};
        for (const auto& [event, name] : names) {
            Progress().Subscribe(event, [events, name = std::string(name)] { events->push_back(name); });
        }
    }

    testing::RecordedUi ui_;
    testing::SessionTexts texts_{kTexts};
    double now_ = 36000;
    std::vector<std::string> events_;
};

// ---- The bar -------------------------------------------------------------

TEST_F(ProgressInterfaceTest, BarMovesOnceAStepByThePercentStep) {
    // (elements, increments, the gauge afterwards, its caption up to the time part)
    const std::tuple<std::int32_t, int, std::int16_t, std::string> cases[] = {
        {50, 1, 2, "2% ("},        // step 1, 2 points a step
        {250, 1, 0, "0%"},         // step 2: no update after one element
        {250, 2, 1, "1% ("},       // 0.8 points, shown rounded
        {250, 250, 100, "100% ("},
        {40, 3, 8, "8% ("},        // 7.5 rounds to the even 8
        {7, 7, 100, "100% ("},     // 7 x 14.2857 lands on 100, whatever the float error
        {3, 5, 100, "100% ("},     // past the end: capped
    };
    for (const auto& [elements, increments, percent, caption] : cases) {
        SCOPED_TRACE("elements " + std::to_string(elements) + ", increments " + std::to_string(increments));
        StartBar(elements);
        for (int i = 0; i < increments; ++i) EXPECT_FALSE(Progress().ProgressBarIncFnB());
        EXPECT_TRUE(Display().progressBarVisible);
        EXPECT_EQ(Display().floodPercent, percent);
        EXPECT_EQ(Display().floodCaption.substr(0, caption.size()), caption) << Display().floodCaption;
        Progress().ShowProgressEnd();
    }
}

TEST_F(ProgressInterfaceTest, ByTotalTheGaugeMovesOnlyWhenTheWholePercentGrows) {
    StartBar(200);
    Progress().ProgressBarIncFnB(50);
    EXPECT_EQ(Display().floodPercent, 25);
    Display().floodCaption.clear();
    Progress().ProgressBarIncFnB(50);
    Progress().ProgressBarIncFnB(51);  // 25.5 rounds to 26: a new whole percent
    EXPECT_EQ(Display().floodPercent, 26);
    Display().floodCaption.clear();
    Progress().ProgressBarIncFnB(20);  // backwards: nothing
    EXPECT_EQ(Display().floodPercent, 26);
    EXPECT_EQ(Display().floodCaption, "");
}

TEST_F(ProgressInterfaceTest, NoElementsOrNoWindowLeaveNoBar) {
    for (const std::int32_t elements : {0, -5}) {
        StartBar(elements);
        EXPECT_FALSE(Display().progressBarVisible);
        EXPECT_FALSE(Progress().ProgressBarIncFnB());
        EXPECT_FALSE(Progress().ProgressBarIncFnB(3));
        EXPECT_EQ(Display().floodCaption, "");
        Progress().ShowProgressEnd();
    }
    Progress().ProgressBarInit(10);  // no window
    EXPECT_FALSE(Progress().ProgressBarIncFnB());

    Progress().ScriptMode(true);
    Progress().DialogCaption("Script");
    StartBar(10);
    EXPECT_FALSE(Progress().ProgressBarIncFnB());
    EXPECT_FALSE(Display().progressBarVisible);
}

TEST_F(ProgressInterfaceTest, CaptionShowsTheRemainingTime) {
    // (seconds elapsed, elements of 100 done, caption)
    const std::tuple<double, std::int32_t, std::string> cases[] = {
        {60, 40, "40% (01:30 remaining)"},
        {3599, 50, "50% (59:59 remaining)"},
        {3909, 50, "50% (1:05:09 remaining)"},     // hours from one hour on
        {3599.5, 50, "50% (1:00:00 remaining)"},   // 3599.5 rounds to the even 3600
        {30.5, 50, "50% (00:30 remaining)"},       // halves go to the even second
        {45000, 10, "10% (112:30:00 remaining)"},  // hours are not cut to two digits
    };
    for (const auto& [elapsed, done, caption] : cases) {
        now_ = 36000;
        StartBar(100);
        now_ = 36000 + elapsed;
        Progress().ProgressBarIncFnB(done);
        EXPECT_EQ(Display().floodCaption, caption);
        Progress().ShowProgressEnd();
    }
}

// ---- Silent, script mode, window -----------------------------------------

TEST_F(ProgressInterfaceTest, SilentShowsNothingAndAsksToStopButReadsNoAbort) {
    RecordEvents();
    Progress().Abort(true);
    Progress().Silent(true);
    EXPECT_FALSE(Progress().Abort());
    EXPECT_TRUE(Progress().ProgressBarIncFnB());
    EXPECT_FALSE(Progress().CheckCancel());

    Progress().ShowProgressInit("Copying");
    EXPECT_TRUE(ui_->Displays().empty());
    EXPECT_FALSE(Progress().Running());
    // The host is still asked for its properties, so it can turn Silent off.
    EXPECT_EQ(events_, std::vector<std::string>{"RequestPropertiesUpdate"});
    Progress().TriggerAbort();
    Progress().TriggerCancelProcess();
    EXPECT_EQ(events_.size(), 1u) << "no Abort or CancelProcess while Silent";

    Progress().Silent(false);
    EXPECT_TRUE(Progress().Abort()) << "kept underneath";
}

TEST_F(ProgressInterfaceTest, SettersAreIgnoredWhileSilent) {
    Progress().Silent(true);
    Progress().Abort(true);
    Progress().ScriptMode(true);
    Progress().IOExport(true);
    Progress().Silent(false);
    EXPECT_FALSE(Progress().Abort());
    StartBar(50);
    EXPECT_TRUE(Display().singleProcessLayout) << "ScriptMode stayed off";
    Display().PushRequest(ProgressRequest::kAbort);
    EXPECT_TRUE(Progress().CheckCancel()) << "IOExport stayed off";
}

TEST_F(ProgressInterfaceTest, ScriptModeKeepsOneWindowUntilTheScriptEnds) {
    Progress().ScriptMode(true);
    Progress().DialogCaption("Nightly script");
    Progress().ShowProgressInit("Upsize A");
    StoredProgressDisplay& display = Display();
    EXPECT_EQ(display.title, "Nightly script");
    EXPECT_TRUE(display.cancelProcessButtonVisible);
    EXPECT_EQ(display.abortCaption, "Abort script");
    EXPECT_FALSE(display.singleProcessLayout);

    Progress().ShowProgressEnd();
    EXPECT_TRUE(Progress().Running());
    EXPECT_TRUE(display.shown);
    Progress().ShowProgressInit("Upsize B");
    EXPECT_EQ(ui_->Displays().size(), 1u) << "the same window serves the next process";

    Progress().ShowProgressEnd(true);
    EXPECT_FALSE(Progress().Running());
    EXPECT_FALSE(display.shown);
}

TEST_F(ProgressInterfaceTest, SingleProcessWindowTakesItsCaptionAndLabelAndTextsNeedIt) {
    Progress().ProgressText("too early");
    EXPECT_EQ(Progress().ProgressText(), "");
    Progress().ShowProgressInit("Copying", false);
    StoredProgressDisplay& display = Display();
    EXPECT_EQ(display.title, "Copying");
    EXPECT_EQ(display.abortCaption, "Cancel");
    EXPECT_FALSE(display.abortButtonVisible);
    EXPECT_TRUE(display.label1Visible);
    EXPECT_EQ(display.text1, "Working");
    EXPECT_EQ(Progress().ProgressText(), "Working");

    Progress().Caption("Copying SAMPLE");
    EXPECT_EQ(display.title, "Copying SAMPLE");
    Progress().CaptionRestore();
    EXPECT_EQ(display.title, "Copying");
    Progress().ProgressText("Table POINT");
    Progress().ProgressText2("source 1");
    EXPECT_EQ(display.text2, "source 1");
    Progress().ShowProgressEnd();
    EXPECT_EQ(Progress().ProgressText(), "");
    Progress().ProgressText("too late");
    EXPECT_EQ(display.text1, "Table POINT");

    Progress().ShowProgressInit("Finalizing", true, nullptr, true);
    EXPECT_FALSE(Display().label1Visible);
    EXPECT_EQ(Display().text1, "");
}

TEST_F(ProgressInterfaceTest, EventsOfOpeningAndClosingComeInTheirOrder) {
    RecordEvents();
    Progress().ShowProgressInit("Copying");
    Progress().ProgressBarInit(10);
    Progress().ProgressBarIncFnB();
    Progress().ShowProgressEnd();
    EXPECT_EQ(events_, (std::vector<std::string>{"RequestPropertiesUpdate", "ClearAbort",
                                                 "RequestPropertiesUpdate", "ClearAbort"}));
}

// ---- Abort ---------------------------------------------------------------

TEST_F(ProgressInterfaceTest, WithoutAHostTheAbortButtonStopsTheWork) {
    StartBar(50);
    Progress().ProgressText("Table POINT");
    EXPECT_FALSE(Progress().CheckCancel());
    Display().PushRequest(ProgressRequest::kAbort);
    EXPECT_TRUE(Progress().CheckCancel());
    EXPECT_TRUE(Progress().Abort());
    EXPECT_EQ(Display().text1, "Aborting...");

    Progress().ProgressText("Table SAMPLE");
    Progress().ProgressText2("source 2");
    EXPECT_EQ(Display().text1, "Aborting...") << "the display keeps saying that it aborts";
    EXPECT_EQ(Display().text2, "");
    EXPECT_EQ(Progress().ProgressText(), "Aborting...");

    Progress().ShowProgressEnd();
    EXPECT_FALSE(Progress().Abort()) << "cleared with the window";
}

TEST_F(ProgressInterfaceTest, TheIncrementAnswersWithTheAbortKnownBeforeItsYieldAtADisplayUpdate) {
    StartBar(50);
    Display().PushRequest(ProgressRequest::kAbort);
    EXPECT_FALSE(Progress().ProgressBarIncFnB()) << "the request is served after the answer was read";
    EXPECT_TRUE(Progress().ProgressBarIncFnB());
    Progress().ShowProgressEnd();

    StartBar(1000);  // step 10: requests wait for a display update of the increment
    Display().PushRequest(ProgressRequest::kAbort);
    for (int i = 0; i < 9; ++i) Progress().ProgressBarIncFnB();
    EXPECT_FALSE(Progress().Abort());
    Progress().ProgressBarIncFnB();
    EXPECT_TRUE(Progress().Abort());
}

TEST_F(ProgressInterfaceTest, AHostLearnsOfTheAbortAndSetsItThroughItsHandlers) {
    bool hostAborted = false;
    Progress().Subscribe(ProgressEvent::kAbort, [&] { hostAborted = true; });
    Progress().Subscribe(ProgressEvent::kClearAbort, [&] { hostAborted = false; });
    Progress().Subscribe(ProgressEvent::kRequestPropertiesUpdate, [&] { Progress().Abort(hostAborted); });
    StartBar(50);
    Display().PushRequest(ProgressRequest::kAbort);
    EXPECT_FALSE(Progress().Abort()) << "nothing served yet";
    EXPECT_TRUE(Progress().CheckCancel());
    EXPECT_TRUE(hostAborted);
    Progress().ShowProgressEnd();
    EXPECT_FALSE(Progress().CheckCancel());
}

TEST_F(ProgressInterfaceTest, CancelProcessIsRaisedAndRememberedButDoesNotAbort) {
    RecordEvents();
    Progress().ScriptMode(true);
    Progress().ShowProgressInit("Upsize A");
    events_.clear();
    Display().PushRequest(ProgressRequest::kCancelProcess);
    EXPECT_FALSE(Progress().CheckCancel());
    EXPECT_EQ(events_, (std::vector<std::string>{"CancelProcess", "RequestPropertiesUpdate"}));
    EXPECT_TRUE(Display().CancelProcess());
    EXPECT_EQ(Display().text1, "Aborting...");

    // All pending requests are served at one yield.
    events_.clear();
    Display().PushRequest(ProgressRequest::kCancelProcess);
    Display().PushRequest(ProgressRequest::kAbort);
    Progress().CheckCancel();
    EXPECT_EQ(events_, (std::vector<std::string>{"CancelProcess", "Abort", "RequestPropertiesUpdate"}));
}

TEST_F(ProgressInterfaceTest, IOExportLeavesRequestsPendingAndHandlersMayCloseTheWindow) {
    StartBar(50);
    Progress().IOExport(true);
    Display().PushRequest(ProgressRequest::kAbort);
    EXPECT_FALSE(Progress().CheckCancel());
    Progress().IOExport(false);
    EXPECT_TRUE(Progress().CheckCancel());
    Progress().ShowProgressEnd();

    // A handler may close the window during a yield.
    Progress().Subscribe(ProgressEvent::kAbort, [] { Progress().ShowProgressEnd(); });
    StartBar(50);
    Display().PushRequest(ProgressRequest::kAbort);
    Display().PushRequest(ProgressRequest::kAbort);
    EXPECT_FALSE(Progress().ProgressBarIncFnB());
    EXPECT_FALSE(Progress().Running());
    EXPECT_FALSE(Progress().ProgressBarIncFnB()) << "no bar after the window closed";
}

// ---- On a real terminal ----------------------------------------------------

// Reads the terminal until `until` shows up or the child closed it. The
// wait is only a guard against a hang.
bool ReadUntil(int master, std::string& seen, std::string_view until) {
    char buffer[512];
    pollfd ready{master, POLLIN, 0};
    while (until.empty() || seen.find(until) == std::string::npos) {
        if (poll(&ready, 1, 20000) <= 0) return false;
        const ssize_t n = read(master, buffer, sizeof buffer);
        if (n <= 0) return until.empty();
        seen.append(buffer, static_cast<std::size_t>(n));
    }
    return true;
}

// The work of a command line run, without a host: 40% of the bar after a
// minute, then waiting for the user to stop it. Runs in the child.
[[noreturn]] void CopyUntilStopped(double& now) {
    SetUi(std::make_unique<TerminalUserInterface>());
    clsProgressInterface& progress = Progress();
    progress.ShowProgressInit("Copying");
    progress.ProgressBarInit(10);
    now += 60;
    for (int i = 0; i < 4; ++i) progress.ProgressBarIncFnB();
    progress.ProgressText("Table POINT");
    bool stopped = false;
    for (int wait = 0; wait < 20000 && !stopped; ++wait) {
        stopped = progress.CheckCancel();
        if (!stopped) usleep(1000);
    }
    progress.ShowProgressEnd();
    std::fputs(stopped ? "stopped\n" : "went on\n", stderr);
    _exit(stopped ? 0 : 1);
}

TEST_F(ProgressInterfaceTest, OnATerminalTheUserSeesTheBarAndStopsTheWorkWithCtrlC) {
    int master = -1;
    const pid_t child = forkpty(&master, nullptr, nullptr, nullptr);
    ASSERT_GE(child, 0);
    if (child == 0) CopyUntilStopped(now_);

    std::string seen;
    const bool barShown = ReadUntil(master, seen, "Table POINT");
    const std::vector<std::string> before = testing::ScreenLines(seen);
    if (barShown) {
        const char ctrlC = '\x03';
        EXPECT_EQ(write(master, &ctrlC, 1), 1);
    }
    ReadUntil(master, seen, {});
    close(master);
    int status = 0;
    waitpid(child, &status, 0);

    ASSERT_TRUE(barShown) << seen;
    ASSERT_EQ(before.size(), 1u) << seen;
    EXPECT_EQ(before[0], "Copying [########............] 40% (01:30 remaining)  Table POINT");
    EXPECT_NE(seen.find("Aborting..."), std::string::npos) << "the abort is shown";
    EXPECT_EQ(testing::ScreenLines(seen), std::vector<std::string>{"stopped"}) << "the bar leaves no trace";
    ASSERT_TRUE(WIFEXITED(status)) << status;
    EXPECT_EQ(WEXITSTATUS(status), 0) << "Ctrl-C stopped the work";
}

}  // namespace
}  // namespace vorn
