#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "dbcontract/Database.h"
#include "dbcontract/TableDef.h"
#include "runtime/Collection.h"

namespace vorn {

// Tells what a table of a project is: a data table, a table of the user, a
// hidden table of the system (its stored name begins with the character of
// code 127, which no user ever reads), or a link table (code 127, the
// upper-cased name of the table it extends, "LINK"; a link of a link adds
// "LINK" again). Maps the hidden tables with a fixed alias between their
// stored names and the names a user sees. Name comparisons ignore case.
// Stateless; one instance serves the process (UserTab()).
class CUserTableOps {
  public:
    // The first character of a hidden table's stored name.
    static constexpr char kHiddenMark = '\x7F';
    // The drawing page table, as stored.
    static constexpr std::string_view kPageTable = "\x7FGIDPAGE";

    CUserTableOps() = default;
    ~CUserTableOps();
    CUserTableOps(const CUserTableOps&) = delete;
    CUserTableOps& operator=(const CUserTableOps&) = delete;

    // ---- Aliases -----------------------------------------------------------

    // The stored name of an alias: "User System Data", "Text Macros" and
    // "Field Units" give their hidden tables, the drawing pages' caption
    // gives "[<127>GIDPAGE]"; any other name comes back as it is.
    std::string AliasTableFnS(std::string_view psAlias) const;
    // The alias of a stored name (the three fixed ones only; the drawing page
    // table is deliberately not mapped back); any other name as it is.
    std::string TableAliasFnS(std::string_view psTable) const;
    // Whether the name is a stored name or an alias of the three fixed tables.
    bool IsAliasedFnB(std::string_view psName) const;

    // ---- Classification ----------------------------------------------------

    // A table a user may store data in: not a system object, and not hidden.
    // `psName` receives the table's name unless it is a system object.
    bool VornDataTableFnB(TableDef& ptdCurr, std::string& psName) const;
    // A table that counts as the user's, by `piCriterion`: 1 takes every
    // ordinary table and the aliased hidden ones; otherwise the table needs
    // an index and a field VornRecID, and then 0 and values above 1 answer
    // true, negative values false. System and attached tables never count.
    // `psName` (when given) receives the table's name without an owner
    // prefix ("" for a system or attached table). `poEnterpriseTables`, when
    // given, supplies the indexes: the table keyed by that name.
    bool VornUserTableFnB(
        TableDef& ptdCurr, std::string* psName = nullptr, std::int16_t piCriterion = 0,
        Collection<std::shared_ptr<TableDef>>* poEnterpriseTables = nullptr) const;
    // Whether the database is a project (POINT and PROJECT, POINT's key
    // unique) or holds the drawing page table.
    bool HasVornTableDefsFnB(Database& pdbDatabase) const;
    // The number of tables with a key and a record identity.
    std::int16_t UserTablesCountFnI(Database& pdbDatabase) const;
    // Whether the table's vornGroupName, else its vornGroupParent, is
    // `psGroup` (trimmed, ignoring case). A table with neither is in no group.
    bool TableInGroupFnB(TableDef& ptdCurr, std::string_view psGroup) const;

    // ---- Relations and link tables -----------------------------------------

    // The next child of `psParent` among the relations, from the 0-based
    // position `plIndex`; `plIndex` moves behind it. "" and 0 when no child
    // is left, so a caller starts at 0 and stops at "". A child related twice
    // comes twice.
    std::string ChildTableByRelFnS(Database& pdbSearch, std::string_view psParent,
                                   std::int32_t& plIndex) const;
    // Code 127 first and "LINK" last.
    bool IsLinkTableNameFnB(std::string_view psTable) const;
    // Code 127 (unless present) + the name upper-cased + "LINK"; of a link
    // table, the next deeper link.
    std::string LinkTableNameFnS(std::string_view psTable) const;
    // Whether any table of the database is a link table.
    bool LinkExistsFnB(Database& pdbSource) const;
    // Whether a link of the table exists, up to five levels deep; `psLink`
    // receives the first found. A failure is logged and raised.
    bool LinkTableExistsFnB(std::string_view psTable, Database& pdbCurr, std::string& psLink) const;
    // The table a link table extends, upper-cased as the link name holds
    // it; any other name comes back as it is.
    std::string ParentFromLinkFnS(std::string_view psTable) const;
    // The next tab-separated table name of a clipboard text from the cursor.
    std::string TableNameFromClipFnS(std::int32_t& plPsCsr, std::string_view psClip) const;
};

// The session's table classifier (the legacy global UserTab).
CUserTableOps& UserTab();

}  // namespace vorn
