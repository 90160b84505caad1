#include "forms/CAxControls.h"

#include "foundation/CTextString.h"
#include "runtime/SessionSlot.h"

namespace vorn {

void CAxControls::ControlLabelTextStrings(std::vector<FormControl>& controls) const {
    const CTextString& texts = TextStr();
    std::string hotKeys;  // the letters taken on this form
    for (FormControl& control : controls) {
        texts.TextStringCheck(control.caption);
        control.caption = control.commandButton ? texts.HotKeyAssignCmdButtonFnS(control.caption, hotKeys)
                                                : texts.HotKeyAssignFnS(control.caption, hotKeys);
    }
}

CAxControls& AxControls() { return SessionSlot<CAxControls>::Get(); }

}  // namespace vorn
