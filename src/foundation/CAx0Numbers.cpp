// CAx0: rounding, interpolation, graph axis arithmetic, the product's date
// text, sort keys, date format keywords and colour gradients.

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <optional>

#include "foundation/CAx0.h"
#include "runtime/Conversions.h"
#include "runtime/DateSerial.h"
#include "runtime/Format.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

// Half the unit of the eighth decimal: the size of the binary noise that
// rounding and tick counting guard against.
constexpr double kNoise = 5e-9;

// Division as the runtime did it: by zero fails with 11, and 0 / 0 with 6.
double Divide(double numerator, double denominator, const char* member) {
    if (denominator == 0.0) {
        throw numerator == 0.0 ? VornError::Overflow(member) : VornError::DivisionByZero(member);
    }
    return numerator / denominator;
}

// The runtime's Log: a value <= 0 is an invalid argument.
double NaturalLog(double value, const char* member) {
    if (!(value > 0.0)) throw VornError::InvalidArgument(member);
    return std::log(value);
}

// A double into a 16-bit integer: rounded half to even, 6 when out of range.
std::int16_t ToInteger(double value) { return CInt(Variant(value)); }

// The local wall-clock time as a date serial, to the second.
double SystemNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    DateParts parts;
    parts.year = local.tm_year + 1900;
    parts.month = local.tm_mon + 1;
    parts.day = local.tm_mday;
    parts.hour = local.tm_hour;
    parts.minute = local.tm_min;
    parts.second = std::min(local.tm_sec, 59);  // a leap second reads as :59
    return DateSerialFromParts(parts);
}

// A text that reads as a number with a decimal point is a day number; it
// becomes a date text. One out of the date range is kept as it is.
std::string DayNumberAsDateText(std::string text) {
    const Variant value(text);
    if (text.find('.') == std::string::npos || !IsNumeric(value)) return text;
    const double serial = CDbl(value);
    if (serial < kMinDateSerial || serial > kMaxDateSerial) return text;
    return DateToString(serial);
}

// Two-digit years 30-99 are the 1900s and others the 2000s, whatever window
// the date reader used.
std::string WithCenturyWindow(std::string formatted, std::string_view source, int year) {
    const std::string written = std::to_string(year);
    if (source.find(written) != std::string_view::npos) return formatted;
    const int twoDigits = year % 100;
    const int windowed = twoDigits > 29 ? 1900 + twoDigits : 2000 + twoDigits;
    return utf8::Replace(formatted, written, std::to_string(windowed));
}

// Channels of a colour: red, green, blue.
std::array<std::int16_t, 3> Channels(const CAx0& ax, std::int32_t color) {
    std::array<std::int16_t, 3> rgb{};
    ax.WinColorToRGB(color, rgb[0], rgb[1], rgb[2]);
    return rgb;
}

// The keyword of a date format spec: quotes and token delimiters dropped,
// upper-cased.
std::string SpecKeyword(std::string_view spec) {
    std::string keyword = utf8::Mid(spec, 4);
    for (std::string_view mark : {"\"", "<<", ">>"}) keyword = utf8::Replace(keyword, mark, "");
    return utf8::ToUpper(keyword);
}

struct DateKeyword {
    std::string_view keyword;
    std::string_view year;
    std::string_view month;      // "" for the width form
    std::string_view separator;  // "" for the named-month forms
    bool ordinalDay;
};

constexpr std::array<DateKeyword, 7> kDateKeywords = {{
    {"FDNUMSLASH", "yy", "", "/", false},
    {"FDNUMSLASHFULLYR", "yyyy", "", "/", false},
    {"FDNUMDASH", "yy", "", "-", false},
    {"FDNUMDOT", "yy", "", ".", false},
    {"FDABBRMONTH", "yy", "mmm", "", false},
    {"FDUNABBRMONTH", "yyyy", "mmmm", "", false},
    {"FDUNABBRMONTHORDDAY", "yyyy", "mmmm", "", true},
}};

