#include "foundation/CErrorCache.h"

#include <gtest/gtest.h>

#include "runtime/ErrorRecord.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

TEST(ErrorCacheTest, TheErrorOrItsAbsenceComesBackWhateverHappenedMeanwhile) {
    Err() = ErrorRecord{3265, "DAO.Fields", "Item not found in this collection."};
    {
        const CErrorCache cache;
        EXPECT_EQ(cache.ErrorText(), "Item not found in this collection.");
        TryStep([] { throw VornError::Overflow("CAx0.CVIntFnI"); });
        EXPECT_EQ(Err().number, 6);
    }
    EXPECT_EQ(Err().number, 3265);
    EXPECT_EQ(Err().source, "DAO.Fields");
    EXPECT_EQ(Err().description, "Item not found in this collection.");

    Err().Clear();
    {
        const CErrorCache cache;
        EXPECT_EQ(cache.ErrorText(), "");
        Err() = ErrorRecord{5, "x", "Invalid procedure call or argument"};
    }
    EXPECT_FALSE(Err().IsSet());
    EXPECT_EQ(Err().description, "");
}

}  // namespace
}  // namespace vorn
