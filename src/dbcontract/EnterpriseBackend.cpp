#include "dbcontract/EnterpriseBackend.h"

#include <charconv>
#include <cstdio>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/SqlServerRewriter.h"
#include "dbcontract/SqlTokenizer.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

constexpr std::string_view kSource = "IdaoDatabase";

// ---- Row keys ---------------------------------------------------------------
// A key is the values of the key columns, each written as its kind, its
// length and its text, so that it reads back as the same Variant.

std::string KeyText(const Variant& value) {
    char buffer[40];
    switch (value.Kind()) {
        case VariantKind::Text:
            return value.AsText();
        case VariantKind::Binary:
            return std::string(value.AsBinary().begin(), value.AsBinary().end());
        case VariantKind::Currency:
            return std::to_string(value.AsCurrency().Scaled());
        case VariantKind::Single:
        case VariantKind::Double:
        case VariantKind::Date:
            std::snprintf(buffer, sizeof buffer, "%.17g", value.NumberValue());
            return buffer;
        case VariantKind::Null:
        case VariantKind::Empty:
            return {};
        case VariantKind::Boolean:
            return value.AsBoolean() ? "1" : "0";
        default:
            return CStr(value);
    }
}

Variant KeyValue(VariantKind kind, const std::string& text) {
    switch (kind) {
        case VariantKind::Text:
            return text;
        case VariantKind::Binary:
            return Variant::Binary(text.begin(), text.end());
        case VariantKind::Currency:
            return Currency::FromScaled(std::stoll(text));
        case VariantKind::Single:
            return static_cast<float>(std::stod(text));
        case VariantKind::Double:
            return std::stod(text);
        case VariantKind::Date:
            return Variant::FromDate(std::stod(text));
        case VariantKind::Null:
            return Variant::Null();
        case VariantKind::Empty:
            return Variant();
        case VariantKind::Boolean:
            return text == "1";
        case VariantKind::Byte:
            return static_cast<std::uint8_t>(std::stoi(text));
        case VariantKind::Integer:
            return static_cast<std::int16_t>(std::stoi(text));
        case VariantKind::Decimal:
            return CDec(Variant(text));
        default:
            return Variant::FromInteger(std::stoll(text));
    }
}

std::string EncodeKey(const std::vector<Variant>& values) {
    std::string key;
    for (const Variant& value : values) {
        const std::string text = KeyText(value);
        key += std::to_string(static_cast<int>(value.Kind())) + ":" + std::to_string(text.size()) +
               ":" + text;
    }
    return key;
}

std::vector<Variant> DecodeKey(std::string_view key) {
    std::vector<Variant> values;
    while (!key.empty()) {
        int kind = 0;
        std::size_t length = 0;
        auto [p, ec] = std::from_chars(key.data(), key.data() + key.size(), kind);
        auto [q, ec2] = std::from_chars(p + 1, key.data() + key.size(), length);
        if (ec != std::errc{} || ec2 != std::errc{})
            throw ServerFailure(kSource, "The bookmark is not valid.");
        const std::size_t start = static_cast<std::size_t>(q + 1 - key.data());
        values.push_back(
            KeyValue(static_cast<VariantKind>(kind), std::string(key.substr(start, length))));
        key.remove_prefix(start + length);
    }
    return values;
}

// ---- Rows -----------------------------------------------------------------------

// How the rows of a recordset are found again: the table they come from,
// its fields, and the key columns that the query carries before the
// visible ones (spliced in) or among them.
struct RowPlan {
    std::string sql;  // the query as run, key columns spliced in
    // The DAO type of each column of `sql` where the engine must be told
    // (Jet SQL's expressions); empty when the engine knows.
    std::vector<std::int16_t> types;
    std::optional<TableInfo> table;
    std::vector<std::string> keyNames;      // key columns of the table
    std::vector<std::size_t> keyPositions;  // where each is in a full result row
    std::size_t hidden = 0;                 // spliced columns before the visible ones
};

// The statement with `columns` put in front of its select list; nullopt
// when it does not start with SELECT (or starts with SELECT DISTINCT).
std::optional<std::string> SpliceColumns(const std::string& sql, const std::string& columns) {
    std::vector<SqlToken> tokens;
    try {
        tokens = SqlTokenizer(SqlTokenizerOptions::SqlServer()).Tokenize(sql);
    } catch (const VornError&) {
        return std::nullopt;
    }
    if (tokens.size() < 2 || !tokens[0].Is("SELECT") || tokens[1].Is("DISTINCT"))
        return std::nullopt;
    const std::size_t at = tokens[1].offset;
    return sql.substr(0, at) + columns + ", " + sql.substr(at);
}