// Joins the parts in the format's order: 1 day first, 2 year first, else month
// first. Named months stand between blanks, with ", " before a trailing year
// of the month-first order.
std::string JoinDateParts(int order, const DateKeyword& form, const std::string& month,
                          const std::string& day) {
    const std::string year(form.year);
    if (!form.separator.empty()) {
        const std::string sep(form.separator);
        if (order == 1) return day + sep + month + sep + year;
        if (order == 2) return year + sep + month + sep + day;
        return month + sep + day + sep + year;
    }
    if (order == 1) return day + " " + month + " " + year;
    if (order == 2) return year + " " + month + " " + day;
    return month + " " + day + ", " + year;
}

}  // namespace

// ---- Numbers --------------------------------------------------------------------

double CAx0::RoundToFnD(double pdRoundTo, double pdValue) const {
    // The nudge carries an exact half away from zero and lifts a value that
    // binary noise left just below one.
    const double nudge = pdRoundTo >= 2 * kNoise ? (pdValue > 0   ? 1
                                                    : pdValue < 0 ? -1
                                                                  : 0) *
                                                       0.9 * kNoise
                                                 : 0.0;
    return std::floor(Divide(pdRoundTo / 2 + pdValue + nudge, pdRoundTo, "CAx0.RoundToFnD")) *
           pdRoundTo;
}

void CAx0::RoundoffText(std::string_view psRoundTo, std::string& psData) const {
    if (psRoundTo.empty() || psData.empty()) return;
    psData = DoubleToString(RoundToFnD(CVDblFnD(psRoundTo), CVDblFnD(psData)));
}

double CAx0::InterpolateFnD(double pdKeyVal, double pdRefLow, double pdRefHigh, double pdValLow,
                            double pdValHigh, std::int16_t piTypeRef,
                            std::int16_t piTypeVal) const {
    constexpr const char* kMember = "CAx0.InterpolateFnD";
    if (piTypeRef == gi_Interp_Log) {
        pdKeyVal = NaturalLog(pdKeyVal, kMember);
        pdRefLow = NaturalLog(pdRefLow, kMember);
        pdRefHigh = NaturalLog(pdRefHigh, kMember);
    }
    const bool logValues = piTypeVal == gi_Interp_Log;
    if (logValues) {
        pdValLow = NaturalLog(pdValLow, kMember);
        pdValHigh = NaturalLog(pdValHigh, kMember);
    }
    const double result =
        (pdValHigh - pdValLow) * Divide(pdKeyVal - pdRefLow, pdRefHigh - pdRefLow, kMember) +
        pdValLow;
    if (!logValues) return result;
    const double value = std::exp(result);
    if (std::isinf(value)) throw VornError::Overflow(kMember);
    return value;
}

void CAx0::DivNumFreqArith(bool pbDirY, double pdTextHt, float pnDivAngle, double pdSideLen,
                           double pdDivInc, double pdDataMin, double pdDataMax,
                           bool pbFrameDivSuppress1000Sep, double& pdDivFirstOffset,
                           double& pdDivIncCoor, double& pdDivValueStart, std::int16_t& piNumDiv,
                           std::int16_t& piDivNumInc, double& pdDivNumIncCoor,
                           std::int16_t& piDivNumTotal, std::string& psDivNumFormat) const {
    constexpr const char* kMember = "CAx0.DivNumFreqArith";
    // Decimals as the increment's text shows them.
    const std::string incText = DoubleToString(pdDivInc);
    const std::size_t dot = incText.find('.');
    const std::size_t decimals = dot == std::string::npos ? 0 : incText.size() - dot - 1;
    const std::string fraction = decimals > 0 ? "." + std::string(decimals, '0') : "";
    psDivNumFormat = pbFrameDivSuppress1000Sep ? "0" + fraction : "#,##0" + fraction;

    pdDivValueStart = std::floor(Divide(pdDataMin, pdDivInc, kMember)) * pdDivInc;
    if (pdDivValueStart < pdDataMin) pdDivValueStart += pdDivInc;
    const double scale = Divide(pdDataMax - pdDataMin, pdSideLen, kMember);
    pdDivFirstOffset = Divide(pdDivValueStart - pdDataMin, scale, kMember);

    // A label takes 3 text heights across its reading direction and 7 along it.
    const bool upright = pnDivAngle == 90.0F || pnDivAngle == 270.0F;
    const double needed = (pbDirY == upright ? 7.0 : 3.0) * pdTextHt;
    constexpr std::array<double, 4> kMultipliers = {1, 2, 5, 10};
    const double spacing = std::abs(Divide(pdDivInc, scale, kMember));
    std::size_t pick = 0;
    // 10 is the last step even when its numbers still crowd.
    while (pick + 1 < kMultipliers.size() && spacing * kMultipliers[pick] < needed) ++pick;

    piDivNumInc = ToInteger(pdDivInc * kMultipliers[pick]);
    const double span = pdDataMax - pdDivValueStart;
    piNumDiv = ToInteger(std::floor(Divide(span, pdDivInc, kMember) + kNoise) + 1);
    piDivNumTotal = ToInteger(std::floor(Divide(span, piDivNumInc, kMember) + kNoise) + 1);
    pdDivIncCoor = Divide(pdDivInc, scale, kMember);
    pdDivNumIncCoor = Divide(piDivNumInc, scale, kMember);
}

