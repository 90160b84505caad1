#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "runtime/ProgressDisplay.h"

namespace vorn {

// The buttons and answers of a message box carry the classic runtime's
// numbers, which callers compare.
enum class MsgButtons { kOk = 0, kOkCancel = 1, kAbortRetryIgnore = 2, kYesNoCancel = 3, kYesNo = 4, kRetryCancel = 5 };
enum class MsgIcon { kNone = 0, kCritical = 16, kQuestion = 32, kExclamation = 48, kInformation = 64 };
enum class MsgAnswer { kOk = 1, kCancel = 2, kAbort = 3, kRetry = 4, kIgnore = 5, kYes = 6, kNo = 7 };

struct MessageBoxRequest {
    std::string text;
    std::string title;
    MsgIcon icon = MsgIcon::kNone;
    MsgButtons buttons = MsgButtons::kOk;
    int defaultButton = 1;  // 1, 2 or 3: the button that Enter, or a script, takes
    // A stable name for the question (such as the id of its text), by which
    // a script configures its answer. Empty for plain messages.
    std::string id;
};

// The buttons of a request, in order, and the one taken by default.
std::vector<MsgAnswer> ButtonsOf(MsgButtons buttons);
MsgAnswer DefaultAnswerOf(const MessageBoxRequest& request);

// "OK", "Cancel", "Abort", "Retry", "Ignore", "Yes", "No"; and back, ignoring
// case (nullopt for any other word).
std::string AnswerName(MsgAnswer answer);
std::optional<MsgAnswer> AnswerFromName(const std::string& name);

// The one-line form of a message for a log or a terminal: "<title>: <text>",
// line ends folded to " / ".
std::string MessageLine(const MessageBoxRequest& request);

// The question of how projects are told apart in a new enterprise database.
struct IdentificationChoice {
    std::string caption;     // shown
    std::string storedName;  // the column's real name
};

struct ProjectIdentification {
    std::string valueType;  // "Project Column" or a word of `valueTypes`
    std::string uniqueId;   // the stored column name, or the value text
    std::string caption;    // caption of the new column (value types only)
    std::string description;  // the stored name of the description column
};

struct IdentificationQuestion {
    std::string title;
    std::vector<IdentificationChoice> idColumns;
    std::vector<IdentificationChoice> descriptionColumns;
    std::vector<std::string> valueTypes;
    std::string idColumnsNote;           // shown when no column is left for the id
    std::string descriptionColumnsNote;  // shown when none is left for the description
    // The values of a column, shown when the user picks it.
    std::function<std::vector<std::string>(const std::string& storedName)> columnValues;
    // Checks an answer when the user confirms it. It tells the user what is
    // wrong (through MessageBox) and returns false to keep the question open.
    std::function<bool(const ProjectIdentification&)> accept;
};

// Everything the system asks of, or tells, the user. One implementation
// talks to a terminal, one never blocks (script runs), one records (tests).
// Session objects reach the current one through Ui().
class UserInterface {
public:
    virtual ~UserInterface() = default;
    UserInterface() = default;
    UserInterface(const UserInterface&) = delete;
    UserInterface& operator=(const UserInterface&) = delete;

    // Shows a message and returns the button taken.
    virtual MsgAnswer MessageBox(const MessageBoxRequest& request) = 0;

    // Asks how projects are identified. nullopt when the user cancelled.
    virtual std::optional<ProjectIdentification> AskProjectIdentification(
        const IdentificationQuestion& question) = 0;

    // Asks for a secret such as a database password. nullopt when there is
    // no one to ask or the user gave none.
    virtual std::optional<std::string> AskSecret(const std::string& prompt) = 0;

    // A new progress display; the caller owns it.
    virtual std::unique_ptr<ProgressDisplay> MakeProgressDisplay() = 0;

    // Shorthand for a message box with buttons and an icon.
    MsgAnswer Ask(const std::string& text, const std::string& title, MsgButtons buttons,
                  MsgIcon icon = MsgIcon::kQuestion, const std::string& id = {});
};

// The user interface of the process: the terminal one when standard input
// and standard error are terminals, else the non-interactive one, until
// SetUi replaces it.
UserInterface& Ui();
// Installs an interface and returns the one it replaced.
std::unique_ptr<UserInterface> SetUi(std::unique_ptr<UserInterface> ui);

}  // namespace vorn
