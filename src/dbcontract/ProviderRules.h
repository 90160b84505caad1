#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vorn {

// The enterprise providers the system knows, by their 16-bit codes.
namespace provider {
inline constexpr std::int16_t kOracle = 2;
inline constexpr std::int16_t kSqlServer = 4;
inline constexpr std::int16_t kMySql = 8;
inline constexpr std::int16_t kSqlite = 16;
}  // namespace provider

// The places where the system acts on the provider code. Each names one
// branch of the legacy logic; a provider added since (SQLite) is told here
// which existing branch it takes, so that no switch elsewhere has to know it.
enum class ProviderDecision {
    kAttach,                  // which BuildConnectString form attaches a connection
    kEnterpriseDatabaseTest,  // the "database" test of IsEnterpriseDBFnB
    kUpsizeLogTable,          // the CREATE TABLE text of WH_UpsizeLog
    kLockTables,              // the CREATE TABLE texts of WH_Lock and WH_LockData
    kGisView,                 // the view made after an upsize
    kLinkTablesCreate,        // CreateTable of the upsized link tables
};

// What one provider is.
struct ProviderRule {
    std::int16_t code;
    std::string_view name;            // for messages: "SQL Server"
    std::string_view idaoTag;         // the tag of the IDAO connect string
    std::string_view systemDatabase;  // attached to ask whether a database exists
    bool hasEngine;                   // an engine of this build serves it
};

// The rule of `code`; nullptr for a code the system does not know.
const ProviderRule* FindProviderRule(std::int16_t code);

// The provider whose branch `code` takes at `decision`: the code itself for
// Oracle, SQL Server and MySQL, SQL Server's for SQLite (its connection
// rewrites the SQL Server text), and 0 (no branch) for an unknown code.
std::int16_t ProviderBranch(ProviderDecision decision, std::int16_t code);

// The IDAO tag of `code` ("SQLSERVER", "MSORACLE", "MYSQL", "SQLITE"); ""
// for an unknown code.
std::string_view ProviderTag(std::int16_t code);

// The provider of an IDAO tag, ignoring case and surrounding blanks; 0 when
// the tag is unknown.
std::int16_t ProviderFromTag(std::string_view tag);

// The provider of an ODBC driver's name, ignoring case: "SQL Server" 4,
// "Microsoft ODBC for Oracle" (any name with "Oracle") 2, a name with
// "MySQL" or "MariaDB" 8, with "SQLite" 16; 0 for any other.
std::int16_t ProviderFromDriver(std::string_view driver);

// "SQL Server (provider 4)", "provider 99" for an unknown code.
std::string ProviderDisplayName(std::int16_t code);

}  // namespace vorn
