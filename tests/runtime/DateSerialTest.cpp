#include "runtime/DateSerial.h"

#include <gtest/gtest.h>

namespace vorn {
namespace {

struct SerialCase {
    DateParts parts;
    double serial;
};

TEST(DateSerial, PartsAndSerialsAgreeWithJetDayNumbers) {
    const SerialCase cases[] = {
        {{1899, 12, 30, 0, 0, 0}, 0.0},
        {{1899, 12, 31, 0, 0, 0}, 1.0},
        {{1900, 1, 1, 0, 0, 0}, 2.0},
        {{1900, 3, 1, 0, 0, 0}, 61.0},  // no 29 February 1900
        {{2004, 5, 6, 12, 0, 0}, 38113.5},
        {{1899, 12, 29, 6, 0, 0}, -1.25},  // before day 0 the time still counts forward
        {{100, 1, 1, 0, 0, 0}, kMinDateSerial},
        {{9999, 12, 31, 0, 0, 0}, 2958465.0},
        {{2000, 2, 29, 18, 0, 0}, 36585.75},
    };
    for (const auto& c : cases) {
        EXPECT_DOUBLE_EQ(DateSerialFromParts(c.parts), c.serial) << c.serial;
        const DateParts back = DatePartsFromSerial(c.serial);
        EXPECT_EQ(back.year, c.parts.year) << c.serial;
        EXPECT_EQ(back.month, c.parts.month) << c.serial;
        EXPECT_EQ(back.day, c.parts.day) << c.serial;
        EXPECT_EQ(back.hour, c.parts.hour) << c.serial;
        EXPECT_EQ(back.minute, c.parts.minute) << c.serial;
    }
}

TEST(DateSerial, TimeRoundsToTheSecondAndMayCarryIntoTheNextDay) {
    const DateParts almost = DatePartsFromSerial(1.0 + (86399.6 / 86400.0));
    EXPECT_EQ(almost.day, 1);  // 23:59:59.6 is the next midnight, not "24:00:00"
    EXPECT_EQ(almost.month, 1);
    EXPECT_EQ(almost.year, 1900);
    EXPECT_EQ(almost.hour, 0);
    const DateParts half = DatePartsFromSerial(0.5 / 86400.0);
    EXPECT_EQ(half.second, 1);
}

TEST(DateSerial, DateSerialCarriesMonthsAndDays) {
    EXPECT_DOUBLE_EQ(DateSerial(2024, 14, 1), DateSerial(2025, 2, 1));
    EXPECT_DOUBLE_EQ(DateSerial(2024, 3, 0), DateSerial(2024, 2, 29));
    EXPECT_DOUBLE_EQ(DateSerial(2024, 0, 1), DateSerial(2023, 12, 1));
    EXPECT_DOUBLE_EQ(TimeSerial(25, 0, 0), 25.0 / 24.0);
}

TEST(DateSerial, ValidityAndCalendarFacts) {
    EXPECT_TRUE(IsValidDateParts({2000, 2, 29, 0, 0, 0}));
    EXPECT_FALSE(IsValidDateParts({1900, 2, 29, 0, 0, 0}));
    EXPECT_FALSE(IsValidDateParts({99, 1, 1, 0, 0, 0}));
    EXPECT_FALSE(IsValidDateParts({2004, 13, 1, 0, 0, 0}));
    EXPECT_FALSE(IsValidDateParts({2004, 1, 1, 24, 0, 0}));
    EXPECT_EQ(WeekdayOfSerial(0), 7);  // 1899-12-30 was a Saturday
    EXPECT_EQ(WeekdayOfSerial(DateSerial(2004, 1, 5)), 2);  // a Monday
    EXPECT_EQ(WeekdayOfSerial(-1), 6);
    EXPECT_EQ(DayOfYearOfSerial(DateSerial(2004, 12, 31)), 366);
    EXPECT_EQ(DaysInMonth(2100, 2), 28);
}

}  // namespace
}  // namespace vorn
