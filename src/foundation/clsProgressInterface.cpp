#include "foundation/clsProgressInterface.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>

#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "runtime/SessionSlot.h"
#include "runtime/UserInterface.h"

namespace vorn {
namespace {

constexpr std::int32_t kTextAborting = 3438;
constexpr std::int32_t kTextWorking = 4397;
constexpr std::int32_t kTextRemaining = 4398;
constexpr std::int32_t kTextCancel = 10001;
constexpr std::int32_t kTextAbortScript = 10002;

// A text of the table. Without a text table the interface still runs and
// shows the mark of a missing text.
std::string Text(std::int32_t id) {
    if (!SessionSlot<CTextString>::IsMade()) return "???TextID " + std::to_string(id) + "???";
    return TextStr().TextStringGetFnS(id);
}

// Local wall-clock time as seconds since midnight, with fractions.
double SecondsSinceMidnight() {
    using std::chrono::system_clock;
    const system_clock::time_point now = system_clock::now();
    const std::time_t whole = system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&whole, &local);
    const double fraction = std::chrono::duration<double>(now - system_clock::from_time_t(whole)).count();
    return local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec + fraction;
}

// Rounds to the nearest integer, halves to the even one, kept within
// +-`limit` so that an absurd value cannot overflow.
std::int64_t RoundHalfEven(double value, double limit) {
    if (std::isnan(value)) return 0;
    return static_cast<std::int64_t>(std::nearbyint(std::clamp(value, -limit, limit)));
}

std::int32_t RoundToInteger16(double value) {
    return static_cast<std::int32_t>(RoundHalfEven(value, std::numeric_limits<std::int16_t>::max()));
}

// The last two characters of "0" + the number: "05", "42", "-1".
std::string TwoDigits(std::int64_t value) {
    const std::string text = "0" + std::to_string(value);
    return text.substr(text.size() - 2);
}

// "40% (01:30 <remaining>)", with hours only from one hour on: "1:05:09".
std::string PercentCaption(std::int32_t percent, float remaining) {
    constexpr double kLimit = 1e12;
    const std::int64_t hours = RoundHalfEven(remaining, kLimit) / 3600;
    const std::int64_t minutes = RoundHalfEven(remaining - hours * 3600.0, kLimit) / 60;
    const std::int64_t seconds = RoundHalfEven(remaining - hours * 3600.0 - minutes * 60.0, kLimit);
    std::string caption = std::to_string(percent) + "% (";
    if (hours > 0) caption += std::to_string(hours) + ":";
    return caption + TwoDigits(minutes) + ":" + TwoDigits(seconds) + " " + Text(kTextRemaining) + ")";
}

}  // namespace

clsProgressInterface::clsProgressInterface() : clock_(SecondsSinceMidnight) {}

clsProgressInterface::~clsProgressInterface() {
    if (display_) {
        display_->Close();
        RecordClassEnd("frmAbort");
    }
    RecordClassEnd("clsProgressInterface");
}

clsProgressInterface::SubscriptionId clsProgressInterface::Subscribe(ProgressEvent event, Handler handler) {
    const SubscriptionId id = nextSubscription_++;
    subscriptions_.push_back({id, event, std::make_shared<const Handler>(std::move(handler))});
    return id;
}

void clsProgressInterface::Unsubscribe(SubscriptionId id) {
    std::erase_if(subscriptions_, [id](const Subscription& s) { return s.id == id; });
}

void clsProgressInterface::SetClock(Clock clock) {
    clock_ = clock ? std::move(clock) : Clock(SecondsSinceMidnight);
}

bool clsProgressInterface::Raise(ProgressEvent event) {
    // A handler may subscribe or unsubscribe; call the ones present now.
    std::vector<std::shared_ptr<const Handler>> handlers;
    for (const Subscription& s : subscriptions_) {
        if (s.event == event) handlers.push_back(s.handler);
    }
    for (const auto& handler : handlers) (*handler)();
    return !handlers.empty();
}

