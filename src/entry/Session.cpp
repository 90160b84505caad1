#include "entry/Session.h"

#include "dbcontract/DalSession.h"
#include "forms/CAxControls.h"
#include "foundation/CAx0.h"
#include "foundation/CDoTrace.h"
#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "foundation/clsProgressInterface.h"
#include "model/CCallbacks.h"
#include "model/CJetEngineOps.h"
#include "model/CUserTableOps.h"
#include "model/CVornIndex.h"
#include "runtime/SessionSlot.h"

namespace vorn {
namespace {

bool& StartedFlag() {
    static bool started = false;
    return started;
}

template <class T>
void Make() {
    SessionSlot<T>::Make(std::make_unique<T>());
}

}  // namespace

void StartSession(SessionOptions options) {
    if (StartedFlag()) return;
    StartedFlag() = true;
    if (options.ui) SetUi(std::move(options.ui));
    // The order is part of the design: the string services and the text
    // table exist before anything that may report.
    Make<CAx0>();                  // Ax
    Make<CTextString>();           // TextStr
    Make<CAxControls>();           // AxControls
    Make<clsProgressInterface>();  // Progress
    Make<CCallbacks>();  // Callbacks
    Make<CFile>();     // File
    Make<CDoTrace>();  // Trace
    Make<CVornIndex>();     // Index
    Make<CJetEngineOps>();  // JetOps
    Make<CUserTableOps>();  // UserTab
    Make<DalSession>();  // DalSession
    // Upsize joins here, last.
}

bool SessionStarted() { return StartedFlag(); }

}  // namespace vorn