class ServerRowSource : public RowSource {
  public:
    ServerRowSource(std::shared_ptr<ServerConnection> connection, RowPlan plan, bool writable)
        : connection_(std::move(connection)), plan_(std::move(plan)), writable_(writable) {
        Restart();
        for (std::size_t i = plan_.hidden; i < cursor_->Columns().size(); ++i) {
            columns_.push_back(WithTableField(cursor_->Columns()[i]));
        }
    }

    const std::vector<FieldInfo>& Columns() const override { return columns_; }

    bool Next(std::vector<Variant>& row) override {
        if (!cursor_->Next(full_)) return false;
        row.assign(full_.begin() + static_cast<std::ptrdiff_t>(plan_.hidden), full_.end());
        return true;
    }

    void Restart() override {
        cursor_ = plan_.types.empty() ? connection_->Query(plan_.sql) : connection_->QueryAs(plan_.sql, plan_.types);
    }
    std::optional<std::int64_t> KnownCount() override { return std::nullopt; }
    bool Updatable() const override { return writable_ && !plan_.keyNames.empty(); }

    RowKey CurrentKey() const override {
        std::vector<Variant> values;
        for (const std::size_t position : plan_.keyPositions) values.push_back(full_.at(position));
        return EncodeKey(values);
    }

    RowKey Insert(const Changes& values) override {
        std::string names;
        std::string markers;
        std::vector<Variant> params;
        std::vector<Variant> given(plan_.keyNames.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (!values[i]) continue;
            const FieldInfo& field = columns_.at(i);
            params.push_back(ValueForField(*values[i], field));
            names += (params.size() > 1 ? ", " : "") + connection_->QuoteName(field.sourceField);
            markers += params.size() > 1 ? ", ?" : "?";
            for (std::size_t k = 0; k < plan_.keyNames.size(); ++k) {
                if (utf8::EqualsIgnoreCase(plan_.keyNames[k], field.sourceField))
                    given[k] = params.back();
            }
        }
        const std::string table = connection_->QuoteName(plan_.table->name);
        connection_->Execute(
            params.empty() ? "INSERT INTO " + table + " DEFAULT VALUES"
                           : "INSERT INTO " + table + " (" + names + ") VALUES (" + markers + ")",
            params);
        // A key the caller did not give is the one the server numbered.
        for (Variant& value : given) {
            if (value.IsEmpty()) value = Variant::FromInteger(connection_->LastInsertId());
        }
        return EncodeKey(given);
    }

    void Update(const RowKey& key, const Changes& changes) override {
        std::string sets;
        std::vector<Variant> params;
        for (std::size_t i = 0; i < changes.size(); ++i) {
            if (!changes[i]) continue;
            const FieldInfo& field = columns_.at(i);
            params.push_back(ValueForField(*changes[i], field));
            sets += (params.size() > 1 ? ", " : "") + connection_->QuoteName(field.sourceField) +
                    " = ?";
        }
        if (params.empty()) return;
        const std::string where = KeyCondition(key, params);
        connection_->Execute(
            "UPDATE " + connection_->QuoteName(plan_.table->name) + " SET " + sets + where, params);
    }

    void Delete(const RowKey& key) override {
        std::vector<Variant> params;
        const std::string where = KeyCondition(key, params);
        connection_->Execute("DELETE FROM " + connection_->QuoteName(plan_.table->name) + where,
                             params);
    }

    bool Read(const RowKey& key, std::vector<Variant>& row) override {
        std::string list;
        for (const FieldInfo& field : columns_) {
            list += (list.empty() ? "" : ", ") + connection_->QuoteName(field.sourceField);
        }
        std::vector<Variant> params;
        const std::string where = KeyCondition(key, params);
        auto rows = connection_->Query(
            "SELECT " + list + " FROM " + connection_->QuoteName(plan_.table->name) + where,
            params);
        return rows->Next(row);
    }

  private:
    // " WHERE k1 = ? AND k2 = ?" with the key's values added to `params`.
    std::string KeyCondition(const RowKey& key, std::vector<Variant>& params) const {
        const std::vector<Variant> values = DecodeKey(key);
        std::string where;
        for (std::size_t k = 0; k < plan_.keyNames.size() && k < values.size(); ++k) {
            where +=
                (k == 0 ? " WHERE " : " AND ") + connection_->QuoteName(plan_.keyNames[k]) + " = ?";
            params.push_back(values[k]);
        }
        return where;
    }

    // A result column with the design of the table field it comes from.
    FieldInfo WithTableField(const FieldInfo& column) const {
        if (!plan_.table || column.sourceField.empty()) return column;
        for (const FieldInfo& field : plan_.table->fields) {
            if (utf8::EqualsIgnoreCase(field.name, column.sourceField)) {
                FieldInfo merged = field;
                merged.name = column.name;
                merged.ordinalPosition = column.ordinalPosition;
                merged.sourceTable = plan_.table->name;
                merged.sourceField = field.name;
                return merged;
            }
        }
        return column;
    }

