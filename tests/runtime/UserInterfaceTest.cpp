#include <gtest/gtest.h>

#include <sstream>

#include "runtime/RecordingUserInterface.h"
#include "runtime/ScriptUserInterface.h"
#include "runtime/TerminalUserInterface.h"

namespace vorn {
namespace {

MessageBoxRequest Question(std::string id, int defaultButton = 1) {
    MessageBoxRequest r;
    r.text = "Append to the existing project?\r\nIt has 3 points.";
    r.title = "Upsize";
    r.buttons = MsgButtons::kYesNoCancel;
    r.defaultButton = defaultButton;
    r.id = std::move(id);
    return r;
}

IdentificationQuestion IdQuestion(int* checks) {
    IdentificationQuestion q;
    q.title = "Project identification";
    q.idColumns = {{"Project code", "PROJ_ID"}};
    q.descriptionColumns = {{"Name", "PROJ_NAME"}};
    q.valueTypes = {"File Name"};
    q.accept = [checks](const ProjectIdentification& a) {
        ++*checks;
        return !a.uniqueId.empty();
    };
    return q;
}

TEST(ScriptUserInterface, NeverBlocksAndTakesConfiguredOrDefaultAnswers) {
    std::ostringstream err;
    ScriptUserInterface::Answers answers;
    answers.byId["T5358"] = MsgAnswer::kNo;
    ScriptUserInterface ui(answers, &err);
    std::vector<std::string> sunk;
    ui.SetMessageSink([&](const std::string& line) { sunk.push_back(line); });

    EXPECT_EQ(ui.MessageBox(Question("T5358")), MsgAnswer::kNo);
    EXPECT_EQ(ui.MessageBox(Question("T9999", 3)), MsgAnswer::kCancel);
    EXPECT_EQ(ui.MessageBox(Question("")), MsgAnswer::kYes);
    ASSERT_EQ(sunk.size(), 3u);
    EXPECT_EQ(sunk[0], "Upsize: Append to the existing project? / It has 3 points. [No]");
    EXPECT_NE(err.str().find("[Cancel]"), std::string::npos);
}

TEST(ScriptUserInterface, IdentificationWithoutAnAnswerIsCancelled) {
    std::ostringstream err;
    int checks = 0;
    ScriptUserInterface none({}, &err);
    EXPECT_FALSE(none.AskProjectIdentification(IdQuestion(&checks)).has_value());

    ScriptUserInterface::Answers refused;
    refused.identification = ProjectIdentification{"Project Column", "", "", "PROJ_NAME"};
    ScriptUserInterface ui(refused, &err);
    EXPECT_FALSE(ui.AskProjectIdentification(IdQuestion(&checks)).has_value());
    EXPECT_EQ(checks, 1);
}

TEST(RecordingUserInterface, RecordsAndAnswersInOrder) {
    RecordingUserInterface ui;
    ui.QueueAnswer(MsgAnswer::kNo);
    EXPECT_EQ(ui.Ask("Plain", "T", MsgButtons::kOk), MsgAnswer::kOk);  // OK boxes take no answer
    EXPECT_EQ(ui.MessageBox(Question("a")), MsgAnswer::kNo);
    EXPECT_EQ(ui.MessageBox(Question("b", 2)), MsgAnswer::kNo);  // queue empty: default button 2
    ASSERT_EQ(ui.Messages().size(), 3u);
    EXPECT_EQ(ui.Messages()[1].id, "a");

    int checks = 0;
    ui.QueueIdentification({"Project Column", "", "", "PROJ_NAME"});
    ui.QueueIdentification({"Project Column", "PROJ_ID", "", "PROJ_NAME"});
    const auto answer = ui.AskProjectIdentification(IdQuestion(&checks));
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->uniqueId, "PROJ_ID");
    EXPECT_EQ(checks, 2);
}

TEST(RecordingUserInterface, DisplaysOutliveTheirOwner) {
    RecordingUserInterface ui;
    {
        auto display = ui.MakeProgressDisplay();
        display->Show("Upsize");
        display->FloodPercent(40);
        display->FloodCaption("40% (01:30 remaining)");
        display->ProgressText("POINT");
    }
    ASSERT_EQ(ui.Displays().size(), 1u);
    EXPECT_EQ(ui.Displays()[0]->floodPercent, 40);
    EXPECT_EQ(ui.Displays()[0]->text1, "POINT");
    ui.Displays()[0]->PushRequest(ProgressRequest::kCancelProcess);
    EXPECT_TRUE(ui.Displays()[0]->CancelProcess());
    EXPECT_EQ(ui.Displays()[0]->TakeRequest(), ProgressRequest::kCancelProcess);
    EXPECT_EQ(ui.Displays()[0]->TakeRequest(), ProgressRequest::kNone);
}

TEST(TerminalUserInterface, ReadsAnswersAndTakesTheDefaultAtEndOfInput) {
    std::istringstream in("maybe\nn\n\n");
    std::ostringstream err;
    TerminalUserInterface ui(&in, &err);
    EXPECT_EQ(ui.MessageBox(Question("x")), MsgAnswer::kNo);  // "maybe" is asked again
    EXPECT_EQ(ui.MessageBox(Question("x", 3)), MsgAnswer::kCancel);  // Enter: default
    EXPECT_EQ(ui.MessageBox(Question("x", 2)), MsgAnswer::kNo);      // end of input: default
    EXPECT_NE(err.str().find("[Y]es / [N]o / [C]ancel"), std::string::npos);
}

TEST(TerminalUserInterface, AsksIdentificationUntilAccepted) {
    // First a value identity with an empty value (refused), then a column.
    std::istringstream in("2\n\nFile caption\n1\n1\n1\n1\n");
    std::ostringstream err;
    TerminalUserInterface ui(&in, &err);
    int checks = 0;
    const auto answer = ui.AskProjectIdentification(IdQuestion(&checks));
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->valueType, "Project Column");
    EXPECT_EQ(answer->uniqueId, "PROJ_ID");
    EXPECT_EQ(answer->description, "PROJ_NAME");
    EXPECT_EQ(checks, 2);
}

TEST(TerminalUserInterface, KeepsBlanksOfASecret) {
    std::istringstream in(" pass word \n");
    std::ostringstream err;
    TerminalUserInterface ui(&in, &err);
    EXPECT_EQ(ui.AskSecret("Password: "), " pass word ");
    EXPECT_FALSE(ui.AskSecret("Password: ").has_value());
}

}  // namespace
}  // namespace vorn
