#include "runtime/StoredProgressDisplay.h"

namespace vorn {

void StoredProgressDisplay::Show(std::string_view text) {
    shown = true;
    title = text;
}

void StoredProgressDisplay::RepositionControlsForSingleProcess(std::string_view caption) {
    singleProcessLayout = true;
    abortCaption = caption;
    cancelProcessButtonVisible = false;
}

void StoredProgressDisplay::PushRequest(ProgressRequest request) {
    if (request == ProgressRequest::kCancelProcess) cancelProcessUsed = true;
    requests_.push_back(request);
}

ProgressRequest StoredProgressDisplay::TakeRequest() {
    if (requests_.empty()) return ProgressRequest::kNone;
    const ProgressRequest next = requests_.front();
    requests_.pop_front();
    return next;
}

}  // namespace vorn
