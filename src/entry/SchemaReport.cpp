#include "entry/SchemaReport.h"

#include <algorithm>
#include <ostream>

#include "dbcontract/DaoConstants.h"
#include "runtime/Conversions.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

template <class T>
std::vector<std::shared_ptr<T>> SortedByName(DaoCollection<T>& collection) {
    std::vector<std::shared_ptr<T>> items(collection.begin(), collection.end());
    std::stable_sort(items.begin(), items.end(), [](const auto& a, const auto& b) {
        return utf8::CompareIgnoreCase(a->Name(), b->Name()) < 0;
    });
    return items;
}

std::vector<std::shared_ptr<TableDef>> TablesInOrder(Database& db) {
    auto tables = SortedByName(db.TableDefs());
    // User tables first: system tables are the engine's own bookkeeping.
    std::stable_partition(tables.begin(), tables.end(), [](const auto& t) {
        return (t->Attributes() & dao::dbSystemObject) != dao::dbSystemObject;
    });
    return tables;
}

// A name as it is shown: a leading character of code 127 as "<del>".
std::string Shown(const std::string& name) {
    return !name.empty() && name[0] == '\x7f' ? "<del>" + name.substr(1) : name;
}

std::string ValueText(const Variant& value) {
    if (value.IsNull()) return "Null";
    if (value.IsBinary()) return "(" + std::to_string(value.AsBinary().size()) + " bytes)";
    try {
        return CStr(value);
    } catch (const VornError&) {
        return "(" + value.TypeName() + ")";
    }
}

std::string IndexFlags(const Index& index) {
    std::string flags;
    if (index.Primary()) flags += " primary";
    if (index.Unique()) flags += " unique";
    if (index.IgnoreNulls()) flags += " ignore-nulls";
    if (index.Required()) flags += " required";
    if (index.Foreign()) flags += " foreign";
    return flags;
}

std::string IndexFieldList(Index& index) {
    std::string list;
    for (const auto& field : index.Fields()) {
        if (!list.empty()) list += ", ";
        list += field->Name();
        if ((field->Attributes() & dao::dbDescending) != 0) list += " DESC";
    }
    return list;
}

void JsonString(std::ostream& out, std::string_view text) {
    out << '"';
    for (const char c : text) {
        switch (c) {
            case '"': out << "\\\""; break;
            case '\\': out << "\\\\"; break;
            case '\n': out << "\\n"; break;
            case '\r': out << "\\r"; break;
            case '\t': out << "\\t"; break;
            default:
                if (static_cast<unsigned char>(c) < 0x20 || c == '\x7f') {
                    static constexpr char kHex[] = "0123456789abcdef";
                    out << "\\u00" << kHex[(c >> 4) & 0xF] << kHex[c & 0xF];
                } else {
                    out << c;
                }
        }
    }
    out << '"';
}

// Writes `items` as a JSON array, each with `write`.
template <class Items, class Write>
void JsonArray(std::ostream& out, const Items& items, Write write) {
    out << '[';
    bool first = true;
    for (const auto& item : items) {
        if (!first) out << ',';
        first = false;
        write(item);
    }
    out << ']';
}

void JsonProperties(std::ostream& out, Properties& properties) {
    JsonArray(out, properties.UserDefined(), [&](const auto& p) {
        out << "{\"name\":";
        JsonString(out, p->Name());
        out << ",\"type\":" << p->Type() << ",\"value\":";
        JsonString(out, ValueText(p->Value()));
        out << '}';
    });
}

}  // namespace

std::string SchemaReport::TypeName(const FieldInfo& field) {
    const bool counter = (field.attributes & dao::dbAutoIncrField) != 0;
    switch (field.type) {
        case dao::dbBoolean: return "Boolean";
        case dao::dbByte: return "Byte";
        case dao::dbInteger: return "Integer";
        case dao::dbLong: return counter ? "Counter" : "Long";
        case dao::dbCurrency: return "Currency";
        case dao::dbSingle: return "Single";
        case dao::dbDouble: return "Double";
        case dao::dbDate: return "Date";
        case dao::dbBinary: return "Binary(" + std::to_string(field.size) + ")";
        case dao::dbText: return "Text(" + std::to_string(field.size) + ")";
        case dao::dbLongBinary: return "LongBinary";
        case dao::dbMemo: return "Memo";
        case dao::dbGUID: return "GUID";
        case dao::dbBigInt: return "BigInt";
        case dao::dbDecimal:
        case dao::dbNumeric:
            return "Decimal(" + std::to_string(field.precision) + "," + std::to_string(field.scale) + ")";
        default: return "Type" + std::to_string(field.type);
    }
}

