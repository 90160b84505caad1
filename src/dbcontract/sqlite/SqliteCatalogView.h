#pragma once

#include <optional>
#include <string_view>

#include "dbcontract/sqlite/JetSqlTranslator.h"

namespace vorn {

class SqliteCatalog;
class SqliteRowOpener;

// The design of a project file as the SQL translator asks for it: tables
// (the catalog tables too), saved queries described as tables of their
// result columns, and tables of other project files named by IN '<file>'.
class SqliteCatalogView final : public JetCatalogView {
public:
    // REQUIRES: both outlive the view.
    SqliteCatalogView(const SqliteCatalog& catalog, const SqliteRowOpener& rows);

    std::optional<TableInfo> FindTable(std::string_view name) const override;
    std::optional<TableInfo> FindTableIn(std::string_view file,
                                         std::string_view name) const override;
    bool IsQuery(std::string_view name) const override;

private:
    const SqliteCatalog& catalog_;
    const SqliteRowOpener& rows_;
};

}  // namespace vorn