// Without a host listening for Abort, the interface clears its own.
void clsProgressInterface::RaiseClearAbort() {
    Raise(ProgressEvent::kClearAbort);
    const bool hosted = std::any_of(subscriptions_.begin(), subscriptions_.end(),
                                    [](const Subscription& s) { return s.event == ProgressEvent::kAbort; });
    if (!hosted) abort_ = false;
}

void clsProgressInterface::IOExport(bool value) {
    if (!silent_) ioExport_ = value;
}

void clsProgressInterface::ScriptMode(bool value) {
    if (!silent_) scriptMode_ = value;
}

void clsProgressInterface::CommandLineScript(bool value) {
    if (!silent_) commandLineScript_ = value;
}

void clsProgressInterface::DialogCaption(std::string_view caption) {
    if (!silent_) dialogCaption_ = caption;
}

void clsProgressInterface::DefaultOwner(WindowHandle owner) {
    if (!silent_) defaultOwner_ = owner;
}

void clsProgressInterface::Abort(bool value) {
    if (!silent_) abort_ = value;
}

void clsProgressInterface::Caption(std::string_view caption) {
    if (!silent_ && display_) display_->SetTitle(caption);
}

void clsProgressInterface::CaptionRestore() {
    if (!silent_ && display_) display_->SetTitle(restoreCaption_);
}

// The yield to the event queue: the requests the user made on the display
// are served as its buttons would serve them.
void clsProgressInterface::YieldToEvents() {
    // A handler may close the window; look the display up every time.
    while (display_) {
        const ProgressRequest request = display_->TakeRequest();
        if (request == ProgressRequest::kNone) return;
        ServeRequest(request);
    }
}

void clsProgressInterface::ServeRequest(ProgressRequest request) {
    if (request == ProgressRequest::kAbort) {
        TriggerAbort();
    } else {
        TriggerCancelProcess();
    }
    // The button's own note, written past the rule that keeps the first
    // line once Abort is set.
    if (display_) ShowFirstLine(Text(kTextAborting));
}

void clsProgressInterface::ShowFirstLine(const std::string& text) {
    text1_ = text;
    display_->ProgressText(text1_);
}

bool clsProgressInterface::CheckCancel() {
    if (!ioExport_) YieldToEvents();
    if (silent_) return false;
    Raise(ProgressEvent::kRequestPropertiesUpdate);
    return Abort();
}

void clsProgressInterface::ProgressBarInit(std::int32_t plNumEle) {
    if (silent_ || scriptMode_ || !running_ || !display_) return;
    step_ = 0;
    if (plNumEle <= 0) return;
    display_->FloodPercent(0);
    display_->FloodCaption("0%");
    step_ = std::max<std::int32_t>(1, plNumEle / 100);
    percentStep_ = static_cast<float>(step_ * 100.0 / plNumEle);
    percent_ = 0;
    display_->ProgressBarVisible(true);
    startTime_ = static_cast<float>(clock_());
    display_->FloodZorder(0);
    total_ = plNumEle;
    count_ = 0;
}

bool clsProgressInterface::ProgressBarIncFnB(std::int32_t plTotalThusFar) {
    if (silent_) return true;
    if (scriptMode_ || step_ == 0) return false;
    Raise(ProgressEvent::kRequestPropertiesUpdate);
    const bool stop = Abort();
    // The host may have closed the window from its handler.
    if (!display_ || step_ == 0 || !Advance(plTotalThusFar)) return stop;
    ShowPercent();
    YieldToEvents();
    return stop;
}

// Moves the count on; true when the display is due for an update.
bool clsProgressInterface::Advance(std::int32_t totalThusFar) {
    if (totalThusFar != 0) {
        percent_ = static_cast<float>(static_cast<double>(totalThusFar) / total_ * 100.0);
        const std::int32_t whole = RoundToInteger16(percent_);
        if (whole <= count_) return false;
        count_ = whole;
        return true;
    }
    ++count_;
    // Only once a step, so that the copy loops stay fast.
    if (count_ % step_ != 0) return false;
    percent_ += percentStep_;
    return true;
}

