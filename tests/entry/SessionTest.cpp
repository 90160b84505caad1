#include "entry/Session.h"

#include <gtest/gtest.h>

#include "dbcontract/DalSession.h"
#include "forms/CAxControls.h"
#include "foundation/CAx0.h"
#include "foundation/CDoTrace.h"
#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "foundation/clsProgressInterface.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/RecordingUserInterface.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

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

}  // namespace
}  // namespace vorn
