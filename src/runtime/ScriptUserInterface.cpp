#include "runtime/ScriptUserInterface.h"

#include <iostream>

#include "runtime/TerminalProgressDisplay.h"

namespace vorn {

ScriptUserInterface::ScriptUserInterface(Answers answers, std::ostream* err)
    : answers_(std::move(answers)), err_(err != nullptr ? err : &std::cerr) {}

void ScriptUserInterface::Tell(const std::string& line) {
    *err_ << line << '\n';
    err_->flush();
    if (sink_) sink_(line);
}

MsgAnswer ScriptUserInterface::MessageBox(const MessageBoxRequest& request) {
    MsgAnswer answer = DefaultAnswerOf(request);
    if (const auto it = answers_.byId.find(request.id); !request.id.empty() && it != answers_.byId.end()) {
        answer = it->second;
    }
    std::string line = MessageLine(request);
    if (request.buttons != MsgButtons::kOk) line += " [" + AnswerName(answer) + "]";
    Tell(line);
    return answer;
}

std::optional<ProjectIdentification> ScriptUserInterface::AskProjectIdentification(
    const IdentificationQuestion& question) {
    if (!answers_.identification) {
        Tell(question.title + ": no project identification was given; cancelled");
        return std::nullopt;
    }
    // A refused answer cannot be corrected without a user: it cancels.
    if (question.accept && !question.accept(*answers_.identification)) return std::nullopt;
    return answers_.identification;
}

std::optional<std::string> ScriptUserInterface::AskSecret(const std::string&) { return answers_.secret; }

// Progress of a run without a user still shows in its log: plain lines on
// the error stream (a bar when that stream happens to be a terminal).
std::unique_ptr<ProgressDisplay> ScriptUserInterface::MakeProgressDisplay() {
    return std::make_unique<TerminalProgressDisplay>(stderr);
}

}  // namespace vorn
