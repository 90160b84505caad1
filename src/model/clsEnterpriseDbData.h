#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vorn {

class Database;

// How the projects of one enterprise database are known to the user: the
// PROJECT column that identifies a project and the one that describes it,
// as WH_UpsizeInfo names them, and the SQL that lists and finds projects by
// them. Loaded by DatabaseInit; a database without WH_UpsizeInfo leaves the
// names empty.
class clsEnterpriseDbData {
  public:
    clsEnterpriseDbData() = default;
    ~clsEnterpriseDbData();
    clsEnterpriseDbData(const clsEnterpriseDbData&) = default;
    clsEnterpriseDbData& operator=(const clsEnterpriseDbData&) = default;

    // The PROJECT column that identifies a project to the user.
    std::string IdentifierFieldName;
    // The PROJECT column that describes it.
    std::string DescriptionFieldName;
    // The two joined by a comma, as a column list ("" parts left out).
    std::string IDAndDescription;

    // Reads the three names from the first row of WH_UpsizeInfo. Nothing
    // happens when the table is missing. A failure is reported (trace log,
    // "clsEnterpriseDbData.Database(Let)") and leaves the members as they
    // were; it never raises.
    void DatabaseInit(Database& pdbSource);

    // "SELECT <id>,<description>,[vORNProjectID] FROM [PROJECT] ORDER BY
    // <sort>": the projects in the order of their identification, numbers
    // stored as text by value. The server form (SQL Server dialect).
    std::string ProjectSelectionSQL() const;
    // The same with the Jet sort expression, for a Database.
    std::string ProjectSelectionSQLDAO() const;

    // The identification of project `plProjectID` as text; "" when it
    // can't be read (never raises).
    std::string UniqueID(Database& pdbSource, std::int32_t plProjectID) const;
    // The statement that reads one project's identification. For a numeric
    // `psReplaceKey` the plain "SELECT <id> FROM [PROJECT] WHERE
    // [PROJECT].vORNProjectID=<key>"; for a "table.field" key a correlated
    // sub-select on that column.
    std::string UniqueIDSQL(std::string_view psReplaceKey) const;

    // The correlated sub-select that gives each row of `psTable` its
    // project's identification, as "vORNProjectID,(SELECT ...) <alias>" in
    // `psProjectIDExpression`, and "(SELECT ...),[<sort field>]" in
    // `psOrderBy`.
    void SqlExpressions(std::string_view psTable, std::string_view psSortField,
                        std::string_view psProjectAlias, std::string& psProjectIDExpression,
                        std::string& psOrderBy) const;

    // "CONVERT(VARCHAR(12),[vORNProjectID]) +'<delim>'+ [PointID]": one text
    // key of a point across projects, for server statements.
    std::string ProjIDPointIDConcatenation(std::string_view psDelim = ",") const;
};

}  // namespace vorn
