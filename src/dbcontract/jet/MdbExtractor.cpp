#include "dbcontract/jet/MdbExtractor.h"

// libmdb's header includes glib inside its own extern "C" block, which C++
// refuses; glib must come first.
#include <glib.h>
#include <mdbtools.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/jet/JetFileHeader.h"
#include "dbcontract/jet/JetPassword.h"
#include "dbcontract/jet/JetPropertyBlock.h"
#include "dbcontract/jet/JetQueryText.h"
#include "dbcontract/jet/JetValueDecoder.h"
#include "dbcontract/jet/JetWireWriter.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr unsigned long kCatalogPage = 2;  // MSysObjects' definition is always on page 2
constexpr std::uint32_t kPageMask = 0x00FFFFFF;
constexpr std::int16_t kLocalTable = 1;
constexpr std::int16_t kDatabaseObject = 2;
constexpr std::int16_t kOdbcTable = 4;
constexpr std::int16_t kQuery = 5;
constexpr std::int16_t kLinkedTable = 6;
constexpr std::uint8_t kColumnNullable = 0x02;
constexpr std::uint8_t kColumnHyperlink = 0x80;
constexpr std::uint32_t kMemoInline = 0x80;
constexpr std::uint32_t kMemoOneRow = 0x40;
constexpr std::size_t kMemoHeader = 12;
constexpr int kForeignIndex = 2;
constexpr int kPrimaryIndex = 1;
constexpr std::int32_t kSystemFlags = static_cast<std::int32_t>(0x80000002u);

[[noreturn]] void Damaged(const std::string& what) {
    throw VornError(errnum::kJetDatabaseDamaged, "DAO.DBEngine", what);
}

struct HandleCloser {
    void operator()(MdbHandle* mdb) const { mdb_close(mdb); }
};
using HandlePtr = std::unique_ptr<MdbHandle, HandleCloser>;

// A table definition read through libmdb, with the catalog entry it points
// to (libmdb keeps a pointer to the entry, so both live together).
class TableDef {
public:
    TableDef(MdbHandle* mdb, const std::string& name, unsigned long page) : entry_(std::make_unique<MdbCatalogEntry>()) {
        std::memset(entry_.get(), 0, sizeof(MdbCatalogEntry));
        entry_->mdb = mdb;
        entry_->object_type = MDB_TABLE;
        entry_->table_pg = page;
        std::snprintf(entry_->object_name, sizeof entry_->object_name, "%s", name.c_str());
        def_ = mdb_read_table(entry_.get());
        if (def_ != nullptr && mdb_read_columns(def_) == nullptr) Drop();
        // mdb_read_indices answers NULL even when it read the indexes.
        if (def_ != nullptr) mdb_read_indices(def_);
    }
    ~TableDef() { Drop(); }
    TableDef(const TableDef&) = delete;
    TableDef& operator=(const TableDef&) = delete;

    MdbTableDef* get() const { return def_; }
    explicit operator bool() const { return def_ != nullptr; }
    MdbColumn* Column(unsigned i) const { return static_cast<MdbColumn*>(g_ptr_array_index(def_->columns, i)); }
    MdbIndex* Index(unsigned i) const { return static_cast<MdbIndex*>(g_ptr_array_index(def_->indices, i)); }
    unsigned ColumnCount() const { return def_->columns != nullptr ? def_->columns->len : 0; }
    unsigned IndexCount() const { return def_->indices != nullptr ? def_->indices->len : 0; }

private:
    void Drop() {
        if (def_ != nullptr) mdb_free_tabledef(def_);
        def_ = nullptr;
    }

    std::unique_ptr<MdbCatalogEntry> entry_;
    MdbTableDef* def_ = nullptr;
};

// A column as this reader needs it.
struct ColumnMeta {
    std::string name;
    JetType type = JetType::kText;
    std::uint8_t code = 0;
    int scale = 0;
    bool decodable = true;
};

