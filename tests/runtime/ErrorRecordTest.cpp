#include "runtime/ErrorRecord.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "runtime/ErrorNumbers.h"

namespace vorn {
namespace {

class ErrorRecordTest : public ::testing::Test {
protected:
    void SetUp() override { Err().Clear(); }
    void TearDown() override { Err().Clear(); }
};

TEST_F(ErrorRecordTest, TryStepRecordsTheFailureAndStopsIt) {
    bool after = false;
    const bool ran = TryStep([&] {
        throw VornError(errnum::kJetItemNotFound, "DAO.TableDefs", "Item not found in this collection.");
        after = true;
    });
    EXPECT_FALSE(ran);
    EXPECT_FALSE(after);
    EXPECT_EQ(Err().number, errnum::kJetItemNotFound);
    EXPECT_EQ(Err().source, "DAO.TableDefs");
    EXPECT_EQ(Err().description, "Item not found in this collection.");
}

TEST_F(ErrorRecordTest, TryStepThatSucceedsLeavesAnEarlierErrorAlone) {
    Err().Set(VornError::TypeMismatch("x"));
    EXPECT_TRUE(TryStep([] {}));
    EXPECT_EQ(Err().number, errnum::kTypeMismatch);
}

TEST_F(ErrorRecordTest, IgnoreErrorsClearsTheRecord) {
    EXPECT_FALSE(IgnoreErrors([] { throw VornError::Overflow("CInt"); }));
    EXPECT_FALSE(Err().IsSet());
    EXPECT_EQ(Err().description, "");
}

TEST_F(ErrorRecordTest, ForeignFailuresGetTheInternalErrorNumber) {
    TryStep([] { throw std::runtime_error("disk on fire"); });
    EXPECT_EQ(Err().number, errnum::kInternalError);
    EXPECT_EQ(Err().description, "disk on fire");
}

TEST_F(ErrorRecordTest, RaiseThrowsTheSameThreeValues) {
    Err().Set(VornError(errnum::kDalGenericFailure, "vOrnDAL", "Login failed"));
    try {
        Err().Raise();
        FAIL() << "Raise returned";
    } catch (const VornError& e) {
        EXPECT_EQ(e.Number(), -2146233088);
        EXPECT_EQ(e.Source(), "vOrnDAL");
        EXPECT_EQ(e.Description(), "Login failed");
        EXPECT_STREQ(e.what(), "Login failed (-2146233088)");
    }
}

TEST_F(ErrorRecordTest, RuntimeFailuresKeepTheRuntimeNumbersAndTexts) {
    EXPECT_EQ(VornError::InvalidArgument("f").Number(), 5);
    EXPECT_EQ(VornError::Overflow("f").Number(), 6);
    EXPECT_EQ(VornError::SubscriptOutOfRange("f").Number(), 9);
    EXPECT_EQ(VornError::TypeMismatch("f").Number(), 13);
    EXPECT_EQ(VornError::DuplicateKey("f").Number(), 457);
    EXPECT_EQ(VornError::TypeMismatch("f").Description(), "Type mismatch");
    EXPECT_EQ(VornError::RuntimeDescription(12345), "Application-defined or object-defined error");
}

}  // namespace
}  // namespace vorn
