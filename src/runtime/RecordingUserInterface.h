#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "runtime/StoredProgressDisplay.h"
#include "runtime/UserInterface.h"

namespace vorn {

// The interface for tests: it records every message and question, answers
// from queues that the test fills, and falls back to the default button.
class RecordingUserInterface : public UserInterface {
public:
    // Answers, taken in order by the next message boxes with more than an OK
    // button.
    void QueueAnswer(MsgAnswer answer) { answers_.push_back(answer); }
    // Answers for the identification question, tried in order while the
    // question's check refuses them; none left means cancelled.
    void QueueIdentification(ProjectIdentification answer) { identifications_.push_back(std::move(answer)); }
    void SetSecret(std::optional<std::string> secret) { secret_ = std::move(secret); }

    MsgAnswer MessageBox(const MessageBoxRequest& request) override;
    std::optional<ProjectIdentification> AskProjectIdentification(
        const IdentificationQuestion& question) override;
    std::optional<std::string> AskSecret(const std::string& prompt) override;
    std::unique_ptr<ProgressDisplay> MakeProgressDisplay() override;

    // What was shown, in order.
    const std::vector<MessageBoxRequest>& Messages() const { return messages_; }
    const std::vector<IdentificationQuestion>& IdentificationQuestions() const { return questions_; }
    const std::vector<std::string>& SecretPrompts() const { return secretPrompts_; }
    // The displays made, still readable after their owner dropped them.
    const std::vector<std::shared_ptr<StoredProgressDisplay>>& Displays() const { return displays_; }

private:
    std::deque<MsgAnswer> answers_;
    std::deque<ProjectIdentification> identifications_;
    std::optional<std::string> secret_;
    std::vector<MessageBoxRequest> messages_;
    std::vector<IdentificationQuestion> questions_;
    std::vector<std::string> secretPrompts_;
    std::vector<std::shared_ptr<StoredProgressDisplay>> displays_;
};

}  // namespace vorn