std::vector<ColumnMeta> ColumnsOf(const TableDef& table) {
    std::vector<ColumnMeta> columns;
    for (unsigned i = 0; i < table.ColumnCount(); ++i) {
        const MdbColumn* c = table.Column(i);
        ColumnMeta meta;
        meta.name = c->name;
        meta.code = static_cast<std::uint8_t>(c->col_type);
        meta.type = static_cast<JetType>(c->col_type);
        // libmdb 1.0 swaps precision and scale: the scale is in col_prec.
        meta.scale = c->col_prec;
        meta.decodable = JetValueDecoder::DaoType(meta.code) != 0;
        columns.push_back(std::move(meta));
    }
    return columns;
}

// Reads the rows of one table, each value decoded from its stored bytes.
class RowCursor {
public:
    // `pages` is the file's page count, which bounds rows and value chains.
    RowCursor(MdbHandle* mdb, const TableDef& table, const JetValueDecoder& decoder, std::int64_t pages)
        : mdb_(mdb), table_(table), decoder_(decoder), columns_(ColumnsOf(table)), pages_(pages),
          maxRows_((pages + 1) * (mdb->fmt->pg_size / 4)) {
        mdb_rewind_table(table_.get());
    }

    const std::vector<ColumnMeta>& Columns() const { return columns_; }

    // Moves to the next row; false at the end. Raises 3049 past the most
    // rows the file can hold (a damaged page map that loops).
    bool Next() {
        if (!mdb_fetch_row(table_.get())) return false;
        if (++rows_ > maxRows_) Damaged("more rows than the file can hold");
        int start = 0;
        size_t length = 0;
        cracked_ = false;
        if (mdb_find_row(mdb_, static_cast<int>(table_.get()->cur_row) - 1, &start, &length) != 0) return true;
        const int offset = start & 0x1FFF;
        if (offset + static_cast<std::size_t>(length) > PageSize() || length == 0) return true;
        cracked_ = mdb_crack_row(table_.get(), offset, length, fields_) > 0 || table_.get()->num_cols == 0;
        return true;
    }

    // True when the row's layout could be read.
    bool Cracked() const { return cracked_; }

    // The value of column `i`: Null, the decoded value, or nullopt when the
    // stored bytes cannot be read.
    std::optional<Variant> Value(unsigned i) {
        const MdbField& field = fields_[i];
        const ColumnMeta& column = columns_[i];
        // A boolean has no bytes: its value is the null-mask bit.
        if (column.type == JetType::kBoolean) return Variant(field.is_null == 0);
        // A column of a type nobody decodes was reported with the design.
        if (field.is_null != 0 || !column.decodable) return Variant::Null();
        const auto bytes = Bytes(field);
        if (!bytes) return std::nullopt;
        if (column.type == JetType::kMemo || column.type == JetType::kOle) {
            const auto whole = LongValue(*bytes);
            if (!whole) return std::nullopt;
            return decoder_.Decode(column.type, *whole, column.scale);
        }
        return decoder_.Decode(column.type, *bytes, column.scale);
    }

    // Like Value, for a column named `name`; nullopt also when there is none.
    std::optional<Variant> ValueOf(const std::string& name) {
        for (unsigned i = 0; i < columns_.size(); ++i) {
            if (columns_[i].name == name) return Value(i);
        }
        return std::nullopt;
    }

private:
    std::size_t PageSize() const { return static_cast<std::size_t>(mdb_->fmt->pg_size); }

    std::optional<std::span<const std::uint8_t>> Bytes(const MdbField& field) const {
        const auto* page = mdb_->pg_buf;
        const auto* value = static_cast<const std::uint8_t*>(field.value);
        if (value == nullptr || field.siz < 0) return std::span<const std::uint8_t>();
        if (value < page || value + field.siz > page + PageSize()) return std::nullopt;
        return std::span(value, static_cast<std::size_t>(field.siz));
    }

