#include "dbcontract/sqlite/SqliteCatalogView.h"

#include <sqlite3.h>

#include "dbcontract/sqlite/SqliteCatalog.h"
#include "dbcontract/sqlite/SqliteDdl.h"
#include "dbcontract/sqlite/SqliteHandle.h"
#include "dbcontract/sqlite/SqliteProjectFile.h"
#include "dbcontract/sqlite/SqliteRowOpener.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {

SqliteCatalogView::SqliteCatalogView(const SqliteCatalog& catalog, const SqliteRowOpener& rows)
    : catalog_(catalog), rows_(rows) {}

std::optional<TableInfo> SqliteCatalogView::FindTable(std::string_view name) const {
    if (auto table = catalog_.FindTable(name)) return table;
    for (auto& system : catalog_.ReadSystemTables()) {
        if (utf8::EqualsIgnoreCase(system.name, name)) return std::move(system);
    }
    const auto query = catalog_.FindQuery(name);
    if (!query) return std::nullopt;
    TableInfo result;
    result.name = query->name;
    try {
        const auto rows = rows_.ForSql("SELECT * FROM " + SqliteDdl::Quote(query->name));
        result.fields = rows->Columns();
    } catch (const VornError&) {
        // An action query, or one SQLite cannot run: a query without columns.
    }
    return result;
}

std::optional<TableInfo> SqliteCatalogView::FindTableIn(std::string_view file,
                                                        std::string_view name) const {
    const std::string path(file);
    if (!SqliteProjectFile::LooksLikeProjectFile(path)) return std::nullopt;
    try {
        const SqliteHandle other(path, SQLITE_OPEN_READONLY);
        return SqliteCatalog(other).FindTable(name);
    } catch (const VornError&) {
        return std::nullopt;
    }
}

bool SqliteCatalogView::IsQuery(std::string_view name) const {
    return catalog_.FindQuery(name).has_value();
}

}  // namespace vorn
