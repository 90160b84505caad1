#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vorn {

// Date values as project files store them: "YYYY-MM-DD HH:MM:SS", with
// ".fff" only when the value has a fraction of a second. The time always
// counts forward from midnight of the day, also for the negative serials
// before 1899-12-30, so -1.25 is "1899-12-29 06:00:00".
class SqliteDateText {
public:
    // The text of a serial, to the millisecond; nullopt outside 100-01-01 to
    // 9999-12-31 23:59:59.999.
    static std::optional<std::string> FromSerial(double serial);

    // The serial of a stored text. Accepts the stored form, also with "T"
    // between date and time, a date alone, and 1 to 9 digits of fraction
    // (rounded to the millisecond); nullopt for anything else.
    static std::optional<double> ToSerial(std::string_view text);

    // True when `text` has exactly the stored form.
    static bool IsStoredForm(std::string_view text);
};

}  // namespace vorn
