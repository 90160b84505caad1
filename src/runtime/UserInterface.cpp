#include "runtime/UserInterface.h"

#include <unistd.h>

#include <algorithm>

#include "runtime/ScriptUserInterface.h"
#include "runtime/TerminalUserInterface.h"
#include "runtime/Utf8.h"

namespace vorn {

std::vector<MsgAnswer> ButtonsOf(MsgButtons buttons) {
    switch (buttons) {
        case MsgButtons::kOk: return {MsgAnswer::kOk};
        case MsgButtons::kOkCancel: return {MsgAnswer::kOk, MsgAnswer::kCancel};
        case MsgButtons::kAbortRetryIgnore: return {MsgAnswer::kAbort, MsgAnswer::kRetry, MsgAnswer::kIgnore};
        case MsgButtons::kYesNoCancel: return {MsgAnswer::kYes, MsgAnswer::kNo, MsgAnswer::kCancel};
        case MsgButtons::kYesNo: return {MsgAnswer::kYes, MsgAnswer::kNo};
        case MsgButtons::kRetryCancel: return {MsgAnswer::kRetry, MsgAnswer::kCancel};
    }
    return {MsgAnswer::kOk};
}

MsgAnswer DefaultAnswerOf(const MessageBoxRequest& request) {
    const std::vector<MsgAnswer> buttons = ButtonsOf(request.buttons);
    const auto index = static_cast<std::size_t>(std::clamp(request.defaultButton, 1, static_cast<int>(buttons.size())));
    return buttons[index - 1];
}

std::string AnswerName(MsgAnswer answer) {
    switch (answer) {
        case MsgAnswer::kOk: return "OK";
        case MsgAnswer::kCancel: return "Cancel";
        case MsgAnswer::kAbort: return "Abort";
        case MsgAnswer::kRetry: return "Retry";
        case MsgAnswer::kIgnore: return "Ignore";
        case MsgAnswer::kYes: return "Yes";
        case MsgAnswer::kNo: return "No";
    }
    return "OK";
}

std::optional<MsgAnswer> AnswerFromName(const std::string& name) {
    for (const MsgAnswer answer : {MsgAnswer::kOk, MsgAnswer::kCancel, MsgAnswer::kAbort, MsgAnswer::kRetry,
                                   MsgAnswer::kIgnore, MsgAnswer::kYes, MsgAnswer::kNo}) {
        if (utf8::EqualsIgnoreCase(AnswerName(answer), name)) return answer;
    }
    return std::nullopt;
}

std::string MessageLine(const MessageBoxRequest& request) {
    std::string text = utf8::Replace(request.text, "\r\n", "\n");
    std::replace(text.begin(), text.end(), '\r', '\n');
    text = utf8::Replace(utf8::Trim(text), "\n", " / ");
    return request.title.empty() ? text : request.title + ": " + text;
}

MsgAnswer UserInterface::Ask(const std::string& text, const std::string& title, MsgButtons buttons,
                             MsgIcon icon, const std::string& id) {
    MessageBoxRequest request;
    request.text = text;
    request.title = title;
    request.buttons = buttons;
    request.icon = icon;
    request.id = id;
    return MessageBox(request);
}

namespace {
std::unique_ptr<UserInterface>& CurrentUi() {
    static std::unique_ptr<UserInterface> current;
    return current;
}
}  // namespace

UserInterface& Ui() {
    auto& current = CurrentUi();
    if (!current) {
        if (isatty(STDIN_FILENO) && isatty(STDERR_FILENO)) {
            current = std::make_unique<TerminalUserInterface>();
        } else {
            current = std::make_unique<ScriptUserInterface>();
        }
    }
    return *current;
}

std::unique_ptr<UserInterface> SetUi(std::unique_ptr<UserInterface> ui) {
    std::swap(CurrentUi(), ui);
    return ui;
}

}  // namespace vorn
