#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "dbcontract/DatabaseBackend.h"
#include "dbcontract/jet/JetChildProcess.h"
#include "dbcontract/jet/JetOpenOptions.h"
#include "dbcontract/jet/JetRecordSink.h"

namespace vorn {

// Jet and ACE files (.vpj, .vlb, .vdt, .mdb, .accdb, whatever the name):
// read through libmdb in a child process and served through the contract as
// a read-only copy in our own format. Nothing is ever written to or beside
// the source file.
class JetProjectFile {
public:
    // The environment variable that can hold a database password.
    static constexpr const char* kPasswordVariable = "VORN_JET_PASSWORD";

    // True when the file starts as a Jet or ACE file does. Never raises.
    static bool LooksLikeJet(const std::string& path);

    // Opens a Jet or ACE file read only. The result answers Name with the
    // file's full path and Version with its Jet version ("3.0", "4.0",
    // "12.0", ...); every write fails with 3027. Raises 3024 when the file
    // is missing, 3343 when it is no Jet or ACE file, 3049 when it is
    // truncated or damaged (also when reading it crashes, hangs or takes
    // too much memory), 3031 when it is encrypted, or protected by a
    // database password that was not given or not right.
    static std::unique_ptr<DatabaseBackend> Open(const std::string& path, const JetOpenOptions& options = {});

    // Writes everything the Jet file holds into a new project file of our
    // format at `target`, with the same failures as Open, and 3204 when the
    // target exists and `replace` is false. The target appears whole or not
    // at all. Returns what could not be read or copied, one text each.
    static std::vector<std::string> Convert(const std::string& source, const std::string& target, bool replace,
                                            const JetOpenOptions& options = {});

    // Hands `warnings` about `path` to the options' handler, or shows them
    // in one message box when there is none; nothing when there are none.
    static void ReportWarnings(const std::string& path, const std::vector<std::string>& warnings,
                               const JetOpenOptions& options);

    // Reads the Jet file into `target` (a new, empty project file) in one
    // transaction. Returns the warnings. The same failures as Open.
    static std::vector<std::string> CopyInto(const std::string& source, DatabaseBackend& target,
                                             const JetOpenOptions& options = {});

    // Reads the Jet file's records into `sink`, with the checks and the
    // failures of Open (the sink's Failure is not called: the failure is
    // raised). For tools that need the records and no copy.
    static void Read(const std::string& source, JetRecordSink& sink, const JetOpenOptions& options = {});
};

}  // namespace vorn
