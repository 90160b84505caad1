#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vorn {

// A request that the user made on a progress display and that the work
// learns of when it yields (CheckCancel, ProgressBarIncFnB).
enum class ProgressRequest { kNone, kAbort, kCancelProcess };

// What long work shows: a gauge with a percentage and remaining time, two
// text lines, an abort button and, in script runs, a second button that
// cancels the current process. The progress interface drives a display only
// through these operations, so any display, or none, can serve it.
class ProgressDisplay {
public:
    virtual ~ProgressDisplay() = default;
    ProgressDisplay() = default;
    ProgressDisplay(const ProgressDisplay&) = delete;
    ProgressDisplay& operator=(const ProgressDisplay&) = delete;

    // Opens the display with a title; `Close` ends it.
    virtual void Show(std::string_view title) = 0;
    virtual void Close() = 0;
    virtual void SetTitle(std::string_view title) = 0;

    virtual void Reset() = 0;
    // True once the second button was used.
    virtual bool CancelProcess() const = 0;
    virtual void CancelProcessButtonVisible(bool visible) = 0;
    virtual void AbortButtonVisible(bool visible) = 0;
    virtual void AbortCaption(std::string_view caption) = 0;
    virtual void FloodPercent(std::int16_t percent) = 0;
    virtual void FloodCaption(std::string_view caption) = 0;
    virtual void FloodZorder(std::int16_t order) = 0;
    virtual void ProgressBarVisible(bool visible) = 0;
    virtual void ProgressLabel(bool visible) = 0;
    virtual void ProgressLabel2(bool visible) = 0;
    virtual void ProgressText(std::string_view text) = 0;
    virtual void ProgressText2(std::string_view text) = 0;
    virtual void RepositionControlsForSingleProcess(std::string_view abortCaption) = 0;

    // The yield to the event queue: hands over the oldest request the user
    // made since the last call (a button, or Ctrl-C on a terminal), once.
    virtual ProgressRequest TakeRequest() = 0;
};

}  // namespace vorn
