#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vorn {

// A plain text trace of a run, for support. The command line switch
// "/DEBUG=<folder>" names the folder; the host starts the log and writes
// lines through DoTrace. The state of the trace is one record per process,
// shared by all instances. Tracing never disturbs the run: the current error
// (Err()) is the same after a call as before, and a log that cannot be
// written is passed over in silence.
class CDoTrace {
public:
    static constexpr std::string_view kLogFileName = "vornlog_transmit_to_vorn_product_tsg.txt";
    // Added to an option, switches the times on the lines off.
    static constexpr std::int16_t kNoTimesFlag = 64;

    // Acts on `piOption` (kNoTimesFlag may be added):
    //   0           nothing
    //   1 or 3      starts the log unless it is started (a new file with a
    //               header), then writes the line
    //   2           continues a log whose path is known: marks it started and
    //               appends the line
    //   4           marks the trace held; writes nothing
    //   other, -1   appends the line when the log is started
    // A line is `psTraceVal`, then " (Error = <description>) " when an error
    // is current, then with times on " - Time: <since start>; <since the
    // last line>" in seconds with 3 decimals.
    // `psTracePath` sets the folder of the log (and its path). A
    // `psTraceVal` of the form "/DEBUG=<folder>" sets the folder and writes
    // nothing. Without a folder the log goes to the system settings folder.
    // `pbMonitorMemory` has no effect.
    void DoTrace(std::string_view psTraceVal = {}, std::int16_t piOption = -1, bool pbMonitorMemory = false,
                 std::string_view psTracePath = {});

    // The log file ("" until a folder or a start names it), and whether the
    // log is started.
    static std::string LogPath();
    static bool Started();

    // Tests only: forgets the state of the process's trace.
    static void ResetStateForTests();
};

// The session's trace.
CDoTrace& Trace();

// The failure chain. A foundation handler that passes a failure on names
// itself ("Class.Method") before raising again, so that the source of the
// error tells the way the failure took. Nothing happens when no error is
// set. A source of the system's own library (beginning with "VORN" or
// "DAO.", in any case) or an empty one starts the chain and becomes `where`;
// any other becomes "<where> calling <source>". The description stays.
void ErrorChainExtend(std::string_view where);

// For a catch block: records the failure in flight in Err(), extends its
// chain with `where` and raises it again.
[[noreturn]] void RaiseThroughChain(std::string_view where);

}  // namespace vorn
