#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "runtime/UserInterface.h"

namespace vorn {

// The interface of a person at a terminal: messages on the error stream,
// questions answered on standard input. An end of input takes the default
// answer, so that a closed terminal never hangs a run.
class TerminalUserInterface : public UserInterface {
public:
    // REQUIRES: both streams outlive the interface (std::cin, std::cerr by default).
    TerminalUserInterface(std::istream* in = nullptr, std::ostream* err = nullptr);

    MsgAnswer MessageBox(const MessageBoxRequest& request) override;
    std::optional<ProjectIdentification> AskProjectIdentification(
        const IdentificationQuestion& question) override;
    std::optional<std::string> AskSecret(const std::string& prompt) override;
    std::unique_ptr<ProgressDisplay> MakeProgressDisplay() override;

private:
    // Reads one line, trimmed of blanks unless `trim` is false; nullopt at
    // the end of input.
    std::optional<std::string> ReadLine(const std::string& prompt, bool trim = true);
    // Asks for a number from 1 to `count`, or "" for none (0); nullopt at end of input.
    std::optional<int> ReadChoice(const std::string& prompt, int count);
    std::optional<std::string> PickColumn(const std::string& heading,
                                          const std::vector<IdentificationChoice>& choices,
                                          const IdentificationQuestion& question);

    std::istream* in_;
    std::ostream* err_;
};

}  // namespace vorn
