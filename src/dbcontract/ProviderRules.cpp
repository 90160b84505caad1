#include "dbcontract/ProviderRules.h"

#include <array>

#include "runtime/Utf8.h"

namespace vorn {
namespace {

constexpr std::array<ProviderRule, 4> kProviders{{
    {provider::kOracle, "Oracle", "MSORACLE", "ignored", false},
    {provider::kSqlServer, "SQL Server", "SQLSERVER", "master", false},
    {provider::kMySql, "MySQL", "MYSQL", "information_schema", true},
    // The database of SQLite is a file in the server folder; its "system
    // database" is the folder itself, so nothing is attached by name.
    {provider::kSqlite, "SQLite", "SQLITE", "", true},
}};

struct BranchRow {
    ProviderDecision decision;
    std::int16_t code;
    std::int16_t branch;
};

// Every decision for SQLite: it takes SQL Server's branch and its connection
// rewrites that text into its own dialect.
constexpr std::array<BranchRow, 6> kBranches{{
    {ProviderDecision::kAttach, provider::kSqlite, provider::kSqlServer},
    {ProviderDecision::kEnterpriseDatabaseTest, provider::kSqlite, provider::kSqlServer},
    {ProviderDecision::kUpsizeLogTable, provider::kSqlite, provider::kSqlServer},
    {ProviderDecision::kLockTables, provider::kSqlite, provider::kSqlServer},
    {ProviderDecision::kGisView, provider::kSqlite, provider::kSqlServer},
    {ProviderDecision::kLinkTablesCreate, provider::kSqlite, provider::kSqlServer},
}};

}  // namespace

const ProviderRule* FindProviderRule(std::int16_t code) {
    for (const ProviderRule& rule : kProviders) {
        if (rule.code == code) return &rule;
    }
    return nullptr;
}

std::int16_t ProviderBranch(ProviderDecision decision, std::int16_t code) {
    for (const BranchRow& row : kBranches) {
        if (row.decision == decision && row.code == code) return row.branch;
    }
    const bool legacy =
        code == provider::kOracle || code == provider::kSqlServer || code == provider::kMySql;
    return legacy ? code : 0;
}

std::string_view ProviderTag(std::int16_t code) {
    const ProviderRule* rule = FindProviderRule(code);
    return rule ? rule->idaoTag : std::string_view{};
}

std::int16_t ProviderFromTag(std::string_view tag) {
    const std::string_view trimmed = utf8::Trim(tag);
    for (const ProviderRule& rule : kProviders) {
        if (utf8::CompareIgnoreCase(trimmed, rule.idaoTag) == 0) return rule.code;
    }
    return 0;
}

std::int16_t ProviderFromDriver(std::string_view driver) {
    const std::string name = utf8::ToUpper(utf8::Trim(driver));
    const auto has = [&](std::string_view word) { return name.find(word) != std::string::npos; };
    if (has("SQL SERVER")) return provider::kSqlServer;
    if (has("ORACLE")) return provider::kOracle;
    if (has("MYSQL") || has("MARIADB")) return provider::kMySql;
    if (has("SQLITE")) return provider::kSqlite;
    return 0;
}

std::string ProviderDisplayName(std::int16_t code) {
    const ProviderRule* rule = FindProviderRule(code);
    const std::string number = "provider " + std::to_string(code);
    return rule ? std::string(rule->name) + " (" + number + ")" : number;
}

}  // namespace vorn
