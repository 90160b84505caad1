#pragma once

#include <deque>
#include <string>

#include "runtime/ProgressDisplay.h"

namespace vorn {

// A display without a screen: it keeps what it was told, so that a script
// run, or a test, can read it back. Requests are queued by PushRequest.
class StoredProgressDisplay : public ProgressDisplay {
public:
    void Show(std::string_view title) override;
    void Close() override { shown = false; }
    void SetTitle(std::string_view text) override { title = text; }
    void Reset() override {}
    bool CancelProcess() const override { return cancelProcessUsed; }
    void CancelProcessButtonVisible(bool visible) override { cancelProcessButtonVisible = visible; }
    void AbortButtonVisible(bool visible) override { abortButtonVisible = visible; }
    void AbortCaption(std::string_view caption) override { abortCaption = caption; }
    void FloodPercent(std::int16_t percent) override { floodPercent = percent; }
    void FloodCaption(std::string_view caption) override { floodCaption = caption; }
    void FloodZorder(std::int16_t order) override { floodZorder = order; }
    void ProgressBarVisible(bool visible) override { progressBarVisible = visible; }
    void ProgressLabel(bool visible) override { label1Visible = visible; }
    void ProgressLabel2(bool visible) override { label2Visible = visible; }
    void ProgressText(std::string_view text) override { text1 = text; }
    void ProgressText2(std::string_view text) override { text2 = text; }
    void RepositionControlsForSingleProcess(std::string_view caption) override;
    ProgressRequest TakeRequest() override;

    // Queues a request as if the user had used a button.
    void PushRequest(ProgressRequest request);

    bool shown = false;
    std::string title;
    bool cancelProcessUsed = false;
    bool cancelProcessButtonVisible = false;
    bool abortButtonVisible = true;
    bool singleProcessLayout = false;
    std::string abortCaption;
    std::int16_t floodPercent = 0;
    std::string floodCaption;
    std::int16_t floodZorder = 0;
    bool progressBarVisible = false;
    bool label1Visible = false;
    bool label2Visible = false;
    std::string text1;
    std::string text2;

private:
    std::deque<ProgressRequest> requests_;
};

}  // namespace vorn
