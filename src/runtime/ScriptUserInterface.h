#pragma once

#include <functional>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>

#include "runtime/UserInterface.h"

namespace vorn {

// The interface of a run with no one at the machine. It never blocks: a
// question takes the answer configured for its id, else its default button;
// the identification question takes the configured answer, else it counts as
// cancelled. Every message goes to the error stream and to the message sink,
// and progress shows as plain lines there.
class ScriptUserInterface : public UserInterface {
public:
    struct Answers {
        std::map<std::string, MsgAnswer> byId;
        std::optional<ProjectIdentification> identification;
        std::optional<std::string> secret;
    };

    // REQUIRES: `err` outlives the interface (std::cerr by default).
    explicit ScriptUserInterface(Answers answers = {}, std::ostream* err = nullptr);

    // Also hands each message line to `sink` (the trace log, when it runs).
    void SetMessageSink(std::function<void(const std::string&)> sink) { sink_ = std::move(sink); }

    MsgAnswer MessageBox(const MessageBoxRequest& request) override;
    std::optional<ProjectIdentification> AskProjectIdentification(
        const IdentificationQuestion& question) override;
    std::optional<std::string> AskSecret(const std::string& prompt) override;
    std::unique_ptr<ProgressDisplay> MakeProgressDisplay() override;

private:
    void Tell(const std::string& line);

    Answers answers_;
    std::ostream* err_;
    std::function<void(const std::string&)> sink_;
};

}  // namespace vorn
