#include "entry/Session.h"

namespace vorn {
namespace {
bool& StartedFlag() {
    static bool started = false;
    return started;
}
}  // namespace

void StartSession(SessionOptions options) {
    if (StartedFlag()) return;
    StartedFlag() = true;
    if (options.ui) SetUi(std::move(options.ui));
    // The session objects join here, each in its place of the order:
    // Ax, TextStr, AxControls, Progress, Callbacks, File, Trace, Index,
    // JetOps, UserTab, DalSession, Upsize.
}

bool SessionStarted() { return StartedFlag(); }

}  // namespace vorn
