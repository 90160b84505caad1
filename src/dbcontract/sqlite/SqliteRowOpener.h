#pragma once

#include <memory>
#include <optional>
#include <string>

#include "dbcontract/CatalogInfo.h"
#include "dbcontract/RowSource.h"
#include "dbcontract/sqlite/SqliteRowSource.h"

namespace vorn {

class SqliteAttachments;
class SqliteCatalog;
class SqliteHandle;
struct JetTranslation;

// Builds the row sources of a project file from SELECTs in SQLite's
// dialect: a query as the SQL translator gives it (the usual way), or a
// plain SELECT whose columns SQLite describes.
class SqliteRowOpener {
public:
    struct Options {
        bool writable = false;
        bool appendOnly = false;
        // The rows of a table opened whole, whose number is known at once.
        bool wholeTable = false;
    };

    SqliteRowOpener(const SqliteHandle& db, SqliteAttachments& attachments,
                    const SqliteCatalog& catalog);

    // Rows of a translated query. They are updatable when `options` allows
    // it and the translation names the one table they come from and carries
    // its row id (as its last column).
    std::unique_ptr<RowSource> ForQuery(const JetTranslation& query, const Options& options) const;

    // Read-only rows of a SELECT already in SQLite's dialect; the columns
    // that show a field of a table of the file take that field's design.
    std::unique_ptr<RowSource> ForSql(const std::string& sql) const;

private:
    struct Described;
    // The columns of a prepared SELECT with the design of the fields they
    // show.
    Described Describe(const SqliteStatement& probe) const;
    // The table a translated query writes to, with the field each column
    // shows; nullopt for a table that cannot be written (a system table).
    std::optional<SqliteRowSource::Target> WriteTarget(const JetTranslation& query) const;

    const SqliteHandle& db_;
    SqliteAttachments& attachments_;
    const SqliteCatalog& catalog_;
};

}  // namespace vorn
