#include "dbcontract/sqlite/SqliteRowOpener.h"

#include "dbcontract/DaoConstants.h"
#include "dbcontract/sqlite/JetSqlTranslator.h"
#include "dbcontract/sqlite/SqliteAttachments.h"
#include "dbcontract/sqlite/SqliteCatalog.h"
#include "dbcontract/sqlite/SqliteErrors.h"
#include "dbcontract/sqlite/SqliteHandle.h"
#include "dbcontract/sqlite/SqliteStatement.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

const FieldInfo* FieldNamed(const TableInfo& table, std::string_view name) {
    for (const auto& field : table.fields) {
        if (utf8::EqualsIgnoreCase(field.name, name)) return &field;
    }
    return nullptr;
}

bool HasText(std::string_view text) {
    return text.find_first_not_of(" \t\r\n;") != std::string_view::npos;
}

}  // namespace

SqliteRowOpener::SqliteRowOpener(const SqliteHandle& db, SqliteAttachments& attachments,
                                 const SqliteCatalog& catalog)
    : db_(db), attachments_(attachments), catalog_(catalog) {}

std::optional<SqliteRowSource::Target> SqliteRowOpener::WriteTarget(
    const JetTranslation& query) const {
    auto table = catalog_.FindTable(query.updatableTable);
    if (!table) return std::nullopt;  // a catalog table: read only
    SqliteRowSource::Target target{"main", table->name, {}};
    TableInfo design = *table;
    if (!table->connect.empty()) {
        const auto file = SqliteAttachments::DatabaseOf(table->connect);
        if (!file) return std::nullopt;
        target.schema = attachments_.Attach(*file);
        auto source = SqliteCatalog(db_, target.schema).FindTable(table->sourceTableName);
        if (!source) throw SqliteErrors::InputTableNotFound(table->sourceTableName);
        design = std::move(*source);
        target.table = design.name;
    }
    for (const auto& column : query.columns) {
        const bool ownField = utf8::EqualsIgnoreCase(column.sourceTable, table->name);
        const FieldInfo* field = ownField ? FieldNamed(design, column.sourceField) : nullptr;
        target.fields.push_back(field != nullptr ? std::optional<FieldInfo>(*field) : std::nullopt);
    }
    return target;
}

std::unique_ptr<RowSource> SqliteRowOpener::ForQuery(const JetTranslation& query,
                                                     const Options& options) const {
    SqliteRowSource::Setup setup;
    setup.selectSql = query.sql;
    setup.columns = query.columns;
    for (const auto& column : query.columns) setup.typed.push_back(column.type != 0);
    if (options.appendOnly) {
        setup.selectSql = "SELECT * FROM (" + query.sql + ") WHERE 0";
        setup.countSql = "SELECT 0";
    } else if (options.wholeTable) {
        setup.countSql = "SELECT count(*) FROM (" + query.sql + ")";
    }
    // The translator puts the row id after the columns, where the row source
    // reads it.
    const bool keyed = query.rowKeyColumn && *query.rowKeyColumn == query.columns.size();
    if (options.writable && keyed && !query.updatableTable.empty()) {
        setup.target = WriteTarget(query);
    }
    setup.readOnlyReason = options.writable ? "the rows of this statement cannot be updated"
                                            : "the rows were opened read only";
    return std::make_unique<SqliteRowSource>(db_, std::move(setup));
}

struct SqliteRowOpener::Described {
    std::vector<FieldInfo> columns;
    std::vector<bool> typed;
};

SqliteRowOpener::Described SqliteRowOpener::Describe(const SqliteStatement& probe) const {
    Described described;
    for (int i = 0; i < probe.ColumnCount(); ++i) {
        const auto schema = probe.OriginSchema(i);
        const auto table = probe.OriginTable(i);
        std::optional<TableInfo> design;
        if (!table.empty() && schema == "main") {
            design = catalog_.FindTable(table);
        } else if (!table.empty() && schema.rfind("vornattach", 0) == 0) {
            design = SqliteCatalog(db_, schema).FindTable(table);
        }
        const FieldInfo* field = design ? FieldNamed(*design, probe.OriginField(i)) : nullptr;
        FieldInfo column = field != nullptr ? *field : FieldInfo{};
        column.name = probe.ColumnName(i);
        if (field != nullptr) {
            column.sourceTable = design->name;
            column.sourceField = field->name;
        }
        described.columns.push_back(std::move(column));
        described.typed.push_back(field != nullptr);
    }
    return described;
}

std::unique_ptr<RowSource> SqliteRowOpener::ForSql(const std::string& sql) const {
    SqliteStatement probe(db_, sql);
    if (HasText(probe.Tail())) {
        throw SqliteErrors::Jet(errnum::kJetCharactersAfterEnd,
                                "Characters found after end of SQL statement.");
    }
    if (!probe.ReadOnly() || probe.ColumnCount() == 0) {
        throw SqliteErrors::Jet(errnum::kJetInvalidOperation,
                                "Invalid operation: the statement returns no rows.");
    }
    auto described = Describe(probe);
    SqliteRowSource::Setup setup;
    setup.selectSql = sql;
    setup.columns = std::move(described.columns);
    setup.typed = std::move(described.typed);
    setup.readOnlyReason = "the rows of this statement cannot be updated";
    return std::make_unique<SqliteRowSource>(db_, std::move(setup));
}

}  // namespace vorn
