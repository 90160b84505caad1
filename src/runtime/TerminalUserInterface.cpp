#include "runtime/TerminalUserInterface.h"

#include <termios.h>
#include <unistd.h>

#include <iostream>

#include "runtime/TerminalProgressDisplay.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

// Turns off the echo of standard input while it lives, for passwords.
class EchoOff {
public:
    EchoOff() {
        active_ = isatty(STDIN_FILENO) && tcgetattr(STDIN_FILENO, &saved_) == 0;
        if (!active_) return;
        termios quiet = saved_;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }
    ~EchoOff() {
        if (active_) tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved_);
    }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

private:
    termios saved_{};
    bool active_ = false;
};

std::string ButtonPrompt(const MessageBoxRequest& request) {
    std::string prompt;
    for (const MsgAnswer answer : ButtonsOf(request.buttons)) {
        const std::string name = AnswerName(answer);
        if (!prompt.empty()) prompt += " / ";
        prompt += "[" + name.substr(0, 1) + "]" + name.substr(1);
    }
    return prompt + " (Enter: " + AnswerName(DefaultAnswerOf(request)) + ")? ";
}

}  // namespace

TerminalUserInterface::TerminalUserInterface(std::istream* in, std::ostream* err)
    : in_(in != nullptr ? in : &std::cin), err_(err != nullptr ? err : &std::cerr) {}

std::optional<std::string> TerminalUserInterface::ReadLine(const std::string& prompt, bool trim) {
    *err_ << prompt;
    err_->flush();
    std::string line;
    if (!std::getline(*in_, line)) {
        *err_ << '\n';
        return std::nullopt;
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return trim ? std::string(utf8::Trim(line)) : line;
}

MsgAnswer TerminalUserInterface::MessageBox(const MessageBoxRequest& request) {
    *err_ << "\n";
    if (!request.title.empty()) *err_ << request.title << "\n";
    *err_ << request.text << "\n";
    if (request.buttons == MsgButtons::kOk) return MsgAnswer::kOk;
    const std::vector<MsgAnswer> buttons = ButtonsOf(request.buttons);
    while (true) {
        const std::optional<std::string> line = ReadLine(ButtonPrompt(request));
        if (!line || line->empty()) return DefaultAnswerOf(request);
        for (const MsgAnswer answer : buttons) {
            const std::string name = AnswerName(answer);
            if (utf8::EqualsIgnoreCase(*line, name) || utf8::EqualsIgnoreCase(*line, name.substr(0, 1))) {
                return answer;
            }
        }
    }
}

std::optional<int> TerminalUserInterface::ReadChoice(const std::string& prompt, int count) {
    while (true) {
        const std::optional<std::string> line = ReadLine(prompt);
        if (!line) return std::nullopt;
        if (line->empty()) return 0;
        try {
            const int choice = std::stoi(*line);
            if (choice >= 1 && choice <= count) return choice;
        } catch (const std::exception&) {
            // not a number: ask again
        }
        *err_ << "Please give a number from 1 to " << count << ".\n";
    }
}

std::optional<std::string> TerminalUserInterface::PickColumn(
    const std::string& heading, const std::vector<IdentificationChoice>& choices,
    const IdentificationQuestion& question) {
    *err_ << heading << "\n";
    for (std::size_t i = 0; i < choices.size(); ++i) {
        *err_ << "  " << (i + 1) << ") " << choices[i].caption;
        if (question.columnValues) {
            const std::vector<std::string> values = question.columnValues(choices[i].storedName);
            if (!values.empty()) *err_ << "   e.g. " << values.front();
        }
        *err_ << "\n";
    }
    const std::optional<int> choice = ReadChoice("Number: ", static_cast<int>(choices.size()));
    if (!choice) return std::nullopt;
    if (*choice == 0) return std::string();
    return choices[static_cast<std::size_t>(*choice - 1)].storedName;
}

std::optional<ProjectIdentification> TerminalUserInterface::AskProjectIdentification(
    const IdentificationQuestion& question) {
    *err_ << "\n" << question.title << "\n";
    while (true) {
        ProjectIdentification answer;
        *err_ << "Identify projects by:\n  1) a column of the PROJECT table\n";
        for (std::size_t i = 0; i < question.valueTypes.size(); ++i) {
            *err_ << "  " << (i + 2) << ") " << question.valueTypes[i] << "\n";
        }
        const std::optional<int> kind =
            ReadChoice("Number (Enter cancels): ", static_cast<int>(question.valueTypes.size()) + 1);
        if (!kind || *kind == 0) return std::nullopt;
        if (*kind == 1) {
            if (question.idColumns.empty()) *err_ << question.idColumnsNote << "\n";
            const auto column = PickColumn("Column that identifies a project:", question.idColumns, question);
            if (!column) return std::nullopt;
            answer.valueType = "Project Column";
            answer.uniqueId = *column;
        } else {
            answer.valueType = question.valueTypes[static_cast<std::size_t>(*kind - 2)];
            const auto value = ReadLine("Value: ");
            const auto caption = value ? ReadLine("Caption of the new column: ") : std::nullopt;
            if (!caption) return std::nullopt;
            answer.uniqueId = *value;
            answer.caption = *caption;
        }
        if (question.descriptionColumns.empty()) *err_ << question.descriptionColumnsNote << "\n";
        const auto description =
            PickColumn("Column that describes a project:", question.descriptionColumns, question);
        if (!description) return std::nullopt;
        answer.description = *description;
        if (!question.accept || question.accept(answer)) return answer;
    }
}

std::optional<std::string> TerminalUserInterface::AskSecret(const std::string& prompt) {
    const EchoOff quiet;
    // A password may begin or end with blanks: the line is kept as typed.
    std::optional<std::string> secret = ReadLine(prompt, false);
    *err_ << "\n";
    if (secret && secret->empty()) return std::nullopt;
    return secret;
}

std::unique_ptr<ProgressDisplay> TerminalUserInterface::MakeProgressDisplay() {
    return std::make_unique<TerminalProgressDisplay>();
}

}  // namespace vorn