    std::shared_ptr<ServerConnection> connection_;
    RowPlan plan_;
    bool writable_;
    std::unique_ptr<ServerCursor> cursor_;
    std::vector<FieldInfo> columns_;
    std::vector<Variant> full_;
};

// The one table that every column of `columns` comes from, if any.
std::optional<std::string> SingleSourceTable(const std::vector<FieldInfo>& columns) {
    std::optional<std::string> table;
    for (const FieldInfo& column : columns) {
        if (column.sourceTable.empty() || column.sourceField.empty()) return std::nullopt;
        if (table && !utf8::EqualsIgnoreCase(*table, column.sourceTable)) return std::nullopt;
        table = column.sourceTable;
    }
    return table;
}

std::vector<std::string> PrimaryKey(const TableInfo& table) {
    std::vector<std::string> names;
    for (const IndexInfo& index : table.indexes) {
        if (!index.primary) continue;
        for (const IndexFieldInfo& field : index.fields) names.push_back(field.name);
    }
    return names;
}

// Finds the key columns among the visible ones; true when all are there.
bool KeysVisible(RowPlan& plan, const std::vector<FieldInfo>& columns) {
    plan.keyPositions.clear();
    for (const std::string& key : plan.keyNames) {
        std::optional<std::size_t> found;
        for (std::size_t i = 0; i < columns.size() && !found; ++i) {
            if (utf8::EqualsIgnoreCase(columns[i].sourceField, key)) found = i;
        }
        if (!found) return false;
        plan.keyPositions.push_back(*found);
    }
    return true;
}

// Splices the key columns in front of the select list, qualified by the
// table and then plain (the table may carry an alias); false when neither
// runs.
bool SpliceKeys(ServerConnection& connection, RowPlan& plan, const std::string& sql) {
    for (const bool qualified : {true, false}) {
        std::string columns;
        for (const std::string& key : plan.keyNames) {
            if (!columns.empty()) columns += ", ";
            if (qualified) columns += connection.QuoteName(plan.table->name) + ".";
            columns += key == connection.RowIdColumn() ? key : connection.QuoteName(key);
        }
        const auto spliced = SpliceColumns(sql, columns);
        if (!spliced) return false;
        try {
            connection.Query(*spliced);
        } catch (const VornError&) {
            continue;
        }
        plan.sql = *spliced;
        plan.hidden = plan.keyNames.size();
        if (!plan.types.empty()) plan.types.insert(plan.types.begin(), plan.hidden, std::int16_t{0});
        plan.keyPositions.clear();
        for (std::size_t k = 0; k < plan.keyNames.size(); ++k) plan.keyPositions.push_back(k);
        return true;
    }
    return false;
}

// How to read and write the rows of `sql`, whose columns hold `types`.
RowPlan PlanRows(ServerConnection& connection, const std::string& sql, std::vector<std::int16_t> types,
                 bool writable) {
    RowPlan plan;
    plan.sql = sql;
    plan.types = std::move(types);
    if (!writable) return plan;
    const auto columns = connection.Query(sql)->Columns();
    const auto tableName = SingleSourceTable(columns);
    if (!tableName) return plan;
    plan.table = connection.ReadTable(*tableName);
    if (!plan.table) return plan;
    plan.keyNames = PrimaryKey(*plan.table);
    if (!plan.keyNames.empty() && KeysVisible(plan, columns)) return plan;
    // The rows are found again by the row id where the engine has one,
    // else by a primary key that the query did not select.
    if (!connection.RowIdColumn().empty()) plan.keyNames = {connection.RowIdColumn()};
    if (plan.keyNames.empty() || !SpliceKeys(connection, plan, sql)) plan.keyNames.clear();
    return plan;
}

}  // namespace

EnterpriseBackend::EnterpriseBackend(std::shared_ptr<ServerConnection> connection,
                                     std::string connect, bool readOnly, Sql sql)
    : connection_(std::move(connection)), connect_(std::move(connect)), readOnly_(readOnly), sql_(sql) {}

ServerConnection& EnterpriseBackend::Connection() const {
    if (!connection_)
        throw VornError(3420, std::string(kSource), "Object invalid or no longer set.");
    return *connection_;
}

std::string EnterpriseBackend::Name() const {
    return connection_ ? connection_->Target().database : std::string();
}

std::vector<TableInfo> EnterpriseBackend::ReadTables() {
    std::vector<TableInfo> tables;
    for (const std::string& name : Connection().TableNames()) {
        if (auto table = Connection().ReadTable(name)) tables.push_back(std::move(*table));
    }
    return tables;
}

std::vector<RelationInfo> EnterpriseBackend::ReadRelations() {
    return Connection().ReadRelations();
}

