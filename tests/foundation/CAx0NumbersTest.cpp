#include <gtest/gtest.h>

#include "support/TestSupport.h"

#include <string>
#include <vector>

#include "foundation/CAx0.h"
#include "runtime/Conversions.h"
#include "runtime/DateSerial.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

using testing::FailureNumber;

// ---- Rounding and interpolation ------------------------------------------------

TEST(CAx0Numbers, RoundToFnDRoundsHalvesAwayFromZero) {
    const CAx0 ax;
    const std::vector<std::tuple<double, double, double>> cases = {
        {0.1, 0.25, 0.3},
        {5, -2.5, -5},
        {5, 2.4, 0},
        {0.01, 1.005, 1.01},  // 1.005 is held as 1.00499999...: the nudge lifts it
        {0.01, -1.005, -1.01},
        {1e-9, 0.4e-9, 0},  // a step this small gets no nudge
    };
    for (const auto& [roundTo, value, expected] : cases) {
        EXPECT_NEAR(ax.RoundToFnD(roundTo, value), expected, 1e-12) << roundTo << " " << value;
    }
    EXPECT_EQ(FailureNumber([&] { ax.RoundToFnD(0, 3); }), errnum::kDivisionByZero);

    std::string data = "12.345";
    ax.RoundoffText("0.01", data);
    EXPECT_EQ(data, "12.35");
    ax.RoundoffText("", data);  // rewritten only when both are given
    EXPECT_EQ(data, "12.35");
}

TEST(CAx0Numbers, InterpolateFnDArithmeticAndLogarithmic) {
    const CAx0 ax;
    EXPECT_DOUBLE_EQ(ax.InterpolateFnD(25, 10, 20, 100, 200), 250);  // extrapolates
    EXPECT_NEAR(ax.InterpolateFnD(10, 1, 100, 0, 2, CAx0::gi_Interp_Log, CAx0::gi_Interp_Arith), 1, 1e-12);
    EXPECT_NEAR(ax.InterpolateFnD(0.5, 0, 1, 1, 100, CAx0::gi_Interp_Arith, CAx0::gi_Interp_Log), 10, 1e-9);
    EXPECT_EQ(FailureNumber([&] { ax.InterpolateFnD(1, 0, 10, 1, 2, CAx0::gi_Interp_Log); }),
              errnum::kInvalidProcedureCall);
    EXPECT_EQ(FailureNumber([&] { ax.InterpolateFnD(1, 5, 5, 1, 2); }), errnum::kDivisionByZero);
}

// ---- Axis division --------------------------------------------------------------

struct AxisResult {
    double firstOffset = 0;
    double incCoor = 0;
    double valueStart = 0;
    std::int16_t numDiv = 0;
    std::int16_t numInc = 0;
    double numIncCoor = 0;
    std::int16_t numTotal = 0;
    std::string format;
};

AxisResult Axis(bool dirY, double textHt, float angle, double side, double inc, double min, double max,
                bool suppressSeparator) {
    AxisResult r;
    CAx0().DivNumFreqArith(dirY, textHt, angle, side, inc, min, max, suppressSeparator, r.firstOffset, r.incCoor,
                           r.valueStart, r.numDiv, r.numInc, r.numIncCoor, r.numTotal, r.format);
    return r;
}

TEST(CAx0Numbers, DivNumFreqArithLaysOutAnAxis) {
    // 0..100 over 10 length units: ticks every 10 are 1 unit apart;
    // horizontal numbers need 7 * 0.1.
    const AxisResult r = Axis(false, 0.1, 0, 10, 10, 3, 103, false);
    EXPECT_DOUBLE_EQ(r.valueStart, 10);
    EXPECT_DOUBLE_EQ(r.firstOffset, 0.7);
    EXPECT_DOUBLE_EQ(r.incCoor, 1);
    EXPECT_EQ(r.numInc, 10);
    EXPECT_EQ(r.numDiv, 10);  // 10, 20, ..., 100
    EXPECT_EQ(r.numTotal, 10);
    EXPECT_EQ(r.format, "#,##0");

    const AxisResult negative = Axis(false, 0.1, 0, 10, 5, -12, 18, false);
    EXPECT_DOUBLE_EQ(negative.valueStart, -10);  // the first multiple at or above the minimum
    EXPECT_EQ(negative.numDiv, 6);
    EXPECT_EQ(Axis(false, 0.1, 0, 10, 0.25, 0, 10, true).format, "0.00");
    EXPECT_EQ(FailureNumber([] { Axis(false, 0.1, 0, 10, 5, 3, 3, false); }), errnum::kDivisionByZero);
    EXPECT_EQ(FailureNumber([] { Axis(false, 0.1, 0, 0, 5, 0, 10, false); }), errnum::kDivisionByZero);
}

