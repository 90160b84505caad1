#include "dbcontract/DalConnection.h"

#include "dbcontract/ConnectionTarget.h"
#include "dbcontract/ProviderRules.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

constexpr std::string_view kSource = "DalConnection";

std::string QuoteWith(std::string_view name, char open, char close) {
    std::string quoted(1, open);
    for (const char c : name) {
        quoted += c;
        if (c == close) quoted += close;
    }
    return quoted + close;
}

std::string MarkerName(const Variant& marker) {
    std::string name = CStr(marker);
    if (!name.empty() && name.front() == '@') name.erase(0, 1);
    return name;
}

}  // namespace

DalConnection::~DalConnection() { Close(); }

std::string DalConnection::BuildConnectString(std::string_view server) const {
    if (!FindProviderRule(provider_)) return {};
    return BuildConnectText(server, {}, {}, {}, true);
}

std::string DalConnection::BuildConnectString(std::string_view server,
                                              std::string_view database) const {
    if (!FindProviderRule(provider_)) return {};
    return BuildConnectText(server, database, {}, {}, true);
}

std::string DalConnection::BuildConnectString(std::string_view server, std::string_view database,
                                              std::string_view user,
                                              std::string_view password) const {
    if (!FindProviderRule(provider_)) return {};
    return BuildConnectText(server, database, user, password, false);
}

void DalConnection::SetConnectString(std::string connect) {
    Disconnect();
    connectString_ = std::move(connect);
}

ServerTarget DalConnection::Target() const { return ParseConnectText(provider_, connectString_); }

ServerConnection& DalConnection::Engine() {
    if (engine_) return *engine_;
    if (!FindProviderRule(provider_)) {
        throw ServerFailure(
            kSource, "The connection has no connect string: " + ProviderDisplayName(provider_) +
                         " is not a provider this system knows.");
    }
    if (connectString_.empty()) {
        throw ServerFailure(kSource, "The connection of " + ProviderDisplayName(provider_) +
                                         " has no connect string.");
    }
    engine_ = OpenServerConnection(Target());
    return *engine_;
}

void DalConnection::Execute(std::string_view sql) {
    ServerConnection& engine = Engine();
    engine.Execute(engine.Prepare(sql));
}

void DalConnection::ExecuteParams(std::string_view sql, VArray& names, VArray& values) {
    std::vector<NamedValue> params;
    if (names.IsDimensioned()) {
        for (std::int32_t i = names.LBound(); i <= names.UBound(); ++i) {
            const bool hasValue =
                values.IsDimensioned() && i >= values.LBound() && i <= values.UBound();
            params.push_back({MarkerName(names[i]), hasValue ? values[i] : Variant::Null()});
        }
    }
    ServerConnection& engine = Engine();
    engine.ExecuteNamed(engine.Prepare(sql), params);
}

std::unique_ptr<ServerCursor> DalConnection::Query(std::string_view sql) {
    ServerConnection& engine = Engine();
    return engine.Query(engine.Prepare(sql));
}

Variant DalConnection::FirstValue(std::string_view sql) {
    auto rows = Query(sql);
    std::vector<Variant> row;
    if (!rows->Next(row) || row.empty()) return Variant::Null();
    return row.front();
}

std::int32_t DalConnection::ExecuteLong(std::string_view sql) {
    const Variant value = FirstValue(sql);
    return value.IsNull() || value.IsEmpty() ? 0 : CLng(value);
}

std::string DalConnection::ExecuteText(std::string_view sql) {
    const Variant value = FirstValue(sql);
    return value.IsNull() ? std::string() : CStr(value);
}

DalSortedList DalConnection::QueryPairs(std::string_view sql) {
    auto rows = Query(sql);
    if (rows->Columns().size() < 2)
        throw ServerFailure(kSource, "QueryPairs needs a query of two columns.");
    DalSortedList pairs;
    std::vector<Variant> row;
    while (rows->Next(row)) pairs.Add(row[0], row[1]);
    return pairs;
}

void DalConnection::InsertRow(std::string_view table, const VArray& columns, const VArray& values) {
    const std::vector<std::string> names = columns.ToStrings();
    if (names.empty() || !values.IsDimensioned() || values.Count() != names.size()) {
        throw ServerFailure(kSource, "InsertRow needs as many values as columns.");
    }
    ServerConnection& engine = Engine();
    const TableInfo info = RequireTable(table);
    std::string list;
    std::string markers;
    std::vector<Variant> params;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const Variant& value = values.Items()[i];
        const FieldInfo* field = nullptr;
        for (const FieldInfo& f : info.fields) {
            if (utf8::EqualsIgnoreCase(f.name, names[i])) field = &f;
        }
        params.push_back(field ? ValueForField(value, *field) : value);
        list += (i ? ", " : "") + engine.QuoteName(names[i]);
        markers += i ? ", ?" : "?";
    }
    engine.Execute(
        "INSERT INTO " + engine.QuoteName(info.name) + " (" + list + ") VALUES (" + markers + ")",
        params);
}

