#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "dbcontract/DaoErrors.h"
#include "dbcontract/Database.h"
#include "dbcontract/Workspace.h"

namespace vorn {

struct JetOpenOptions;

// The root of the data access objects: opens, creates and compacts project
// files, whatever engine stores them, and keeps the errors of the last
// failure. One per process, made at its first use.
class DBEngine {
public:
    DBEngine() = default;
    DBEngine(const DBEngine&) = delete;
    DBEngine& operator=(const DBEngine&) = delete;

    // Workspaces(0), the default workspace; 3265 for any other index.
    Workspace& Workspaces(std::int32_t index = 0);
    DaoErrors& Errors() { return EngineErrors(); }
    std::string Version() const { return "3.6"; }

    // Opens a project file by its content, whatever its extension. A missing
    // file fails with 3024, a file of no known format with 3343. Read only:
    // every write fails with 3027 and the file is left as it was.
    // With `connect` naming an enterprise database (EnterpriseTargetOf: the
    // IDAO form or an ODBC string), `name` is not used and the database of
    // the server opens as a Database: its tables, fields, indexes and
    // relations, Jet SQL rewritten for its engine, Connect that string; a
    // server that cannot be reached fails with kDalGenericFailure.
    std::shared_ptr<Database> OpenDatabase(const std::string& name, std::int32_t options = 0,
                                           bool readOnly = false, const std::string& connect = {});

    // Makes a new, empty project file; 3204 when the file exists. The locale
    // text (";LANGID=0x0409;CP=1252;COUNTRY=0") is kept as the engine's.
    std::shared_ptr<Database> CreateDatabase(const std::string& name, const std::string& locale,
                                             std::int32_t options = 0);

    // Writes a compacted copy to a new file of our own format; an existing
    // destination fails. A Jet or ACE source is converted: read as
    // OpenDatabase reads it, and copied whole (what cannot be copied is
    // shown in one message).
    void CompactDatabase(const std::string& source, const std::string& destination,
                         const std::string& locale = {}, std::int32_t options = 0);
    // The same with the copy's progress and warnings for a caller that shows
    // them itself, and the password of a protected Jet source.
    void CompactDatabase(const std::string& source, const std::string& destination,
                         const JetOpenOptions& how);

private:
    Workspace workspace_;
};

// The engine of the process.
DBEngine& DaoEngine();

}  // namespace vorn