TEST(CAx0Numbers, DivNumFreqArithSpacesTheNumbers) {
    // Ticks 1 length unit apart: (vertical axis, angle, text height, numbers every n ticks).
    const std::vector<std::tuple<bool, float, double, std::int16_t>> cases = {
        {false, 0, 0.1, 1},    // needs 0.7
        {false, 0, 0.2, 2},    // needs 1.4
        {false, 0, 0.5, 5},    // needs 3.5
        {false, 0, 20.0, 10},  // crowded 20 times over: 10 is the last step
        {false, 90, 0.5, 2},   // turned upright: needs 3 * 0.5
        {true, 0, 0.5, 2},     // numbers along a vertical axis need 3 heights
        {true, 270, 0.5, 5},   // turned along it: 7 heights
    };
    for (const auto& [dirY, angle, textHt, numInc] : cases) {
        const AxisResult r = Axis(dirY, textHt, angle, 100, 1, 0, 100, true);
        EXPECT_EQ(r.numInc, numInc) << dirY << " " << angle << " " << textHt;
        EXPECT_DOUBLE_EQ(r.numIncCoor, numInc);
        EXPECT_EQ(r.numTotal, 100 / numInc + 1);
    }
}

// ---- Small members ----------------------------------------------------------------

TEST(CAx0Numbers, AlphaSeqAndShortIntegers) {
    const CAx0 ax;
    const std::vector<std::pair<std::int32_t, std::string>> codes = {
        {0, ""}, {-3, ""}, {26, "Z"}, {27, "AA"}, {52, "AZ"}, {702, "ZZ"}, {703, "AAA"}, {16384, "XFD"},
    };
    for (const auto& [number, code] : codes) EXPECT_EQ(ax.AlphaSeqFnS(number), code) << number;

    const std::vector<std::pair<double, std::int16_t>> shorts = {
        {1e9, 32767}, {-1e9, -32768}, {2.5, 2}, {3.5, 4}, {-2.5, -2},
    };
    for (const auto& [value, expected] : shorts) {
        EXPECT_EQ(ax.ShortIntConstrainFnI(value), expected) << value;
        EXPECT_EQ(ax.SingleToIntegerOverflowCheckFnI(static_cast<float>(value)), expected) << value;
    }
    EXPECT_EQ(ax.LOWORD(-1), 65535);
}

// ---- Dates ---------------------------------------------------------------------------

double FixedNow() { return DateSerialFromParts({2024, 3, 5, 14, 7, 9}); }
double LaterNow() { return DateSerialFromParts({2024, 3, 5, 14, 8, 39}); }

TEST(CAx0Dates, VornFullDateFnSFormatsByTheHostsSetting) {
    const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
        {"yyyy-mm-dd", "1/2/29", "2029-01-02"},
        {"yyyy-mm-dd", "1/2/30", "1930-01-02"},
        {"yyyy-mm-dd", "", ""},
        {"", "1/2/30", "1/2/30"},                 // no format: unchanged
        {"", "45356.5", "3/5/2024 12:00:00 PM"},  // a day number is read first
        {"yyyy-mm-dd", "3/5/2024 0:00", "2024-03-05 12:00:00 AM"},  // ":0" keeps midnight
        {"yyyy-mm-dd", "13:45", "1:45:00 PM"},                      // a time alone has no date part
        {"yyyy-mm-dd", "not a date", ""},
    };
    for (const auto& [formatDate, text, expected] : cases) {
        CAx0 ax;
        ax.FormatDate(formatDate);
        EXPECT_EQ(ax.VornFullDateFnS(text), expected) << formatDate << " " << text;
    }
    CAx0 ax;
    ax.FormatDate("d mmm yyyy");
    ax.FormatTime("hh:nn");
    EXPECT_EQ(ax.VornFullDateFnS("3/5/2024 13:45:10"), "5 Mar 2024 13:45");
}

TEST(CAx0Dates, ClockDrivenMembers) {
    CAx0 ax;
    ax.NowClock(&FixedNow);
    ax.FormatDate("yyyy/mm/dd");
    ax.FormatTime("hh:nn:ss");
    EXPECT_EQ(ax.VornNowDate(), "2024/03/05 14:07:09");
    EXPECT_NEAR(CDbl(Variant(ax.NowNumberFnS())), FixedNow(), 1e-9);

    ax.DebugTime(0);
    ax.NowClock(&LaterNow);
    ax.DebugTime(1);
    ax.DebugTime(1);
    EXPECT_EQ(ax.DebugTimeCount(), 2);
    EXPECT_NEAR(ax.DebugTimeSeconds(), 90, 1e-3);
    ax.DebugTime(0);
    EXPECT_EQ(ax.DebugTimeCount(), 0);
}