    // The whole of a memo or OLE value: kept in the row itself, in one
    // long-value row, or in a chain of them, after a 12-byte header of a
    // 24-bit length, a flag byte and the first long-value row's address.
    std::optional<std::vector<std::uint8_t>> LongValue(std::span<const std::uint8_t> field) {
        // An empty value that is not Null may be stored without a header.
        if (field.empty()) return std::vector<std::uint8_t>();
        if (field.size() < kMemoHeader) return std::nullopt;
        const std::uint32_t length = field[0] | (field[1] << 8) | (field[2] << 16);
        const std::uint32_t flags = field[3];
        if ((flags & kMemoInline) != 0) {
            if (length > field.size() - kMemoHeader) return std::nullopt;
            return std::vector<std::uint8_t>(field.begin() + kMemoHeader, field.begin() + kMemoHeader + length);
        }
        std::uint32_t next = field[4] | (field[5] << 8) | (field[6] << 16) | (static_cast<std::uint32_t>(field[7]) << 24);
        std::vector<std::uint8_t> whole;
        whole.reserve(length);
        // Each long-value row of a chain starts with the next one's address;
        // a chain can be no longer than the file has pages.
        const std::size_t maxLinks = (flags & kMemoOneRow) != 0 ? 1 : static_cast<std::size_t>(pages_) + 1;
        for (std::size_t link = 0; link < maxLinks && whole.size() < length; ++link) {
            void* buffer = nullptr;
            int start = 0;
            size_t rowLength = 0;
            if (next == 0 || mdb_find_pg_row(mdb_, static_cast<int>(next), &buffer, &start, &rowLength) != 0) break;
            const std::size_t offset = static_cast<std::size_t>(start) & 0x1FFF;
            if (offset + rowLength > PageSize()) return std::nullopt;
            const auto* row = static_cast<const std::uint8_t*>(buffer) + offset;
            if ((flags & kMemoOneRow) != 0) {
                whole.insert(whole.end(), row, row + rowLength);
                break;
            }
            if (rowLength < 4) return std::nullopt;
            next = row[0] | (row[1] << 8) | (row[2] << 16) | (static_cast<std::uint32_t>(row[3]) << 24);
            whole.insert(whole.end(), row + 4, row + rowLength);
        }
        if (whole.size() < length) return std::nullopt;
        whole.resize(length);
        return whole;
    }

    MdbHandle* mdb_;
    const TableDef& table_;
    const JetValueDecoder& decoder_;
    std::vector<ColumnMeta> columns_;
    std::int64_t pages_;
    std::int64_t maxRows_;
    std::int64_t rows_ = 0;
    bool cracked_ = false;
    MdbField fields_[MDB_MAX_COLS + 1]{};
};

// One row of the catalog (MSysObjects).
struct CatalogObject {
    std::int32_t id = 0;
    std::int32_t parentId = 0;
    std::string name;
    std::int16_t type = 0;
    std::int32_t flags = 0;
    double created = 0;
    double updated = 0;
    std::string database;
    std::string connect;
    std::string foreignName;
    std::vector<std::uint8_t> properties;

    std::int16_t Kind() const { return static_cast<std::int16_t>(type & 0x7F); }
    bool IsTable() const { return type == kLocalTable || type == kOdbcTable || type == kLinkedTable; }
};

std::string TextOf(const std::optional<Variant>& value) {
    return value && value->IsText() ? value->AsText() : std::string();
}

template <class T>
T NumberOf(const std::optional<Variant>& value) {
    if (!value || value->IsNull() || !value->IsNumericKind()) return T{};
    return static_cast<T>(value->NumberValue());
}

double DateOf(const std::optional<Variant>& value) { return value && value->IsDate() ? value->AsDateSerial() : 0.0; }

std::vector<std::uint8_t> BytesOf(const std::optional<Variant>& value) {
    return value && value->IsBinary() ? value->AsBinary() : std::vector<std::uint8_t>();
}

// The reading of one file, step by step.
class Extraction {
public:
    Extraction(const std::string& path, JetRecordSink& sink) : path_(path), sink_(sink) {}