void SchemaReport::WriteText(std::ostream& out) {
    out << "Database " << database_.Name() << " (version " << database_.Version() << ")\n";
    for (const auto& p : database_.GetProperties().UserDefined()) {
        out << "  property " << p->Name() << " = " << ValueText(p->Value()) << "\n";
    }
    for (const auto& table : TablesInOrder(database_)) {
        out << "\nTable " << Shown(table->Name());
        if ((table->Attributes() & dao::dbSystemObject) == dao::dbSystemObject) out << " (system)";
        if (!table->Connect().empty()) {
            out << " attached to " << table->SourceTableName() << " in " << table->Connect();
        }
        out << "\n";
        for (const auto& p : table->GetProperties().UserDefined()) {
            out << "  property " << p->Name() << " = " << ValueText(p->Value()) << "\n";
        }
        for (const auto& field : table->Fields()) {
            const FieldInfo& f = field->Info();
            out << "  field " << f.ordinalPosition << " " << f.name << " " << TypeName(f);
            if (f.required) out << " required";
            if (f.allowZeroLength) out << " allow-zero-length";
            if (!f.defaultValue.empty()) out << " default " << f.defaultValue;
            out << "\n";
            for (const auto& p : field->GetProperties().UserDefined()) {
                out << "    property " << p->Name() << " = " << ValueText(p->Value()) << "\n";
            }
        }
        for (const auto& index : SortedByName(table->Indexes())) {
            out << "  index " << index->Name() << " (" << IndexFieldList(*index) << ")" << IndexFlags(*index) << "\n";
        }
    }
    for (const auto& relation : SortedByName(database_.Relations())) {
        out << "\nRelation " << relation->Name() << ": " << Shown(relation->Table()) << " -> "
            << Shown(relation->ForeignTable()) << " attributes " << relation->Attributes() << "\n";
        for (const auto& field : relation->Fields()) {
            out << "  " << field->Name() << " = " << field->ForeignName() << "\n";
        }
    }
    for (const auto& query : SortedByName(database_.QueryDefs())) {
        out << "\nQuery " << query->Name() << ": " << query->SQL() << "\n";
    }
}

void SchemaReport::WriteJson(std::ostream& out) {
    out << "{\"name\":";
    JsonString(out, database_.Name());
    out << ",\"version\":";
    JsonString(out, database_.Version());
    out << ",\"properties\":";
    JsonProperties(out, database_.GetProperties());
    out << ",\"tables\":";
    JsonArray(out, TablesInOrder(database_), [&](const std::shared_ptr<TableDef>& table) {
        out << "{\"name\":";
        JsonString(out, table->Name());
        out << ",\"attributes\":" << table->Attributes() << ",\"connect\":";
        JsonString(out, table->Connect());
        out << ",\"sourceTableName\":";
        JsonString(out, table->SourceTableName());
        out << ",\"properties\":";
        JsonProperties(out, table->GetProperties());
        out << ",\"fields\":";
        JsonArray(out, table->Fields(), [&](const std::shared_ptr<Field>& field) {
            const FieldInfo& f = field->Info();
            out << "{\"name\":";
            JsonString(out, f.name);
            out << ",\"type\":" << f.type << ",\"size\":" << f.size << ",\"attributes\":" << f.attributes
                << ",\"required\":" << (f.required ? "true" : "false")
                << ",\"allowZeroLength\":" << (f.allowZeroLength ? "true" : "false") << ",\"defaultValue\":";
            JsonString(out, f.defaultValue);
            out << ",\"properties\":";
            JsonProperties(out, field->GetProperties());
            out << '}';
        });
        out << ",\"indexes\":";
        JsonArray(out, SortedByName(table->Indexes()), [&](const std::shared_ptr<Index>& index) {
            out << "{\"name\":";
            JsonString(out, index->Name());
            out << ",\"primary\":" << (index->Primary() ? "true" : "false")
                << ",\"unique\":" << (index->Unique() ? "true" : "false")
                << ",\"foreign\":" << (index->Foreign() ? "true" : "false") << ",\"fields\":";
            JsonArray(out, index->Fields(), [&](const std::shared_ptr<Field>& field) {
                out << "{\"name\":";
                JsonString(out, field->Name());
                out << ",\"descending\":" << ((field->Attributes() & dao::dbDescending) != 0 ? "true" : "false")
                    << '}';
            });
            out << '}';
        });
        out << '}';
    });
    out << ",\"relations\":";
    JsonArray(out, SortedByName(database_.Relations()), [&](const std::shared_ptr<Relation>& relation) {
        out << "{\"name\":";
        JsonString(out, relation->Name());
        out << ",\"table\":";
        JsonString(out, relation->Table());
        out << ",\"foreignTable\":";
        JsonString(out, relation->ForeignTable());
        out << ",\"attributes\":" << relation->Attributes() << ",\"fields\":";
        JsonArray(out, relation->Fields(), [&](const std::shared_ptr<Field>& field) {
            out << "{\"name\":";
            JsonString(out, field->Name());
            out << ",\"foreignName\":";
            JsonString(out, field->ForeignName());
            out << '}';
        });
        out << '}';
    });
    out << ",\"queries\":";
    JsonArray(out, SortedByName(database_.QueryDefs()), [&](const std::shared_ptr<QueryDef>& query) {
        out << "{\"name\":";
        JsonString(out, query->Name());
        out << ",\"sql\":";
        JsonString(out, query->SQL());
        out << '}';
    });
    out << "}\n";
}

}  // namespace vorn