void EnterpriseBackend::RefuseDesign() {
    throw ServerFailure(
        kSource, "The design of an enterprise database is changed through SQL on its connection.");
}

void EnterpriseBackend::CreateTable(const TableInfo&) { RefuseDesign(); }
void EnterpriseBackend::DropTable(std::string_view) { RefuseDesign(); }
void EnterpriseBackend::RenameTable(std::string_view, std::string_view) { RefuseDesign(); }
void EnterpriseBackend::AddField(std::string_view, const FieldInfo&) { RefuseDesign(); }
void EnterpriseBackend::DropField(std::string_view, std::string_view) { RefuseDesign(); }
void EnterpriseBackend::AlterField(std::string_view, std::string_view, const FieldInfo&) {
    RefuseDesign();
}
void EnterpriseBackend::CreateIndex(std::string_view, const IndexInfo&) { RefuseDesign(); }
void EnterpriseBackend::DropIndex(std::string_view, std::string_view) { RefuseDesign(); }
void EnterpriseBackend::CreateRelation(const RelationInfo&) { RefuseDesign(); }
void EnterpriseBackend::DropRelation(std::string_view) { RefuseDesign(); }
void EnterpriseBackend::CreateQuery(const QueryInfo&) { RefuseDesign(); }
void EnterpriseBackend::DropQuery(std::string_view) { RefuseDesign(); }
void EnterpriseBackend::SaveProperty(const PropertyOwnerKey&, const PropertyInfo&) {
    RefuseDesign();
}
void EnterpriseBackend::DeleteProperty(const PropertyOwnerKey&, std::string_view) {
    RefuseDesign();
}

void EnterpriseBackend::RefuseReadOnly() const {
    if (readOnly_)
        throw VornError(3027, std::string(kSource),
                        "Cannot update. Database or object is read-only.");
}

std::int64_t EnterpriseBackend::Execute(std::string_view sql, std::int32_t options) {
    RefuseReadOnly();
    ServerConnection& connection = Connection();
    // A change of design goes to the server as its own text: Jet writes
    // DROP TABLE and ALTER TABLE ... DROP CONSTRAINT as SQL Server does.
    const bool jet = sql_ == Sql::Jet && (options & dao::dbSQLPassThrough) == 0 &&
                     SqlServerRewriter::IsRowStatement(sql);
    return connection.Execute(jet ? connection.PrepareJetChange(sql) : connection.Prepare(sql));
}

std::unique_ptr<RowSource> EnterpriseBackend::OpenRows(const RowRequest& request) {
    ServerConnection& connection = Connection();
    std::string sql;
    std::vector<std::int16_t> types;
    if (sql_ == Sql::Jet) {
        ServerConnection::JetQuery query =
            connection.PrepareJetQuery(request.source, request.isTable, request.filter, request.sort,
                                       (request.options & dao::dbSQLPassThrough) != 0);
        sql = std::move(query.sql);
        types = std::move(query.columnTypes);
    } else {
        sql = request.isTable ? "SELECT * FROM " + connection.QuoteName(request.source) : connection.Prepare(request.source);
    }
    if (sql_ == Sql::SqlServer && (!request.filter.empty() || !request.sort.empty())) {
        sql = "SELECT * FROM (" + sql + ") AS " + connection.QuoteName("filtered");
        if (!request.filter.empty()) sql += " WHERE " + connection.PrepareCondition(request.filter);
        if (!request.sort.empty()) sql += " ORDER BY " + connection.PrepareOrderList(request.sort);
    }
    const bool writable = !readOnly_ && (request.options & dao::dbReadOnly) == 0 &&
                          request.type != dao::dbOpenSnapshot &&
                          request.type != dao::dbOpenForwardOnly;
    return std::make_unique<ServerRowSource>(connection_, PlanRows(connection, sql, std::move(types), writable),
                                             writable);
}

void EnterpriseBackend::BeginTrans() {
    const bool open = !Connection().InTransaction();
    if (open) Connection().BeginTransaction();
    transactions_.push_back(open);
}

void EnterpriseBackend::CommitTrans() {
    if (transactions_.empty())
        throw VornError(
            3034, std::string(kSource),
            "You tried to commit or rollback a transaction without first beginning a transaction.");
    const bool own = transactions_.back();
    transactions_.pop_back();
    if (own) Connection().Commit();
}

void EnterpriseBackend::Rollback() {
    if (transactions_.empty())
        throw VornError(
            3034, std::string(kSource),
            "You tried to commit or rollback a transaction without first beginning a transaction.");
    const bool own = transactions_.back();
    transactions_.pop_back();
    if (own) Connection().Rollback();
}

void EnterpriseBackend::Close() {
    if (!connection_) return;
    connection_->Close();
    connection_.reset();
}

}  // namespace vorn
