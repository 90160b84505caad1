#pragma once

#include <string>
#include <vector>

namespace vorn {

// One control of a form, as far as its caption goes.
struct FormControl {
    // A text, or a text id in the forms that TextStringCheck reads
    // ("10001", "!!4397...", "@literal").
    std::string caption;
    // Command buttons keep the letters reserved for the standard buttons.
    bool commandButton = false;
};

// Form and control helpers, the third session object.
//
// This system has no windows of its own, so the helpers that measure,
// centre and arrange a window have nothing to act on and are not offered.
// What stays is the part that needs no window: a form's captions come from
// the text table and get hot keys, no two controls of one form sharing a
// letter. A display that shows a form takes its captions from here.
class CAxControls {
public:
    CAxControls() = default;
    CAxControls(const CAxControls&) = delete;
    CAxControls& operator=(const CAxControls&) = delete;

    // Resolves each caption through the session's text table and marks its
    // hot key with "&", in the order given. Command buttons go first through
    // the reserved button captions. Uses TextStr().
    void ControlLabelTextStrings(std::vector<FormControl>& controls) const;
};

// The session's form and control helpers.
CAxControls& AxControls();

}  // namespace vorn