void clsProgressInterface::ShowPercent() {
    percent_ = std::min(percent_, 100.0F);
    const std::int32_t whole = RoundToInteger16(percent_);
    display_->FloodPercent(static_cast<std::int16_t>(whole));
    // Midnight in between makes this wrong for the rest of the run; accepted.
    const float elapsed = static_cast<float>(clock_()) - startTime_;
    const float remaining = 100.0F * elapsed / percent_ - elapsed;
    display_->FloodCaption(PercentCaption(whole, remaining));
}

void clsProgressInterface::ProgressBarVisible(bool visible) {
    if (!silent_ && display_) display_->ProgressBarVisible(visible);
}

void clsProgressInterface::ProgressLabel(bool visible) {
    if (silent_ || !display_) return;
    display_->ProgressLabel(visible);
    if (visible) ShowFirstLine(Text(kTextWorking));
}

void clsProgressInterface::ProgressLabel2(bool visible) {
    if (!silent_ && display_) display_->ProgressLabel2(visible);
}

std::string clsProgressInterface::ProgressText() const { return silent_ ? std::string() : text1_; }

void clsProgressInterface::ProgressText(std::string_view text) {
    // Once the user aborted, the line keeps saying so.
    if (silent_ || !running_ || !display_ || Abort()) return;
    ShowFirstLine(std::string(text));
}

void clsProgressInterface::ProgressText2(std::string_view text) {
    if (silent_ || !running_ || !display_ || Abort()) return;
    text2_ = text;
    display_->ProgressText2(text2_);
}

void clsProgressInterface::ShowProgressInit(std::string_view psCaption, bool pbShowCmdAbort,
                                            WindowHandle* pfrmCaller, bool pbSuppressProgressLabel,
                                            bool pbNoParents) {
    Raise(ProgressEvent::kRequestPropertiesUpdate);
    if (silent_) return;
    const bool ownerless = pbNoParents || commandLineScript_;
    RaiseClearAbort();
    if (!display_) display_ = Ui().MakeProgressDisplay();
    const std::string title(scriptMode_ ? dialogCaption_ : std::string(psCaption));
    display_->SetTitle(title);
    if (scriptMode_) {
        display_->CancelProcessButtonVisible(true);
        display_->AbortCaption(Text(kTextAbortScript));
    } else {
        display_->RepositionControlsForSingleProcess(Text(kTextCancel));
    }
    ProgressLabel(!pbSuppressProgressLabel);
    display_->AbortButtonVisible(pbShowCmdAbort);
    if (running_) return;
    running_ = true;
    // The owner only places a window; a terminal display has none to place.
    owner_ = (ownerless || pfrmCaller == nullptr) ? 0 : *pfrmCaller;
    restoreCaption_ = psCaption;
    display_->Show(title);
}

void clsProgressInterface::ShowProgressEnd(bool pbScriptEnd) {
    if (silent_) return;
    // One window spans all the processes of a script.
    if (scriptMode_ && !pbScriptEnd) return;
    if (!running_) return;
    running_ = false;
    // Taken out first: a ClearAbort handler may open a new window.
    const std::unique_ptr<ProgressDisplay> closing = std::move(display_);
    if (closing) {
        closing->Close();
        RecordClassEnd("frmAbort");  // the window's name in the class end log
    }
    text1_.clear();
    text2_.clear();
    RaiseClearAbort();
    step_ = 0;
}

void clsProgressInterface::TriggerAbort() {
    if (silent_) return;
    // Without a host listening, the interface takes the abort itself.
    if (!Raise(ProgressEvent::kAbort)) abort_ = true;
}

void clsProgressInterface::TriggerCancelProcess() {
    if (!silent_) Raise(ProgressEvent::kCancelProcess);
}

clsProgressInterface& Progress() { return SessionSlot<clsProgressInterface>::Get(); }

}  // namespace vorn
