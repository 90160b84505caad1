#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dbcontract/RowSource.h"
#include "dbcontract/sqlite/SqliteStatement.h"

namespace vorn {

class SqliteHandle;

// Rows of a project file read by one SELECT, one at a time (never all in
// memory). When the rows come from one table that may be changed, the
// SELECT has one column after the values: the table's row id, which is the
// key (the SQL translator puts it there), and rows are inserted, updated
// and deleted in that table.
class SqliteRowSource : public RowSource {
public:
    // The table that rows are written to: "main" or an attached file's
    // alias, the table's name there, and for each column the field it shows
    // (nullopt for a computed column).
    struct Target {
        std::string schema;
        std::string table;
        std::vector<std::optional<FieldInfo>> fields;
    };

    struct Setup {
        std::string selectSql;
        std::vector<FieldInfo> columns;
        // Per column: true when the type comes from the design; false when
        // it is read from the values (computed columns).
        std::vector<bool> typed;
        std::optional<Target> target;  // only when updatable
        std::optional<std::string> countSql;
        std::string readOnlyReason;  // why writes fail when there is no target
    };

    // REQUIRES: `db` outlives the row source.
    SqliteRowSource(const SqliteHandle& db, Setup setup);

    const std::vector<FieldInfo>& Columns() const override { return setup_.columns; }
    bool Next(std::vector<Variant>& row) override;
    void Restart() override;
    std::optional<std::int64_t> KnownCount() override;
    bool Updatable() const override { return setup_.target.has_value(); }
    RowKey CurrentKey() const override;
    RowKey Insert(const Changes& values) override;
    void Update(const RowKey& key, const Changes& changes) override;
    void Delete(const RowKey& key) override;
    bool Read(const RowKey& key, std::vector<Variant>& row) override;

    static RowKey KeyOf(std::int64_t rowid);
    static std::int64_t RowidOf(const RowKey& key);

private:
    int RowKeyColumn() const noexcept { return static_cast<int>(setup_.columns.size()); }
    void InferUntypedColumns();
    void ReadRow(const SqliteStatement& statement, std::vector<Variant>& row) const;
    const Target& WriteTarget() const;
    std::string TargetName() const;
    // The target field of column `i`, for a write. Raises 3164 for a column
    // that shows no field, and for a counter unless `inserting`.
    const FieldInfo& WritableField(std::size_t i, bool inserting) const;
    // The insert of the columns marked true, with markers ?1.. in order.
    std::string InsertSql(const std::vector<bool>& columns) const;

    const SqliteHandle& db_;
    Setup setup_;
    SqliteStatement select_;
    // The insert of the columns last inserted, kept while rows keep coming
    // with the same columns, as a copy writes them.
    std::vector<bool> insertColumns_;
    std::optional<SqliteStatement> insert_;
    bool pending_ = false;  // a row was read ahead to learn the column types
    bool done_ = false;     // Next has reached the end
    std::int64_t currentRowid_ = 0;
};

}  // namespace vorn