std::string CAx0::AlphaSeqFnS(std::int32_t plNum) const {
    std::string code;
    for (std::int64_t number = plNum; number >= 1; number = (number - 1) / 26) {
        const std::int64_t letter = number % 26 == 0 ? 26 : number % 26;
        code.insert(code.begin(), static_cast<char>('A' + letter - 1));
    }
    return code;
}

std::int16_t CAx0::ShortIntConstrainFnI(double pdSourceNumber) const {
    return ToInteger(std::clamp(pdSourceNumber, -32768.0, 32767.0));
}

std::int16_t CAx0::SingleToIntegerOverflowCheckFnI(float pnValue) const {
    return ShortIntConstrainFnI(pnValue);
}

// ---- Dates and sort keys ---------------------------------------------------------

std::string CAx0::VornFullDateFnS(std::string_view psDate) const {
    if (psDate.empty()) return {};
    const std::string text = DayNumberAsDateText(std::string(psDate));
    if (formatDate_.empty()) return text;

    double dateValue = 0.0;
    double timeValue = 0.0;
    DateParts parts;
    if (const std::optional<double> serial = ParseDate(text)) {
        parts = DatePartsFromSerial(*serial);
        dateValue = DateSerial(parts.year, parts.month, parts.day);
        timeValue = TimeSerial(parts.hour, parts.minute, parts.second);
    }
    // A midnight written out (":0") is kept.
    std::string timeText;
    if (timeValue != 0.0 || text.find(":0") != std::string::npos) {
        timeText = " " + Format(Variant::FromDate(timeValue), formatTime_);
    }
    std::string dateText;
    if (dateValue != 0.0) {
        dateText =
            WithCenturyWindow(Format(Variant::FromDate(dateValue), formatDate_), text, parts.year);
    }
    return std::string(utf8::LTrim(dateText + timeText));
}

std::string CAx0::VornNowDate() const { return VornFullDateFnS(DateToString(NowSerial())); }

std::string CAx0::NowNumberFnS() const { return DoubleToString(NowSerial()); }

double CAx0::NowSerial() const { return nowClock_ != nullptr ? nowClock_() : SystemNow(); }

std::string CAx0::SortFormatFnS(std::string_view psSort) const {
    const Variant source(psSort);
    if (IsNumeric(source)) {
        double number = CDbl(source);
        // Only a number in its own canonical text: "1,000" or "007" stay text.
        if (DoubleToString(number) == psSort) {
            if (number < 0) number = 1 / number;
            return FormatDouble(number, "00000000000.00000");
        }
    }
    if (IsDate(source) && utf8::Length(psSort) >= 8) {
        return FormatDateSerial(CDate(source), "yyyymmddhhnn");
    }
    return std::string(psSort);
}