    void Run() {
        Open();
        ReadCatalog();
        ReadRelationRows();
        std::vector<std::pair<const CatalogObject*, std::int64_t>> tables;
        for (const CatalogObject& object : objects_) {
            if (object.IsTable()) tables.emplace_back(&object, SendTable(object));
        }
        for (const auto& [object, rows] : tables) {
            if (object->type == kLocalTable && rows >= 0) SendRows(*object);
        }
        SendRelations();
        SendQueries();
        SendDatabaseProperties();
        sink_.End();
    }

private:
    void Open() {
        mdb_.reset(mdb_open(path_.c_str(), MDB_NOFLAGS));
        if (!mdb_) Damaged("the file's header cannot be read");
        // Smaller bind buffers crash libmdb's own readers; none are bound here.
        mdb_set_bind_size(mdb_.get(), 16384);
        jet3_ = mdb_->f->jet_version == MDB_VER_JET3;
        codePage_ = CodePageOf(path_);
        decoder_.emplace(jet3_, codePage_);
        std::error_code error;
        const auto size = std::filesystem::file_size(path_, error);
        pages_ = error ? 1 : static_cast<std::int64_t>(size / static_cast<std::uintmax_t>(mdb_->fmt->pg_size));
    }

    // The code page of Jet 3's texts, from the file's own header; 1252 when
    // the header cannot be read again.
    static std::uint16_t CodePageOf(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        std::vector<std::uint8_t> page0(JetPassword::kHeaderBytes);
        if (!in.read(reinterpret_cast<char*>(page0.data()), static_cast<std::streamsize>(page0.size()))) return 1252;
        const auto header = JetFileHeader::Parse(page0);
        return header ? header->CodePage() : 1252;
    }

    // libmdb's own catalog reader parses every property block as it goes,
    // with a parser that loops forever on damaged blocks; the catalog is
    // read here instead, from its fixed page.
    void ReadCatalog() {
        const TableDef catalog(mdb_.get(), "MSysObjects", kCatalogPage);
        if (!catalog) Damaged("its catalog of objects cannot be read");
        RowCursor rows(mdb_.get(), catalog, *decoder_, pages_);
        while (rows.Next()) {
            if (!rows.Cracked()) continue;
            CatalogObject object;
            object.id = NumberOf<std::int32_t>(rows.ValueOf("Id"));
            object.parentId = NumberOf<std::int32_t>(rows.ValueOf("ParentId"));
            object.name = TextOf(rows.ValueOf("Name"));
            object.type = NumberOf<std::int16_t>(rows.ValueOf("Type"));
            object.flags = NumberOf<std::int32_t>(rows.ValueOf("Flags"));
            object.created = DateOf(rows.ValueOf("DateCreate"));
            object.updated = DateOf(rows.ValueOf("DateUpdate"));
            object.database = TextOf(rows.ValueOf("Database"));
            object.connect = TextOf(rows.ValueOf("Connect"));
            object.foreignName = TextOf(rows.ValueOf("ForeignName"));
            object.properties = BytesOf(rows.ValueOf("LvProp"));
            if (!object.name.empty()) objects_.push_back(std::move(object));
        }
        if (objects_.empty()) Damaged("its catalog of objects is empty");
    }

    const CatalogObject* FindObject(const std::string& name, std::int16_t type) const {
        for (const CatalogObject& object : objects_) {
            if (object.type == type && object.name == name) return &object;
        }
        return nullptr;
    }

    // A table of any kind: a relation may join an attached table, which
    // Jet keeps without enforcing it.
    bool IsTable(const std::string& name) const {
        return std::any_of(objects_.begin(), objects_.end(),
                           [&name](const CatalogObject& object) { return object.IsTable() && object.name == name; });
    }

    struct RelationRow {
        std::string name;
        std::int32_t attributes = 0;
        std::int32_t position = 0;
        std::string table;
        std::string field;
        std::string parent;
        std::string parentField;
    };

    // The relations' rows, read before the tables because foreign indexes
    // take their fields from them (libmdb gives such indexes none).
    void ReadRelationRows() {
        const CatalogObject* object = FindObject("MSysRelationships", kLocalTable);
        if (object == nullptr) return;
        const TableDef table(mdb_.get(), object->name, object->id & kPageMask);
        if (!table) {
            sink_.Warning("The relations cannot be read (the table MSysRelationships is damaged).");
            return;
        }
        RowCursor rows(mdb_.get(), table, *decoder_, pages_);
        while (rows.Next()) {
            if (!rows.Cracked()) continue;
            RelationRow row;
            row.name = TextOf(rows.ValueOf("szRelationship"));
            row.attributes = NumberOf<std::int32_t>(rows.ValueOf("grbit"));
            row.position = NumberOf<std::int32_t>(rows.ValueOf("icolumn"));
            row.table = TextOf(rows.ValueOf("szObject"));
            row.field = TextOf(rows.ValueOf("szColumn"));
            row.parent = TextOf(rows.ValueOf("szReferencedObject"));
            row.parentField = TextOf(rows.ValueOf("szReferencedColumn"));
            relationRows_.push_back(std::move(row));
        }
        std::stable_sort(relationRows_.begin(), relationRows_.end(), [](const RelationRow& a, const RelationRow& b) {
            return a.name != b.name ? a.name < b.name : a.position < b.position;
        });
    }

