#include "dbcontract/sqlite/SqliteDateText.h"

#include <gtest/gtest.h>

#include "runtime/DateSerial.h"

namespace vorn {
namespace {

struct TextCase {
    double serial;
    const char* text;
};

// Known serials: day 0 is 1899-12-30, and a negative serial's fraction still
// counts forward from midnight.
TEST(SqliteDateTextTest, KnownSerialsHaveTheirText) {
    const TextCase cases[] = {
        {0.0, "1899-12-30 00:00:00"},
        {0.5, "1899-12-30 12:00:00"},
        {1.0, "1899-12-31 00:00:00"},
        {-1.0, "1899-12-29 00:00:00"},
        {-1.25, "1899-12-29 06:00:00"},
        {-2.75, "1899-12-28 18:00:00"},
        {45000.5, "2023-03-15 12:00:00"},
        {kMinDateSerial, "0100-01-01 00:00:00"},
        {2958465.0, "9999-12-31 00:00:00"},
        {1.0 + 1.0 / 86400000.0, "1899-12-31 00:00:00.001"},
        {-1.0 - 0.5 / 86400.0, "1899-12-29 00:00:00.500"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(SqliteDateText::FromSerial(c.serial).value_or("?"), c.text) << c.serial;
        EXPECT_EQ(SqliteDateText::ToSerial(c.text).value_or(-1e9), c.serial) << c.text;
    }
}

TEST(SqliteDateTextTest, MillisecondsThatRoundToMidnightCarryForward) {
    // 23:59:59.9996 of day -1 rounds to midnight of the next day, day 0.
    const double justBefore = -1.0 - (86399.9996 / 86400.0);
    EXPECT_EQ(SqliteDateText::FromSerial(justBefore), "1899-12-30 00:00:00");
    EXPECT_EQ(SqliteDateText::FromSerial(5.0 + 86399.9996 / 86400.0), "1900-01-05 00:00:00");
}

// The serial of a day and a time of day in milliseconds, built as the
// runtime builds serials.
double SerialOf(long day, long ms) {
    const double fraction = static_cast<double>(ms) / 86400000.0;
    return day < 0 ? static_cast<double>(day) - fraction : static_cast<double>(day) + fraction;
}

TEST(SqliteDateTextTest, EveryDayRoundTripsExactly) {
    // One time of day per day, varied so that seconds and milliseconds of
    // every size are met, over the whole range of date values.
    int failures = 0;
    const auto first = static_cast<long>(kMinDateSerial);
    for (long day = first; day <= 2958465 && failures < 5; ++day) {
        const double serial = SerialOf(day, (day - first) * 7919 % 86400000);
        const auto text = SqliteDateText::FromSerial(serial);
        const auto back = text ? SqliteDateText::ToSerial(*text) : std::nullopt;
        if (back != serial) {
            ++failures;
            ADD_FAILURE() << serial << " came back as " << back.value_or(-1e9);
        }
    }
}

TEST(SqliteDateTextTest, DatePartOfTheTextIsTheRuntimesCalendarDay) {
    for (long day = static_cast<long>(kMinDateSerial); day <= 2958465; day += 997) {
        const DateParts parts = DatePartsFromSerial(static_cast<double>(day));
        char expected[40];
        std::snprintf(expected, sizeof expected, "%04d-%02d-%02d 00:00:00.250", parts.year,
                      parts.month, parts.day);
        EXPECT_EQ(SqliteDateText::FromSerial(SerialOf(day, 250)).value_or("?"), expected);
    }
}

TEST(SqliteDateTextTest, WholeSecondSerialsFromTheRuntimeRoundTrip) {
    for (const double serial :
         {-657434.0, -657433.5, -1.0 / 86400.0 - 3.0, 36526.999988425926, 2958465.9999884259}) {
        const DateParts parts = DatePartsFromSerial(serial);
        const double canonical = DateSerialFromParts(parts);
        const auto text = SqliteDateText::FromSerial(canonical);
        ASSERT_TRUE(text.has_value()) << serial;
        EXPECT_EQ(SqliteDateText::ToSerial(*text), canonical) << *text;
    }
}

TEST(SqliteDateTextTest, OtherFormsAreReadAndNonsenseIsNot) {
    EXPECT_EQ(SqliteDateText::ToSerial("1899-12-31"), 1.0);
    EXPECT_EQ(SqliteDateText::ToSerial("1899-12-31T12:00:00"), 1.5);
    EXPECT_EQ(SqliteDateText::ToSerial("1899-12-31 00:00:00.5"),
              SqliteDateText::ToSerial("1899-12-31 00:00:00.500"));
    for (const char* bad :
         {"", "2024-02-30 00:00:00", "2024-13-01", "2024-01-01 24:00:00", "2024-1-01", "99-01-01",
          "2024-01-01 10:00", "2024-01-01 10:00:00x", "0099-12-31 00:00:00"}) {
        EXPECT_FALSE(SqliteDateText::ToSerial(bad).has_value()) << bad;
    }
    EXPECT_FALSE(SqliteDateText::FromSerial(kMinDateSerial - 1).has_value());
    EXPECT_FALSE(SqliteDateText::FromSerial(2958466.0).has_value());
}

TEST(SqliteDateTextTest, StoredFormIsRecognisedExactly) {
    EXPECT_TRUE(SqliteDateText::IsStoredForm("2024-01-31 10:20:30"));
    EXPECT_TRUE(SqliteDateText::IsStoredForm("2024-01-31 10:20:30.125"));
    EXPECT_FALSE(SqliteDateText::IsStoredForm("2024-01-31"));
    EXPECT_FALSE(SqliteDateText::IsStoredForm("2024-01-31 10:20:30.5"));
    EXPECT_FALSE(SqliteDateText::IsStoredForm("2024-01-31 10:20:3x"));
}

}  // namespace
}  // namespace vorn
