#include "entry/Session.h"
#include "entry/UpsizeCommand.h"

#include <gtest/gtest.h>

#include <functional>

#include "dbcontract/DalSession.h"
#include "forms/CAxControls.h"
#include "foundation/CAx0.h"
#include "foundation/CDoTrace.h"
#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "foundation/clsProgressInterface.h"
#include "model/CCallbacks.h"
#include "model/CJetEngineOps.h"
#include "model/CTableDesignData.h"
#include "model/CUserTableOps.h"
#include "model/CVornIndex.h"
#include "model/clsEnterpriseDbData.h"
#include "model/clsRelation.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/RecordingUserInterface.h"
#include "runtime/SessionSlot.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

// Runs first: a text of one item is a start without a job.
TEST(Session, AJobTextWithoutACommaEndsAtOnceMakingNoObject) {
    EXPECT_EQ(RunUpsize("plain"), 0);
    EXPECT_EQ(RunUpsize("\"4;srv;db;ann;pw\""), 0);
    EXPECT_FALSE(SessionStarted());
}

TEST(Session, ObjectsAreMissingBeforeTheStartAndMadeOnceByIt) {
    ASSERT_FALSE(SessionStarted());
    try {
        TextStr();
        FAIL() << "a session object existed before the session started";
    } catch (const VornError& e) {
        EXPECT_EQ(e.Number(), errnum::kObjectVariableNotSet);
    }
    auto ui = std::make_unique<RecordingUserInterface>();
    RecordingUserInterface* recorder = ui.get();
    StartSession({.ui = std::move(ui)});
    EXPECT_TRUE(SessionStarted());
    CTextString* const first = &TextStr();
    StartSession();  // a second start changes nothing
    EXPECT_EQ(&TextStr(), first);
    EXPECT_EQ(&Ui(), recorder);
    // Every object of the foundation answers.
    Ax();
    AxControls();
    Progress();
    File();
    Trace();
    TheDalSession();
    EXPECT_EQ(TextStr().TextStringGetFnS(987654321), "???TextID 987654321???");
}

// Each class of the list ends through the class termination log, under its
// own name; the services outside the list leave the log alone.
TEST(Session, ClassesRecordTheirEndInTheTerminationLog) {
    const bool madeHere = !SessionSlot<CFile>::IsMade();
    SessionSlot<CFile>::Make(std::make_unique<CFile>("vorn"));
    const testing::TempFolder folder;
    const auto log = folder.path() / "ends.txt";
    File().ClassTerminationLogFile(true, log.string());

    const std::pair<const char*, std::function<void()>> cases[] = {
        {"CAx0", [] { (void)std::make_unique<CAx0>(); }},
        {"CJetEngineOps", [] { (void)std::make_unique<CJetEngineOps>(); }},
        {"clsEnterpriseDbData", [] { (void)std::make_unique<clsEnterpriseDbData>(); }},
        {"CUserTableOps", [] { (void)std::make_unique<CUserTableOps>(); }},
        {"CVornIndex", [] { (void)std::make_unique<CVornIndex>(); }},
        {"CTableDesignData", [] { (void)std::make_unique<CTableDesignData>(); }},
        {"clsRelation", [] { (void)std::make_unique<clsRelation>(); }},
        {"clsProgressInterface", [] { (void)std::make_unique<clsProgressInterface>(); }},
        {"", [] { (void)std::make_unique<CFile>(); }},
        {"", [] { (void)std::make_unique<CAxControls>(); }},
        {"", [] { (void)std::make_unique<CDoTrace>(); }},
        {"", [] { (void)std::make_unique<CCallbacks>(); }},
    };
    for (const auto& [name, makeAndEnd] : cases) {
        testing::WriteFile(log, "");
        makeAndEnd();
        const std::string text = testing::ReadFile(log);
        if (*name == '\0') {
            EXPECT_EQ(text, "") << "a class outside the list recorded its end";
        } else {
            EXPECT_TRUE(text.ends_with(std::string(".") + name + " - 1") && text.find("\r\n") == std::string::npos)
                << name << ": " << text;
        }
    }
    File().ClassTerminationLogFile(false, {});
    if (madeHere) SessionSlot<CFile>::ResetForTests();
}

// Each item of the command text, inside double quotes or not, is split at
// its commas; only the first five fields of the connection are read.
TEST(UpsizeCommand, TheJobTextGivesConnectionAndSources) {
    struct Case {
        const char* text;
        const char* connection;  // provider|server|database|user|password
        std::vector<std::string> sources;
    };
    const Case cases[] = {
        {"\"4;srv;Site Data;ann;pw\",\"/d/a.vpj\",\"  /d/b c.vpj \"", "4|srv|Site Data|ann|pw",
         {"/d/a.vpj", "/d/b c.vpj"}},
        {"\"8;srv;db;;\",", "8|srv|db||", {""}},  // a trailing comma: one empty path
        {"\"4;srv;db;ann;p,w\",\"/d/a.vpj\"", "4|srv|db|ann|p", {"w", "/d/a.vpj"}},
        {"\"2;srv;db;ann;p;w\",\"/d/a.vpj\"", "2|srv|db|ann|p", {"/d/a.vpj"}},
        {"4;s\"rv;db;ann;pw,/d/\"a\".vpj", "4|srv|db|ann|pw", {"/d/a.vpj"}},
    };
    for (const Case& c : cases) {
        const UpsizeJob job = UpsizeJobFromItems(SplitCommandText(c.text));
        EXPECT_EQ(std::to_string(job.providerType) + "|" + job.server + "|" + job.database + "|" +
                      job.userName + "|" + job.password,
                  c.connection)
            << c.text;
        EXPECT_EQ(job.sources, c.sources) << c.text;
    }
}

TEST(UpsizeCommand, TooFewFieldsOrAProviderThatIsNoNumberFail) {
    const std::pair<const char*, std::int32_t> cases[] = {
        {"", errnum::kSubscriptOutOfRange},
        {"\"4;srv;db;ann\",\"/d/a.vpj\"", errnum::kSubscriptOutOfRange},
        {"\"SQL;srv;db;ann;pw\",\"/d/a.vpj\"", errnum::kTypeMismatch},
        {"\";srv;db;ann;pw\",\"/d/a.vpj\"", errnum::kTypeMismatch},
    };
    for (const auto& [text, number] : cases) {
        try {
            UpsizeJobFromItems(SplitCommandText(text));
            ADD_FAILURE() << text << " was read";
        } catch (const VornError& e) {
            EXPECT_EQ(e.Number(), number) << text;
        }
    }
}

// An empty text is not the one-word case: the session objects are made
// before the text fails. No run that ends without a project may exit with
// a code that reads as a project number.
TEST(UpsizeCommand, AnEmptyTextMakesTheSessionAndEndsFailed) {
    EXPECT_LT(RunUpsize(""), 0);
    EXPECT_TRUE(SessionStarted());
    EXPECT_LT(RunUpsize("\"4;srv;db;ann;pw\",\"/d/a.vpj\""), 0);
}

}  // namespace
}  // namespace vorn