    // Sends a table's design and properties; returns its stored row count,
    // or -1 when its definition cannot be read.
    std::int64_t SendTable(const CatalogObject& object) {
        TableInfo info;
        info.name = object.name;
        info.dateCreated = object.created;
        info.lastUpdated = object.updated;
        info.attributes = TableAttributes(object);
        const JetPropertyBlock properties(object.properties, jet3_, codePage_);
        NoteDamage(properties, "table '" + object.name + "'");
        if (object.type != kLocalTable) {
            info.connect = LinkConnect(object);
            info.sourceTableName = object.foreignName;
            sink_.Table(info, 0);
            SendProperties({object.name, {}}, properties.Find(""), {});
            return 0;
        }
        const TableDef table(mdb_.get(), object.name, object.id & kPageMask);
        if (!table) {
            sink_.Warning("The table '" + object.name + "' cannot be read: its definition is damaged.");
            return -1;
        }
        AddFields(table, properties, info);
        AddIndexes(table, info);
        TakeTableProperties(properties.Find(""), info);
        sink_.Table(info, table.get()->num_rows);
        SendProperties({object.name, {}}, properties.Find(""), {"ValidationRule", "ValidationText"});
        for (const FieldInfo& field : info.fields) {
            SendProperties({object.name, field.name}, properties.Find(field.name),
                           {"DefaultValue", "ValidationRule", "ValidationText", "Required", "AllowZeroLength"});
        }
        return table.get()->num_rows;
    }

    static std::int32_t TableAttributes(const CatalogObject& object) {
        // Jet's system tables carry 0x80000000 or 2 in their flags; DAO shows
        // both as dbSystemObject. Of the other flags DAO shows only the
        // hidden bit and, on attached tables, the attachment bits.
        std::int32_t attributes = (object.flags & kSystemFlags) != 0 ? dao::dbSystemObject : 0;
        attributes |= object.flags & dao::dbHiddenObject;
        if (object.type == kLinkedTable) attributes |= dao::dbAttachedTable;
        if (object.type == kOdbcTable) attributes |= dao::dbAttachedODBC;
        if (object.type != kLocalTable) attributes |= object.flags & (dao::dbAttachSavePWD | dao::dbAttachExclusive);
        return attributes;
    }

    static std::string LinkConnect(const CatalogObject& object) {
        if (object.type == kOdbcTable) return object.connect;
        return LinkedTableConnect(object.connect, object.database);
    }

    // The column flags libmdb does not keep (nullable, hyperlink), read
    // from the table-definition pages by column number. The entries follow
    // the real-index entries and may run over into the next definition page.
    std::map<int, std::uint8_t> RawColumnFlags(const TableDef& table) {
        std::map<int, std::uint8_t> flags;
        const MdbFormatConstants* fmt = mdb_->fmt;
        const auto pageSize = static_cast<std::size_t>(fmt->pg_size);
        // libmdb skips reading the page it read last, although its buffer
        // may have been used for another page since.
        mdb_->cur_pg = 0;
        if (mdb_read_pg(mdb_.get(), table.get()->entry->table_pg) <= 0) return flags;
        // The stored count of real indexes: libmdb lowers its own copy of it
        // while reading the indexes.
        const auto realIndexes = static_cast<std::size_t>(mdb_get_int32(mdb_->pg_buf, fmt->tab_num_ridxs_offset));
        if (realIndexes > pageSize) return flags;
        std::size_t position = fmt->tab_cols_start_offset + realIndexes * fmt->tab_ridx_entry_size;
        std::vector<std::uint8_t> entry;
        for (std::size_t pages = 0; flags.size() < table.get()->num_cols && pages <= table.get()->num_cols; ) {
            while (position < pageSize && entry.size() < fmt->tab_col_entry_size) entry.push_back(mdb_->pg_buf[position++]);
            if (entry.size() == fmt->tab_col_entry_size) {
                flags[entry[fmt->col_num_offset]] = entry[fmt->col_flags_offset];
                entry.clear();
                continue;
            }
            // Bytes 4-7 hold the next definition page; its data starts at byte 8.
            const auto next = static_cast<unsigned long>(mdb_get_int32(mdb_->pg_buf, 4));
            if (next == 0 || ++pages > table.get()->num_cols || mdb_read_pg(mdb_.get(), next) <= 0) break;
            position = 8;
        }
        return flags;
    }

