#pragma once

#include <cstdint>

namespace vorn {

// A calendar date and wall-clock time, as the parts of a date value.
struct DateParts {
    int year = 1899;   // 100 to 9999 for a valid date value
    int month = 12;    // 1 to 12
    int day = 30;      // 1 to 31
    int hour = 0;      // 0 to 23
    int minute = 0;    // 0 to 59
    int second = 0;    // 0 to 59
};

// Date values are doubles counting days from 1899-12-30 (day 0), as Jet
// stores them: the whole part is the day, and the fraction is the time of day.
// For a negative value the fraction still counts forward from midnight, so
// -1.25 is 1899-12-29 06:00, not 18:00.
inline constexpr double kMinDateSerial = -657434.0;               // 100-01-01
inline constexpr double kMaxDateSerial = 2958465.99998842592592;  // 9999-12-31 23:59:59

// True when the parts make a real date between 100-01-01 and 9999-12-31 and a
// time of day between 00:00:00 and 23:59:59.
bool IsValidDateParts(const DateParts& parts);

// The serial of a date and time. Parts must be valid (IsValidDateParts).
double DateSerialFromParts(const DateParts& parts);

// The serial of a date alone; month and day may run over their ranges and
// carry into the year and month, as DateSerial(2024, 14, 0) does.
double DateSerial(int year, int month, int day);

// The serial fraction of a time of day; values may carry over a day.
double TimeSerial(int hour, int minute, int second);

// The parts of a serial, the time rounded to the nearest second (half a
// second up), which may carry into the next day.
// REQUIRES: kMinDateSerial <= serial <= kMaxDateSerial + 1.
DateParts DatePartsFromSerial(double serial);

// Day of the week of a serial: 1 Sunday to 7 Saturday.
int WeekdayOfSerial(double serial);

// Day of the year, 1 to 366.
int DayOfYearOfSerial(double serial);

// True for a leap year of the proleptic Gregorian calendar.
bool IsLeapYear(int year);

// Days in a month of a year.
int DaysInMonth(int year, int month);

}  // namespace vorn
