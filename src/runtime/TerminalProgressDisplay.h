#pragma once

#include <cstdio>
#include <optional>
#include <string>

#include "runtime/InterruptWatch.h"
#include "runtime/ProgressDisplay.h"

namespace vorn {

// Progress on the error stream. On a terminal it redraws one line: the
// title, a bar, the gauge's caption (percentage and time remaining) and the
// text lines. Elsewhere (a log, a pipe) it writes a plain line when a text
// changes and at every tenth of the way, so that logs stay short.
//
// On a terminal, Ctrl-C between Show and Close is an abort request that
// TakeRequest hands over; a second Ctrl-C ends the program (see
// InterruptWatch). Outside that window Ctrl-C keeps its usual meaning.
class TerminalProgressDisplay : public ProgressDisplay {
public:
    // REQUIRES: `out` stays open while the display lives.
    explicit TerminalProgressDisplay(std::FILE* out = stderr);
    ~TerminalProgressDisplay() override;

    void Show(std::string_view title) override;
    void Close() override;
    void SetTitle(std::string_view title) override;
    void Reset() override {}
    bool CancelProcess() const override { return cancelProcessUsed_; }
    void CancelProcessButtonVisible(bool) override {}
    void AbortButtonVisible(bool) override {}
    void AbortCaption(std::string_view) override {}
    void FloodPercent(std::int16_t percent) override;
    void FloodCaption(std::string_view caption) override;
    void FloodZorder(std::int16_t) override {}
    void ProgressBarVisible(bool visible) override;
    void ProgressLabel(bool visible) override { label1Visible_ = visible; }
    void ProgressLabel2(bool visible) override { label2Visible_ = visible; }
    void ProgressText(std::string_view text) override;
    void ProgressText2(std::string_view text) override;
    void RepositionControlsForSingleProcess(std::string_view) override {}
    ProgressRequest TakeRequest() override;

protected:
    // Marks that the user asked to stop (Ctrl-C) or to cancel the process.
    void Request(ProgressRequest request);

private:
    void Redraw();
    void PlainLine(const std::string& line);
    int Width() const;

    std::FILE* out_;
    bool isTerminal_;
    bool shown_ = false;
    bool barVisible_ = false;
    bool label1Visible_ = true;
    bool label2Visible_ = true;
    bool lineOpen_ = false;
    bool cancelProcessUsed_ = false;
    ProgressRequest pending_ = ProgressRequest::kNone;
    int percent_ = 0;
    int lastPlainTenth_ = -1;
    std::string title_;
    std::string caption_;
    std::string text1_;
    std::string text2_;
    std::optional<InterruptWatch> interrupt_;
};

}  // namespace vorn