    void AddFields(const TableDef& table, const JetPropertyBlock& properties, TableInfo& info) {
        const auto flags = RawColumnFlags(table);
        for (unsigned i = 0; i < table.ColumnCount(); ++i) {
            const MdbColumn& column = *table.Column(i);
            FieldInfo field = FieldOf(column, info);
            field.ordinalPosition = static_cast<std::int16_t>(i);
            const auto raw = flags.find(column.col_num);
            if (raw != flags.end()) {
                field.required = (raw->second & kColumnNullable) == 0 && field.type != dao::dbBoolean;
                if ((raw->second & kColumnHyperlink) != 0 && field.type == dao::dbMemo) {
                    field.attributes |= dao::dbHyperlinkField;
                }
            }
            // Jet 3 keeps Required only as a property, so a stored
            // property has the last word over the definition's flag.
            TakeFieldProperties(properties.Find(field.name), field);
            const bool guidCounter = column.is_uuid_auto != 0 && field.type == dao::dbGUID;
            if (guidCounter && field.defaultValue.empty()) field.defaultValue = "GenGUID()";
            info.fields.push_back(std::move(field));
        }
    }

    // A field's type, size and attributes as libmdb read them.
    FieldInfo FieldOf(const MdbColumn& column, const TableInfo& table) {
        FieldInfo field;
        field.name = column.name;
        field.type = JetValueDecoder::DaoType(static_cast<std::uint8_t>(column.col_type));
        if (field.type == 0) {
            // Access's own tables hold such fields (attachments, themes);
            // only a user's table is worth a warning.
            if ((table.attributes & dao::dbSystemObject) == 0) {
                sink_.Warning("The field '" + field.name + "' of table '" + table.name + "' has a type (" +
                              std::to_string(column.col_type) + ") that cannot be read; its values are left out.");
            }
            field.type = dao::dbLongBinary;
        }
        field.size = FieldSize(column, field.type);
        field.attributes = column.is_fixed != 0 ? dao::dbFixedField : dao::dbVariableField;
        // Only a Long counts up. A GUID "counter" is, for DAO, a GUID whose
        // default makes a new one; libmdb reads its flag (0x40) on every
        // column, though Jet 3 sets it on ordinary ones too.
        if (column.is_long_auto != 0 && field.type == dao::dbLong) field.attributes |= dao::dbAutoIncrField;
        if (field.type == dao::dbDecimal) {
            // libmdb 1.0 swaps the two: the precision is in col_scale.
            field.precision = static_cast<std::uint8_t>(column.col_scale);
            field.scale = static_cast<std::uint8_t>(column.col_prec);
        }
        return field;
    }

    std::int32_t FieldSize(const MdbColumn& column, std::int16_t type) const {
        switch (type) {
        case dao::dbBoolean: return 1;
        case dao::dbMemo:
        case dao::dbLongBinary: return 0;
        // Text sizes count characters; Jet 4 stores two bytes for each.
        case dao::dbText: return jet3_ ? column.col_size : column.col_size / 2;
        default: return column.col_size;
        }
    }