void DalConnection::BeginTransaction(std::string_view) { Engine().BeginTransaction(); }
void DalConnection::Commit() { Engine().Commit(); }
void DalConnection::Rollback() { Engine().Rollback(); }
bool DalConnection::InTransaction() const { return engine_ && engine_->InTransaction(); }

bool DalConnection::DatabaseExists(std::string_view name) { return Engine().DatabaseExists(name); }

bool DalConnection::CreateDatabase(std::string_view name, std::string& errorText) {
    try {
        Engine().CreateDatabase(name);
        errorText.clear();
        return true;
    } catch (const VornError& e) {
        errorText = e.Description();
        return false;
    }
}

bool DalConnection::TableExists(std::string_view name) { return Engine().TableExists(name); }

TableInfo DalConnection::RequireTable(std::string_view table) {
    auto info = Engine().ReadTable(table);
    if (!info)
        throw ServerFailure(kSource, "The table '" + std::string(table) + "' does not exist.");
    return std::move(*info);
}

VArray DalConnection::TableColumns(std::string_view table, std::string_view) {
    std::vector<std::string> names;
    for (const FieldInfo& field : RequireTable(table).fields) names.push_back(field.name);
    return VArray::FromStrings(names);
}

Collection<std::shared_ptr<TableDef>> DalConnection::TableSchema(std::string_view table) {
    Collection<std::shared_ptr<TableDef>> schema;
    if (auto info = Engine().ReadTable(table)) {
        // A detached copy: the caller reads it, nothing goes back to the server.
        auto detached = std::make_shared<TableDef>(info->name);
        std::vector<std::shared_ptr<Field>> fields;
        for (const FieldInfo& field : info->fields)
            fields.push_back(std::make_shared<Field>(field));
        detached->Fields().Adopt(std::move(fields));
        std::vector<std::shared_ptr<Index>> indexes;
        for (const IndexInfo& index : info->indexes)
            indexes.push_back(std::make_shared<Index>(index));
        detached->Indexes().Adopt(std::move(indexes));
        schema.Add(std::move(detached), info->name);
    }
    return schema;
}

const IndexInfo& DalConnection::RequireIndex(const TableInfo& table, std::string_view index) const {
    for (const IndexInfo& candidate : table.indexes) {
        if (utf8::EqualsIgnoreCase(candidate.name, index)) return candidate;
    }
    throw ServerFailure(
        kSource, "The table '" + table.name + "' has no index '" + std::string(index) + "'.");
}

VArray DalConnection::IndexColumns(std::string_view table, std::string_view index) {
    const TableInfo info = RequireTable(table);
    std::vector<std::string> names;
    for (const IndexFieldInfo& field : RequireIndex(info, index).fields)
        names.push_back(field.name);
    return VArray::FromStrings(names);
}

bool DalConnection::IndexColumnDescending(std::string_view table, std::string_view index,
                                          std::string_view column) {
    const TableInfo info = RequireTable(table);
    for (const IndexFieldInfo& field : RequireIndex(info, index).fields) {
        if (utf8::EqualsIgnoreCase(field.name, column)) return (field.attributes & 1) != 0;
    }
    throw ServerFailure(kSource, "The index '" + std::string(index) + "' has no column '" +
                                     std::string(column) + "'.");
}

void DalConnection::DropColumnDefault(std::string_view table, std::string_view field) {
    Engine().DropColumnDefault(table, field);
}

std::vector<DalRelation> DalConnection::Relations() {
    std::vector<DalRelation> relations;
    for (RelationInfo& info : Engine().ReadRelations()) relations.emplace_back(std::move(info));
    return relations;
}

std::string DalConnection::QuoteName(std::string_view name) const {
    if (engine_) return engine_->QuoteName(name);
    switch (provider_) {
        case provider::kSqlServer:
            return QuoteWith(name, '[', ']');
        case provider::kMySql:
            return QuoteWith(name, '`', '`');
        default:
            return QuoteWith(name, '"', '"');
    }
}

void DalConnection::Close() { Disconnect(); }

void DalConnection::Disconnect() {
    if (!engine_) return;
    engine_->Close();
    engine_.reset();
}

}  // namespace vorn
