#include "foundation/CDoTrace.h"

#include <sys/utsname.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>

#include "foundation/CErrorCache.h"
#include "foundation/CFile.h"
#include "runtime/ErrorRecord.h"
#include "runtime/Format.h"
#include "runtime/SessionSlot.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kRule = "====================";
constexpr std::string_view kFolderSwitch = "/DEBUG=";

// The trace of the process, shared by every CDoTrace.
struct TraceState {
    bool held = false;      // stored only
    bool timing = false;    // lines carry times
    bool started = false;   // the log is open for appending
    float lastTime = 0;     // seconds since midnight of the last line
    float startTime = 0;    // seconds since midnight of the start
    std::string logPath;
    std::string folder;
};

TraceState& State() {
    static TraceState state;
    return state;
}

std::string WithTrailingSlash(std::string folder) {
    if (!folder.empty() && folder.back() != '/') folder += '/';
    return folder;
}

// Seconds since local midnight, to the millisecond.
float SecondsSinceMidnight() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&seconds, &local);
    const auto millis =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    return static_cast<float>(local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec) +
           static_cast<float>(millis) / 1000.0F;
}

std::string LocalTimeText(std::time_t when) {
    std::tm local{};
    localtime_r(&when, &local);
    char text[32];
    return std::string(text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local));
}

// "<program path>[ <its date and time>]".
std::string ProgramLine() {
    std::error_code ec;
    const fs::path program = fs::read_symlink("/proc/self/exe", ec);
    if (ec) return "vORN";
    std::string line = "vORN " + program.string();
    const auto written = fs::last_write_time(program, ec);
    if (!ec) {
        const auto system = std::chrono::file_clock::to_sys(written);
        line += " " + LocalTimeText(std::chrono::system_clock::to_time_t(system));
    }
    return line;
}

// The system description: the operating system and its release; then the
// kernel build, the machine, the bit width of this program and the host.
// The punctuation is the one that support reads.
std::string SystemLines() {
    utsname names{};
    if (uname(&names) != 0) return {};
    const std::string bits = std::to_string(sizeof(void*) * 8);
    return std::string(names.sysname) + " " + names.release + std::string(kLineEnd) + "DEP " + names.version +
           ") - " + names.machine + " (" + bits + " bit" + " - " + names.nodename;
}

std::string Header() {
    const std::string end(kLineEnd);
    return std::string(kRule) + end + ProgramLine() + end + LocalTimeText(std::time(nullptr)) + end +
           std::string(kRule) + end + SystemLines() + end;
}

// The system settings folder of the session, or of the default settings
// when no session is made.
std::string DefaultFolder() {
    if (SessionSlot<CFile>::IsMade()) return File().SysPropsGetSystemSettingsFolderFnS();
    return CFile().SysPropsGetSystemSettingsFolderFnS();
}

void SetFolder(std::string_view folder) {
    TraceState& state = State();
    state.folder = WithTrailingSlash(std::string(folder));
    state.logPath = state.folder + std::string(CDoTrace::kLogFileName);
}

// Opens a new log: the header, and an empty line before a first line.
void StartLog(std::string_view traceVal, bool timesOff) {
    TraceState& state = State();
    state.timing = !timesOff;
    if (state.folder.empty()) state.folder = DefaultFolder();
    if (state.logPath.empty()) state.logPath = state.folder + std::string(CDoTrace::kLogFileName);
    state.started = true;
    state.held = true;
    state.startTime = SecondsSinceMidnight();
    std::error_code ignored;
    fs::remove(state.logPath, ignored);
    std::ofstream out(state.logPath, std::ios::binary | std::ios::trunc);
    out << Header();
    if (!traceVal.empty()) out << kLineEnd;
}

std::string Seconds(float seconds) { return FormatDouble(static_cast<double>(seconds), "0.000"); }

// Appends one line and closes the file again, so that the log survives a
// crash. A log that cannot be opened is passed over.
void WriteLine(std::string_view traceVal, const CErrorCache& cache) {
    TraceState& state = State();
    std::string timeText;
    if (state.timing) {
        const float now = SecondsSinceMidnight();
        const std::string gap = state.lastTime > 0 ? "; " + Seconds(now - state.lastTime) : std::string();
        timeText = " - Time: " + Seconds(now - state.startTime) + gap;
    }
    const std::string errorText = cache.ErrorText().empty() ? std::string() : " (Error = " + cache.ErrorText() + ") ";
    std::ofstream out(state.logPath, std::ios::binary | std::ios::app);
    out << traceVal << errorText << timeText << kLineEnd;
    state.lastTime = SecondsSinceMidnight();
}

void Act(std::string_view traceVal, std::int16_t option, const CErrorCache& cache) {
    const bool timesOff = option >= CDoTrace::kNoTimesFlag && (option & CDoTrace::kNoTimesFlag) != 0;
    TraceState& state = State();
    switch (timesOff ? option - CDoTrace::kNoTimesFlag : option) {
        case 0:
            return;
        case 1:
        case 3:
            if (!state.started) StartLog(traceVal, timesOff);
            WriteLine(traceVal, cache);
            return;
        case 2:
            if (state.logPath.empty()) return;
            state.timing = !timesOff;
            state.started = true;
            WriteLine(traceVal, cache);
            return;
        case 4:
            state.held = true;
            return;
        default:
            if (state.started) WriteLine(traceVal, cache);
            return;
    }
}

}  // namespace

void CDoTrace::DoTrace(std::string_view psTraceVal, std::int16_t piOption, bool /*pbMonitorMemory*/,
                       std::string_view psTracePath) {
    const CErrorCache cache;
    try {
        if (!psTracePath.empty()) SetFolder(psTracePath);
        if (utf8::EqualsIgnoreCase(utf8::Left(psTraceVal, 7), kFolderSwitch)) {
            // The command line names the folder; nothing is written yet.
            State().folder = WithTrailingSlash(std::string(psTraceVal.substr(kFolderSwitch.size())));
            return;
        }
        Act(psTraceVal, piOption, cache);
    } catch (...) {
        // Tracing never disturbs the run; the cache restores the error.
    }
}

std::string CDoTrace::LogPath() { return State().logPath; }

bool CDoTrace::Started() { return State().started; }

void CDoTrace::ResetStateForTests() { State() = TraceState{}; }

CDoTrace& Trace() { return SessionSlot<CDoTrace>::Get(); }

void ErrorChainExtend(std::string_view where) {
    ErrorRecord& error = Err();
    if (error.number == 0) return;
    const std::string source = utf8::ToUpper(error.source);
    if (source.empty() || source.starts_with("VORN") || source.starts_with("DAO.")) {
        error.source = std::string(where);
    } else {
        error.source = std::string(where) + " calling " + error.source;
    }
}

void RaiseThroughChain(std::string_view where) {
    Err() = ErrorRecord::FromCurrentException();
    if (!Err().IsSet()) throw;  // a failure with number 0 has no chain to extend
    ErrorChainExtend(where);
    Err().Raise();
}

}  // namespace vorn