    static void TakeFieldProperties(const JetPropertyBlock::Group* group, FieldInfo& field) {
        if (group == nullptr) return;
        for (const PropertyInfo& p : group->properties) {
            if (p.name == "DefaultValue" && p.value.IsText()) field.defaultValue = p.value.AsText();
            if (p.name == "ValidationRule" && p.value.IsText()) field.validationRule = p.value.AsText();
            if (p.name == "ValidationText" && p.value.IsText()) field.validationText = p.value.AsText();
            if (p.name == "AllowZeroLength" && p.value.IsBoolean()) field.allowZeroLength = p.value.AsBoolean();
            if (p.name == "Required" && p.value.IsBoolean()) field.required = p.value.AsBoolean();
        }
    }

    static void TakeTableProperties(const JetPropertyBlock::Group* group, TableInfo& info) {
        if (group == nullptr) return;
        for (const PropertyInfo& p : group->properties) {
            if (p.name == "ValidationRule" && p.value.IsText()) info.validationRule = p.value.AsText();
            if (p.name == "ValidationText" && p.value.IsText()) info.validationText = p.value.AsText();
        }
    }

    void AddIndexes(const TableDef& table, TableInfo& info) {
        for (unsigned i = 0; i < table.IndexCount(); ++i) {
            const MdbIndex* x = table.Index(i);
            IndexInfo index;
            index.name = x->name;
            if (x->index_type == kForeignIndex) {
                // Jet keeps an entry on both sides of a relation; DAO shows
                // only the child's, named after the relation.
                if (!AddForeignFields(info.name, index)) continue;
            } else {
                index.primary = x->index_type == kPrimaryIndex;
                index.unique = (x->flags & MDB_IDX_UNIQUE) != 0 || index.primary;
                index.ignoreNulls = (x->flags & MDB_IDX_IGNORENULLS) != 0;
                index.required = (x->flags & MDB_IDX_REQUIRED) != 0 || index.primary;
                for (unsigned k = 0; k < x->num_keys && k < MDB_MAX_IDX_COLS; ++k) {
                    const int column = x->key_col_num[k] - 1;  // 1-based in libmdb
                    if (column < 0 || static_cast<unsigned>(column) >= info.fields.size()) continue;
                    index.fields.push_back({info.fields[static_cast<std::size_t>(column)].name,
                                            x->key_col_order[k] == MDB_DESC ? dao::dbDescending : 0});
                }
            }
            info.indexes.push_back(std::move(index));
        }
    }

    bool AddForeignFields(const std::string& table, IndexInfo& index) const {
        for (const RelationRow& row : relationRows_) {
            if (row.name == index.name && row.table == table) index.fields.push_back({row.field, 0});
        }
        index.foreign = true;
        return !index.fields.empty();
    }

    void SendProperties(const PropertyOwnerKey& owner, const JetPropertyBlock::Group* group,
                        const std::set<std::string>& heldElsewhere) {
        if (group == nullptr) return;
        for (const PropertyInfo& p : group->properties) {
            if (heldElsewhere.count(p.name) == 0) sink_.Property(owner, p);
        }
    }

    void NoteDamage(const JetPropertyBlock& properties, const std::string& owner) {
        if (properties.Damaged()) sink_.Warning("The properties of " + owner + " are damaged; only some could be read.");
        for (const std::string& name : properties.Undecoded()) {
            sink_.Warning("The property '" + name + "' of " + owner + " has a type that cannot be read; it is left out.");
        }
    }

    void SendRows(const CatalogObject& object) {
        const TableDef table(mdb_.get(), object.name, object.id & kPageMask);
        if (!table) return;
        RowCursor rows(mdb_.get(), table, *decoder_, pages_);
        std::vector<std::int64_t> unreadable(rows.Columns().size(), 0);
        std::int64_t damagedRows = 0;
        std::vector<Variant> values(rows.Columns().size());
        sink_.BeginRows(object.name);
        while (rows.Next()) {
            if (!rows.Cracked()) {
                ++damagedRows;
                continue;
            }
            for (unsigned i = 0; i < values.size(); ++i) {
                auto value = rows.Value(i);
                if (!value) {
                    ++unreadable[i];
                    value = Variant::Null();
                }
                values[i] = std::move(*value);
            }
            sink_.Row(values);
        }
        sink_.EndRows();
        ReportRows(object.name, rows.Columns(), unreadable, damagedRows);
    }

