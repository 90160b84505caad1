#include "runtime/RecordingUserInterface.h"

namespace vorn {
namespace {

// Hands the calls on to a display that the recorder keeps alive, so that a
// test can read the display after the work has dropped it.
class SharedDisplay : public ProgressDisplay {
public:
    explicit SharedDisplay(std::shared_ptr<StoredProgressDisplay> target) : d_(std::move(target)) {}
    void Show(std::string_view title) override { d_->Show(title); }
    void Close() override { d_->Close(); }
    void SetTitle(std::string_view title) override { d_->SetTitle(title); }
    void Reset() override { d_->Reset(); }
    bool CancelProcess() const override { return d_->CancelProcess(); }
    void CancelProcessButtonVisible(bool v) override { d_->CancelProcessButtonVisible(v); }
    void AbortButtonVisible(bool v) override { d_->AbortButtonVisible(v); }
    void AbortCaption(std::string_view c) override { d_->AbortCaption(c); }
    void FloodPercent(std::int16_t p) override { d_->FloodPercent(p); }
    void FloodCaption(std::string_view c) override { d_->FloodCaption(c); }
    void FloodZorder(std::int16_t o) override { d_->FloodZorder(o); }
    void ProgressBarVisible(bool v) override { d_->ProgressBarVisible(v); }
    void ProgressLabel(bool v) override { d_->ProgressLabel(v); }
    void ProgressLabel2(bool v) override { d_->ProgressLabel2(v); }
    void ProgressText(std::string_view t) override { d_->ProgressText(t); }
    void ProgressText2(std::string_view t) override { d_->ProgressText2(t); }
    void RepositionControlsForSingleProcess(std::string_view c) override {
        d_->RepositionControlsForSingleProcess(c);
    }
    ProgressRequest TakeRequest() override { return d_->TakeRequest(); }

private:
    std::shared_ptr<StoredProgressDisplay> d_;
};

}  // namespace

MsgAnswer RecordingUserInterface::MessageBox(const MessageBoxRequest& request) {
    messages_.push_back(request);
    if (request.buttons == MsgButtons::kOk || answers_.empty()) return DefaultAnswerOf(request);
    const MsgAnswer answer = answers_.front();
    answers_.pop_front();
    return answer;
}

std::optional<ProjectIdentification> RecordingUserInterface::AskProjectIdentification(
    const IdentificationQuestion& question) {
    questions_.push_back(question);
    while (!identifications_.empty()) {
        ProjectIdentification answer = std::move(identifications_.front());
        identifications_.pop_front();
        if (!question.accept || question.accept(answer)) return answer;
    }
    return std::nullopt;
}

std::optional<std::string> RecordingUserInterface::AskSecret(const std::string& prompt) {
    secretPrompts_.push_back(prompt);
    return secret_;
}

std::unique_ptr<ProgressDisplay> RecordingUserInterface::MakeProgressDisplay() {
    displays_.push_back(std::make_shared<StoredProgressDisplay>());
    return std::make_unique<SharedDisplay>(displays_.back());
}

}  // namespace vorn
