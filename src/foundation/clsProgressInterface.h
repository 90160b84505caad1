#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/ProgressDisplay.h"

namespace vorn {

// The events that the progress interface raises to the host. None has
// arguments.
enum class ProgressEvent { kAbort, kCancelProcess, kClearAbort, kRequestPropertiesUpdate };

// A host window by its handle, 0 for none: the owner of the progress window.
using WindowHandle = std::uintptr_t;

// What long work talks to: a percentage with the time remaining, two text
// lines and an abort button, and whether the user asked to stop. The display
// comes from Ui().MakeProgressDisplay() when the window opens
// (ShowProgressInit) and is dropped when it closes (ShowProgressEnd).
//
// Silent switches everything off: every setter but Silent and ServerMode is
// ignored and Abort reads false. ScriptMode keeps one window across the
// processes of a script and turns the percentage off.
//
// Who sets Abort. The host learns of the user's abort through the Abort event
// and answers by setting Abort (there, or when RequestPropertiesUpdate asks
// it to set its properties again); that is how the work learns of it. When no
// one subscribed to the Abort event, the interface is its own host: Abort
// (TriggerAbort, an abort button, Ctrl-C) sets Abort, and ClearAbort clears
// it, so that work run without a host (the command line) still stops.
// CancelProcess has no such stand-in: without a host it is only remembered by
// the display.
//
// Requests of the user (buttons, Ctrl-C) reach the work only at the yields:
// CheckCancel and each display update of ProgressBarIncFnB.
class clsProgressInterface {
public:
    using Handler = std::function<void()>;
    using SubscriptionId = std::int32_t;
    // Seconds since midnight, the clock of the remaining-time estimate.
    using Clock = std::function<double()>;

    clsProgressInterface();
    ~clsProgressInterface();
    clsProgressInterface(const clsProgressInterface&) = delete;
    clsProgressInterface& operator=(const clsProgressInterface&) = delete;

    // The host's side of the events. Handlers run in the order of
    // subscription and may call back into the interface.
    SubscriptionId Subscribe(ProgressEvent event, Handler handler);
    void Unsubscribe(SubscriptionId id);

    // Replaces the clock (tests); an empty function restores the real one.
    void SetClock(Clock clock);

    void ServerMode(bool value) { serverMode_ = value; }
    bool ServerMode() const { return serverMode_; }
    void Silent(bool value) { silent_ = value; }
    bool Silent() const { return silent_; }
    void IOExport(bool value);
    void ScriptMode(bool value);
    void CommandLineScript(bool value);
    void DialogCaption(std::string_view caption);
    void DefaultOwner(WindowHandle owner);

    bool Abort() const { return !silent_ && abort_; }
    void Abort(bool value);
    bool Running() const { return running_; }

    // The window title, and back to the title given to ShowProgressInit.
    void Caption(std::string_view caption);
    void CaptionRestore();

    // Yields to the event queue (unless IOExport) and answers whether the work
    // should stop now.
    bool CheckCancel();

    // Starts a bar of `plNumEle` elements; 0 or less leaves no bar.
    void ProgressBarInit(std::int32_t plNumEle);
    // One element more, or `plTotalThusFar` of the total when not 0. True
    // when the work should stop (always while Silent).
    bool ProgressBarIncFnB(std::int32_t plTotalThusFar = 0);

    void ProgressBarVisible(bool visible);
    void ProgressLabel(bool visible);
    void ProgressLabel2(bool visible);
    std::string ProgressText() const;
    void ProgressText(std::string_view text);
    std::string ProgressText2() const { return text2_; }
    void ProgressText2(std::string_view text);

    // Opens the window, or retitles it when it runs already. `pfrmCaller`
    // becomes its owner unless `pbNoParents` or CommandLineScript.
    void ShowProgressInit(std::string_view psCaption, bool pbShowCmdAbort = true,
                          WindowHandle* pfrmCaller = nullptr, bool pbSuppressProgressLabel = false,
                          bool pbNoParents = false);
    // Closes the window; in ScriptMode only at the end of the script.
    void ShowProgressEnd(bool pbScriptEnd = false);

    void TriggerAbort();
    void TriggerCancelProcess();

private:
    struct Subscription {
        SubscriptionId id;
        ProgressEvent event;
        std::shared_ptr<const Handler> handler;
    };

    // Calls the handlers of `event`; false when there were none.
    bool Raise(ProgressEvent event);
    void RaiseClearAbort();
    void YieldToEvents();
    void ServeRequest(ProgressRequest request);
    void ShowFirstLine(const std::string& text);
    bool Advance(std::int32_t totalThusFar);
    void ShowPercent();

    std::vector<Subscription> subscriptions_;
    SubscriptionId nextSubscription_ = 1;
    Clock clock_;
    std::unique_ptr<ProgressDisplay> display_;

    bool abort_ = false;
    bool commandLineScript_ = false;
    bool ioExport_ = false;
    bool scriptMode_ = false;
    bool serverMode_ = false;
    bool silent_ = false;
    bool running_ = false;
    WindowHandle defaultOwner_ = 0;
    WindowHandle owner_ = 0;
    std::string dialogCaption_;
    std::string restoreCaption_;
    std::string text1_;
    std::string text2_;

    std::int32_t total_ = 0;
    std::int32_t step_ = 0;   // elements per display update; 0: no bar
    std::int32_t count_ = 0;  // elements done, or the last whole percentage
    float percent_ = 0;
    float percentStep_ = 0;
    float startTime_ = 0;  // seconds since midnight
};

// The session's progress interface.
clsProgressInterface& Progress();

}  // namespace vorn