bool CAx0::FormatSpecFnB(std::string& psFormatOrg) const {
    if (psFormatOrg.empty() || psFormatOrg[0] != '\0') return false;
    const std::string keyword = SpecKeyword(psFormatOrg);
    const auto form = std::find_if(kDateKeywords.begin(), kDateKeywords.end(),
                                   [&](const DateKeyword& k) { return k.keyword == keyword; });
    if (form == kDateKeywords.end()) return false;

    const int order = static_cast<int>(Val(utf8::Mid(psFormatOrg, 2, 1)));
    const auto width = static_cast<std::size_t>(Val(utf8::Mid(psFormatOrg, 3, 1))) + 1;
    std::string day(width, 'd');
    // The ordinal mark, a character of code 1, is replaced by the caller.
    if (form->ordinalDay) day += "\"\x01\"";
    const std::string month =
        form->month.empty() ? std::string(width, 'm') : std::string(form->month);
    psFormatOrg = JoinDateParts(order, *form, month, day);
    return true;
}

void CAx0::DebugTime(std::int16_t piStart) {
    const double now = NowSerial();
    if (piStart == 0) {
        debugTimeStart_ = now;
        debugTimeCount_ = 0;
        debugTimeSeconds_ = 0.0;
        return;
    }
    ++debugTimeCount_;
    debugTimeSeconds_ = (now - debugTimeStart_) * 86400.0;
}

// ---- Colours ------------------------------------------------------------------------

void CAx0::BlendColors(std::int32_t plColorStart, std::int32_t plColorEnd, std::int32_t plSteps,
                       VArray& plGradColorsV) const {
    const std::int32_t steps = std::max(plSteps, 2);
    plGradColorsV.ReDim(0, steps - 1);
    const std::array<std::int16_t, 3> start = Channels(*this, plColorStart);
    const std::array<std::int16_t, 3> end = Channels(*this, plColorEnd);
    std::array<float, 3> increment{};
    for (std::size_t c = 0; c < 3; ++c) {
        // Divided by the steps, not the gaps: the last gap is the larger one.
        increment[c] = static_cast<float>(static_cast<double>(end[c] - start[c]) / steps);
    }
    plGradColorsV.At(0) = Variant(plColorStart);
    for (std::int32_t i = 1; i < steps - 1; ++i) {
        std::int32_t color = 0;
        for (std::size_t c = 0; c < 3; ++c) {
            const std::int32_t channel =
                ToInteger(start[c] + i * static_cast<double>(increment[c]));
            color |= channel << (8 * c);
        }
        plGradColorsV.At(i) = Variant(color);
    }
    plGradColorsV.At(steps - 1) = Variant(plColorEnd);
}

void CAx0::WinColorToRGB(std::int32_t plColor, std::int16_t& piRed, std::int16_t& piGreen,
                         std::int16_t& piBlue) const {
    // System colours (negative) and black carry no channels.
    const std::int32_t color = plColor < 1 ? 0 : plColor;
    piRed = static_cast<std::int16_t>(color & 0xFF);
    piGreen = static_cast<std::int16_t>((color >> 8) & 0xFF);
    piBlue = static_cast<std::int16_t>((color >> 16) & 0xFF);
}

double CAx0::FindControllingScaleFactorFnD(double pdSourceWid, double pdSourceHt, double pdFinalHt,
                                           double pdFinalWid) const {
    // A final size of 0, or a source size of 0, does not limit.
    const std::optional<double> byHeight = pdSourceHt != 0.0 && pdFinalHt != 0.0
                                               ? std::optional(pdFinalHt / pdSourceHt)
                                               : std::nullopt;
    const std::optional<double> byWidth = pdSourceWid != 0.0 && pdFinalWid != 0.0
                                              ? std::optional(pdFinalWid / pdSourceWid)
                                              : std::nullopt;
    if (byHeight && byWidth) return std::min(*byHeight, *byWidth);
    return byHeight.value_or(byWidth.value_or(1.0));
}

}  // namespace vorn
