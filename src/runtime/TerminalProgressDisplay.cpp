#include "runtime/TerminalProgressDisplay.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

#include "runtime/Utf8.h"

namespace vorn {

TerminalProgressDisplay::TerminalProgressDisplay(std::FILE* out)
    : out_(out), isTerminal_(isatty(fileno(out)) != 0) {}

TerminalProgressDisplay::~TerminalProgressDisplay() { Close(); }

void TerminalProgressDisplay::Show(std::string_view title) {
    shown_ = true;
    title_ = title;
    if (isTerminal_ && !interrupt_) interrupt_.emplace(fileno(out_));
    lastPlainTenth_ = -1;
    if (!isTerminal_) {
        // Texts set before the display opened follow its title, as a window
        // shows them under its caption.
        PlainLine(title_);
        if (label1Visible_ && !text1_.empty()) PlainLine(text1_);
        if (label2Visible_ && !text2_.empty()) PlainLine("  " + text2_);
    }
    Redraw();
}

void TerminalProgressDisplay::Close() {
    if (!shown_) return;
    shown_ = false;
    interrupt_.reset();
    if (lineOpen_) {
        std::fputs("\r\033[K", out_);  // leave the terminal as it was before the bar
        std::fflush(out_);
        lineOpen_ = false;
    }
}

void TerminalProgressDisplay::SetTitle(std::string_view title) {
    title_ = title;
    Redraw();
}

void TerminalProgressDisplay::FloodPercent(std::int16_t percent) {
    percent_ = std::clamp<int>(percent, 0, 100);
}

void TerminalProgressDisplay::FloodCaption(std::string_view caption) {
    caption_ = caption;
    if (!isTerminal_ && barVisible_ && percent_ / 10 > lastPlainTenth_) {
        lastPlainTenth_ = percent_ / 10;
        PlainLine(title_ + ": " + caption_);
    }
    Redraw();
}

void TerminalProgressDisplay::ProgressBarVisible(bool visible) {
    barVisible_ = visible;
    if (visible) lastPlainTenth_ = -1;
    Redraw();
}

void TerminalProgressDisplay::ProgressText(std::string_view text) {
    if (text == text1_) return;
    text1_ = text;
    if (!isTerminal_ && shown_ && label1Visible_ && !text1_.empty()) PlainLine(text1_);
    Redraw();
}

void TerminalProgressDisplay::ProgressText2(std::string_view text) {
    if (text == text2_) return;
    text2_ = text;
    if (!isTerminal_ && shown_ && label2Visible_ && !text2_.empty()) PlainLine("  " + text2_);
    Redraw();
}

void TerminalProgressDisplay::Request(ProgressRequest request) {
    if (request == ProgressRequest::kCancelProcess) cancelProcessUsed_ = true;
    pending_ = request;
}

ProgressRequest TerminalProgressDisplay::TakeRequest() {
    const ProgressRequest request = pending_;
    pending_ = ProgressRequest::kNone;
    if (request != ProgressRequest::kNone) return request;
    if (interrupt_ && interrupt_->TakeInterrupt()) return ProgressRequest::kAbort;
    return ProgressRequest::kNone;
}

void TerminalProgressDisplay::PlainLine(const std::string& line) {
    std::fprintf(out_, "%s\n", line.c_str());
    std::fflush(out_);
}

int TerminalProgressDisplay::Width() const {
    winsize size{};
    if (ioctl(fileno(out_), TIOCGWINSZ, &size) == 0 && size.ws_col > 20) return size.ws_col;
    return 80;
}

// Draws the one line of a terminal: "<title> [####......] <caption> <texts>",
// cut to the width of the terminal so that it never wraps.
void TerminalProgressDisplay::Redraw() {
    if (!isTerminal_ || !shown_) return;
    std::string line = title_;
    if (barVisible_) {
        constexpr int kBarWidth = 20;
        const int filled = percent_ * kBarWidth / 100;
        line += " [" + std::string(static_cast<std::size_t>(filled), '#') +
                std::string(static_cast<std::size_t>(kBarWidth - filled), '.') + "] " + caption_;
    }
    if (label1Visible_ && !text1_.empty()) line += "  " + text1_;
    if (label2Visible_ && !text2_.empty()) line += " - " + text2_;
    line = utf8::Left(line, Width() - 1);
    std::fprintf(out_, "\r\033[K%s", line.c_str());
    std::fflush(out_);
    lineOpen_ = true;
}

}  // namespace vorn