TEST(CAx0Dates, SortFormatFnSMakesSortableText) {
    const CAx0 ax;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"abc", "abc"},
        {"3.25", "00000000003.25000"},
        {"-4", "-00000000000.25000"},  // a negative number as its reciprocal
        {"007", "007"},                // not the number's own text
        {"3/5/2024 14:07", "202403051407"},
        {"1/2/30", "1/2/30"},  // a date shorter than 8 characters
    };
    for (const auto& [source, expected] : cases) EXPECT_EQ(ax.SortFormatFnS(source), expected) << source;
}

TEST(CAx0Dates, FormatSpecFnBBuildsDateFormats) {
    const CAx0 ax;
    const std::string nul(1, '\0');
    const std::vector<std::tuple<std::string, bool, std::string>> cases = {
        {nul + "11FDNUMSLASH", true, "dd/mm/yy"},
        {nul + "21<<FDNUMSLASHFULLYR>>", true, "yyyy/mm/dd"},
        {nul + "01\"fdNumDash\"", true, "mm-dd-yy"},
        {nul + "10FDABBRMONTH", true, "d mmm yy"},
        {nul + "00FDUNABBRMONTHORDDAY", true, "mmmm d\"\x01\", yyyy"},
        {nul + "00FDUNKNOWN", false, nul + "00FDUNKNOWN"},
        {"00FDNUMSLASH", false, "00FDNUMSLASH"},
    };
    for (const auto& [input, ok, expected] : cases) {
        std::string spec = input;
        EXPECT_EQ(ax.FormatSpecFnB(spec), ok) << expected;
        EXPECT_EQ(spec, expected);
    }
}

// ---- Colours ----------------------------------------------------------------------

std::int32_t Rgb(std::int32_t r, std::int32_t g, std::int32_t b) { return r | (g << 8) | (b << 16); }

TEST(CAx0Colours, BlendColorsStepsByTheCountNotTheGaps) {
    const CAx0 ax;
    VArray colours;
    ax.BlendColors(Rgb(0, 100, 255), Rgb(100, 0, 55), 5, colours);
    // Increments 20, -20, -40; the last gap is twice the others.
    EXPECT_EQ(colours, VArray::FromItems({Variant(Rgb(0, 100, 255)), Variant(Rgb(20, 80, 215)),
                                          Variant(Rgb(40, 60, 175)), Variant(Rgb(60, 40, 135)),
                                          Variant(Rgb(100, 0, 55))}));
    ax.BlendColors(Rgb(1, 2, 3), Rgb(4, 5, 6), 1, colours);
    EXPECT_EQ(colours, VArray::FromItems({Variant(Rgb(1, 2, 3)), Variant(Rgb(4, 5, 6))}));
    // Red steps by 10 / 4 = 2.5: 2.5 and 7.5 round half to even.
    ax.BlendColors(0, Rgb(10, 0, 0), 4, colours);
    EXPECT_EQ(CLng(colours.At(1)), 2);
    EXPECT_EQ(CLng(colours.At(2)), 5);
}

TEST(CAx0Colours, SplitAndScale) {
    const CAx0 ax;
    std::int16_t r = -1, g = -1, b = -1;
    ax.WinColorToRGB(Rgb(12, 34, 56), r, g, b);
    EXPECT_EQ((std::vector<std::int16_t>{r, g, b}), (std::vector<std::int16_t>{12, 34, 56}));
    ax.WinColorToRGB(-2147483643, r, g, b);  // a system colour
    EXPECT_EQ((std::vector<std::int16_t>{r, g, b}), (std::vector<std::int16_t>{0, 0, 0}));

    // (source width, source height, final height, final width, factor)
    const std::vector<std::tuple<double, double, double, double, double>> cases = {
        {200, 100, 50, 50, 0.25},  // width limits
        {100, 200, 50, 50, 0.25},  // height limits
        {200, 100, 50, 0, 0.5},    // only the height limits
        {200, 0, 50, 400, 2},      // no source height: the height does not limit
        {200, 100, 0, 0, 1},
    };
    for (const auto& [sourceWid, sourceHt, finalHt, finalWid, expected] : cases) {
        EXPECT_DOUBLE_EQ(ax.FindControllingScaleFactorFnD(sourceWid, sourceHt, finalHt, finalWid), expected);
    }
}

}  // namespace
}  // namespace vorn