    void ReportRows(const std::string& table, const std::vector<ColumnMeta>& columns,
                    const std::vector<std::int64_t>& unreadable, std::int64_t damagedRows) {
        if (damagedRows > 0) {
            sink_.Warning("Table '" + table + "': " + std::to_string(damagedRows) +
                          " damaged row(s) could not be read and are left out.");
        }
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (unreadable[i] == 0) continue;
            sink_.Warning("Table '" + table + "', field '" + columns[i].name + "': " + std::to_string(unreadable[i]) +
                          " value(s) could not be read and are left Null.");
        }
    }

    void SendRelations() {
        std::map<std::string, RelationInfo> relations;
        std::vector<std::string> order;
        for (const RelationRow& row : relationRows_) {
            if (!IsTable(row.table) || !IsTable(row.parent)) continue;
            auto [it, added] = relations.try_emplace(row.name);
            if (added) {
                it->second.name = row.name;
                it->second.table = row.parent;
                it->second.foreignTable = row.table;
                it->second.attributes = row.attributes;
                order.push_back(row.name);
            }
            it->second.fields.push_back({row.parentField, row.field});
        }
        for (const std::string& name : order) sink_.Relation(relations[name]);
    }

    void SendQueries() {
        std::map<std::int32_t, std::vector<JetQueryText::Part>> parts;
        const CatalogObject* object = FindObject("MSysQueries", kLocalTable);
        if (object != nullptr) ReadQueryParts(*object, parts);
        for (const CatalogObject& query : objects_) {
            if (query.type != kQuery) continue;
            sink_.Query({query.name, JetQueryText::Build(parts[query.id])});
        }
    }

    void ReadQueryParts(const CatalogObject& object, std::map<std::int32_t, std::vector<JetQueryText::Part>>& parts) {
        const TableDef table(mdb_.get(), object.name, object.id & kPageMask);
        if (!table) {
            sink_.Warning("The saved queries' text cannot be read (the table MSysQueries is damaged).");
            return;
        }
        RowCursor rows(mdb_.get(), table, *decoder_, pages_);
        while (rows.Next()) {
            if (!rows.Cracked()) continue;
            JetQueryText::Part part;
            part.attribute = NumberOf<int>(rows.ValueOf("Attribute"));
            const auto order = BytesOf(rows.ValueOf("Order"));
            part.order.assign(order.begin(), order.end());
            part.name1 = TextOf(rows.ValueOf("Name1"));
            part.name2 = TextOf(rows.ValueOf("Name2"));
            part.expression = TextOf(rows.ValueOf("Expression"));
            part.flag = NumberOf<std::int32_t>(rows.ValueOf("Flag"));
            parts[NumberOf<std::int32_t>(rows.ValueOf("ObjectId"))].push_back(std::move(part));
        }
    }

    void SendDatabaseProperties() {
        const CatalogObject* object = FindObject("MSysDb", kDatabaseObject);
        if (object == nullptr) return;
        const JetPropertyBlock properties(object->properties, jet3_, codePage_);
        NoteDamage(properties, "the database");
        SendProperties({}, properties.Find(""), {});
    }

    std::string path_;
    JetRecordSink& sink_;
    HandlePtr mdb_;
    bool jet3_ = false;
    std::uint16_t codePage_ = 1252;
    std::optional<JetValueDecoder> decoder_;
    std::int64_t pages_ = 0;
    std::vector<CatalogObject> objects_;
    std::vector<RelationRow> relationRows_;
};

}  // namespace

std::string LinkedTableConnect(const std::string& connect, const std::string& database) {
    if (database.empty()) return connect;
    // A stored Connect may already end with its separator.
    const bool separated = !connect.empty() && connect.back() == ';';
    return connect + (separated ? "" : ";") + "DATABASE=" + database;
}

void MdbExtractor::Run() {
    try {
        Extraction(path_, sink_).Run();
    } catch (const VornError& error) {
        sink_.Failure(error.Number(), error.Description());
    }
}

int MdbExtractor::RunInChild(const std::string& path, int fd) {
    JetWireWriter writer(fd);
    MdbExtractor(path, writer).Run();
    writer.Flush();
    return 0;
}

}  // namespace vorn
