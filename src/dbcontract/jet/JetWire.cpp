#include "dbcontract/jet/JetWire.h"

#include <bit>

#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

// Appends little-endian primitives to a frame being built.
class Out {
public:
    Out(std::string& out, JetWire::Message type) : out_(out), start_(out.size()) {
        out_.append(4, '\0');
        out_ += static_cast<char>(type);
    }
    ~Out() {
        const auto length = static_cast<std::uint32_t>(out_.size() - start_ - JetWire::kFrameHeader);
        for (int i = 0; i < 4; ++i) out_[start_ + i] = static_cast<char>(length >> (8 * i));
    }
    Out(const Out&) = delete;
    Out& operator=(const Out&) = delete;

    void U(std::uint64_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) out_ += static_cast<char>(value >> (8 * i));
    }
    void Str(std::string_view text) {
        U(text.size(), 4);
        out_ += text;
    }
    void Bool(bool value) { U(value ? 1 : 0, 1); }
    void Value(const Variant& value);
    void Field(const FieldInfo& field);
    void Index(const IndexInfo& index);

private:
    std::string& out_;
    std::size_t start_;
};

void Out::Value(const Variant& value) {
    U(static_cast<std::uint8_t>(value.Kind()), 1);
    switch (value.Kind()) {
    case VariantKind::Boolean: Bool(value.AsBoolean()); break;
    case VariantKind::Byte: U(value.AsByte(), 1); break;
    case VariantKind::Integer: U(static_cast<std::uint16_t>(value.AsInteger()), 2); break;
    case VariantKind::Long: U(static_cast<std::uint32_t>(value.AsLong()), 4); break;
    case VariantKind::Currency: U(static_cast<std::uint64_t>(value.AsCurrency().Scaled()), 8); break;
    case VariantKind::Single: U(std::bit_cast<std::uint32_t>(value.AsSingle()), 4); break;
    case VariantKind::Double: U(std::bit_cast<std::uint64_t>(value.AsDouble()), 8); break;
    case VariantKind::Date: U(std::bit_cast<std::uint64_t>(value.AsDateSerial()), 8); break;
    case VariantKind::Text: Str(value.AsText()); break;
    case VariantKind::Binary: {
        const auto& bytes = value.AsBinary();
        Str(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
        break;
    }
    case VariantKind::Decimal: {
        const Decimal& d = value.AsDecimal();
        U(d.High(), 4);
        U(d.Low(), 8);
        U(static_cast<std::uint8_t>(d.Scale()), 1);
        Bool(d.IsNegative());
        break;
    }
    default: break;  // Empty, Null: the kind says it all; arrays never come from a file
    }
}

void Out::Field(const FieldInfo& f) {
    Str(f.name);
    U(static_cast<std::uint16_t>(f.type), 2);
    U(static_cast<std::uint32_t>(f.size), 4);
    U(static_cast<std::uint32_t>(f.attributes), 4);
    Bool(f.required);
    Bool(f.allowZeroLength);
    U(static_cast<std::uint16_t>(f.ordinalPosition), 2);
    Str(f.defaultValue);
    Str(f.validationRule);
    Str(f.validationText);
    U(f.precision, 1);
    U(f.scale, 1);
}

void Out::Index(const IndexInfo& x) {
    Str(x.name);
    Bool(x.primary);
    Bool(x.unique);
    Bool(x.ignoreNulls);
    Bool(x.required);
    Bool(x.foreign);
    Bool(x.clustered);
    U(x.fields.size(), 4);
    for (const IndexFieldInfo& f : x.fields) {
        Str(f.name);
        U(static_cast<std::uint32_t>(f.attributes), 4);
    }
}

// Reads primitives back, raising 3049 on any overrun.
class In {
public:
    explicit In(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::uint64_t U(int count) {
        Need(static_cast<std::size_t>(count));
        std::uint64_t value = 0;
        for (int i = count; i-- > 0;) value = (value << 8) | bytes_[pos_ + static_cast<std::size_t>(i)];
        pos_ += static_cast<std::size_t>(count);
        return value;
    }
    std::int16_t I16() { return static_cast<std::int16_t>(U(2)); }
    std::int32_t I32() { return static_cast<std::int32_t>(U(4)); }
    bool Bool() { return U(1) != 0; }
    std::string Str() {
        const auto length = static_cast<std::size_t>(U(4));
        Need(length);
        std::string text(reinterpret_cast<const char*>(bytes_.data() + pos_), length);
        pos_ += length;
        return text;
    }
    Variant Value();
    FieldInfo Field();
    IndexInfo Index();
    // A count of items that each take at least one byte, checked against
    // what is left so that a damaged count cannot make a huge allocation.
    std::size_t Count() {
        const auto count = static_cast<std::size_t>(U(4));
        Need(count);
        return count;
    }
    void End() const {
        if (pos_ != bytes_.size()) Fail();
    }

private:
    void Need(std::size_t count) const {
        if (count > bytes_.size() - pos_) Fail();
    }
    [[noreturn]] static void Fail() {
        throw VornError(errnum::kJetDatabaseDamaged, "DAO.DBEngine", "The records read from the file are malformed.");
    }

    std::span<const std::uint8_t> bytes_;
    std::size_t pos_ = 0;
};

Variant In::Value() {
    switch (static_cast<VariantKind>(U(1))) {
    case VariantKind::Empty: return Variant();
    case VariantKind::Null: return Variant::Null();
    case VariantKind::Boolean: return Variant(Bool());
    case VariantKind::Byte: return Variant(static_cast<std::uint8_t>(U(1)));
    case VariantKind::Integer: return Variant(I16());
    case VariantKind::Long: return Variant(I32());
    case VariantKind::Currency: return Variant(Currency::FromScaled(static_cast<std::int64_t>(U(8))));
    case VariantKind::Single: return Variant(std::bit_cast<float>(static_cast<std::uint32_t>(U(4))));
    case VariantKind::Double: return Variant(std::bit_cast<double>(U(8)));
    case VariantKind::Date: return Variant::FromDate(std::bit_cast<double>(U(8)));
    case VariantKind::Text: return Variant(Str());
    case VariantKind::Binary: {
        const std::string bytes = Str();
        return Variant(Variant::Binary(bytes.begin(), bytes.end()));
    }
    case VariantKind::Decimal: {
        const auto high = static_cast<std::uint32_t>(U(4));
        const std::uint64_t low = U(8);
        const auto scale = static_cast<int>(U(1));
        const bool negative = Bool();
        if (scale > Decimal::kMaxScale) Fail();
        return Variant(Decimal::FromParts(high, low, scale, negative));
    }
    default: Fail();
    }
}

FieldInfo In::Field() {
    FieldInfo f;
    f.name = Str();
    f.type = I16();
    f.size = I32();
    f.attributes = I32();
    f.required = Bool();
    f.allowZeroLength = Bool();
    f.ordinalPosition = I16();
    f.defaultValue = Str();
    f.validationRule = Str();
    f.validationText = Str();
    f.precision = static_cast<std::uint8_t>(U(1));
    f.scale = static_cast<std::uint8_t>(U(1));
    return f;
}

IndexInfo In::Index() {
    IndexInfo x;
    x.name = Str();
    x.primary = Bool();
    x.unique = Bool();
    x.ignoreNulls = Bool();
    x.required = Bool();
    x.foreign = Bool();
    x.clustered = Bool();
    for (std::size_t i = Count(); i > 0; --i) {
        IndexFieldInfo f;
        f.name = Str();
        f.attributes = I32();
        x.fields.push_back(std::move(f));
    }
    return x;
}

void DispatchTable(In& in, JetRecordSink& sink) {
    TableInfo table;
    table.name = in.Str();
    table.attributes = in.I32();
    table.connect = in.Str();
    table.sourceTableName = in.Str();
    table.validationRule = in.Str();
    table.validationText = in.Str();
    table.dateCreated = std::bit_cast<double>(in.U(8));
    table.lastUpdated = std::bit_cast<double>(in.U(8));
    for (std::size_t i = in.Count(); i > 0; --i) table.fields.push_back(in.Field());
    for (std::size_t i = in.Count(); i > 0; --i) table.indexes.push_back(in.Index());
    const auto storedRows = static_cast<std::int64_t>(in.U(8));
    in.End();
    sink.Table(table, storedRows);
}

void DispatchRelation(In& in, JetRecordSink& sink) {
    RelationInfo relation;
    relation.name = in.Str();
    relation.table = in.Str();
    relation.foreignTable = in.Str();
    relation.attributes = in.I32();
    for (std::size_t i = in.Count(); i > 0; --i) {
        RelationFieldInfo f;
        f.name = in.Str();
        f.foreignName = in.Str();
        relation.fields.push_back(std::move(f));
    }
    in.End();
    sink.Relation(relation);
}

}  // namespace

void JetWire::EncodeTable(std::string& out, const TableInfo& table, std::int64_t storedRows) {
    Out o(out, Message::kTable);
    o.Str(table.name);
    o.U(static_cast<std::uint32_t>(table.attributes), 4);
    o.Str(table.connect);
    o.Str(table.sourceTableName);
    o.Str(table.validationRule);
    o.Str(table.validationText);
    o.U(std::bit_cast<std::uint64_t>(table.dateCreated), 8);
    o.U(std::bit_cast<std::uint64_t>(table.lastUpdated), 8);
    o.U(table.fields.size(), 4);
    for (const FieldInfo& f : table.fields) o.Field(f);
    o.U(table.indexes.size(), 4);
    for (const IndexInfo& x : table.indexes) o.Index(x);
    o.U(static_cast<std::uint64_t>(storedRows), 8);
}

void JetWire::EncodeProperty(std::string& out, const PropertyOwnerKey& owner, const PropertyInfo& property) {
    Out o(out, Message::kProperty);
    o.Str(owner.table);
    o.Str(owner.field);
    o.Str(property.name);
    o.U(static_cast<std::uint16_t>(property.type), 2);
    o.Value(property.value);
}

void JetWire::EncodeBeginRows(std::string& out, const std::string& table) { EncodeText(out, Message::kBeginRows, table); }

void JetWire::EncodeRow(std::string& out, const std::vector<Variant>& values) {
    Out o(out, Message::kRow);
    o.U(values.size(), 4);
    for (const Variant& v : values) o.Value(v);
}

void JetWire::EncodeRelation(std::string& out, const RelationInfo& relation) {
    Out o(out, Message::kRelation);
    o.Str(relation.name);
    o.Str(relation.table);
    o.Str(relation.foreignTable);
    o.U(static_cast<std::uint32_t>(relation.attributes), 4);
    o.U(relation.fields.size(), 4);
    for (const RelationFieldInfo& f : relation.fields) {
        o.Str(f.name);
        o.Str(f.foreignName);
    }
}

void JetWire::EncodeQuery(std::string& out, const QueryInfo& query) {
    Out o(out, Message::kQuery);
    o.Str(query.name);
    o.Str(query.sql);
}

void JetWire::EncodeText(std::string& out, Message type, const std::string& text) {
    Out o(out, type);
    o.Str(text);
}

void JetWire::EncodeFailure(std::string& out, std::int32_t number, const std::string& text) {
    Out o(out, Message::kFailure);
    o.U(static_cast<std::uint32_t>(number), 4);
    o.Str(text);
}

void JetWire::EncodeEmpty(std::string& out, Message type) { Out o(out, type); }

std::uint32_t JetWire::PayloadLength(std::span<const std::uint8_t> header) {
    return static_cast<std::uint32_t>(header[0]) | (static_cast<std::uint32_t>(header[1]) << 8) |
           (static_cast<std::uint32_t>(header[2]) << 16) | (static_cast<std::uint32_t>(header[3]) << 24);
}

void JetWire::Dispatch(Message type, std::span<const std::uint8_t> payload, JetRecordSink& sink) {
    In in(payload);
    switch (type) {
    case Message::kTable: DispatchTable(in, sink); return;
    case Message::kProperty: {
        PropertyOwnerKey owner;
        owner.table = in.Str();
        owner.field = in.Str();
        PropertyInfo property;
        property.name = in.Str();
        property.type = in.I16();
        property.value = in.Value();
        in.End();
        sink.Property(owner, property);
        return;
    }
    case Message::kBeginRows: {
        const std::string table = in.Str();
        in.End();
        sink.BeginRows(table);
        return;
    }
    case Message::kRow: {
        std::vector<Variant> values(in.Count());
        for (Variant& v : values) v = in.Value();
        in.End();
        sink.Row(values);
        return;
    }
    case Message::kEndRows: in.End(); sink.EndRows(); return;
    case Message::kRelation: DispatchRelation(in, sink); return;
    case Message::kQuery: {
        QueryInfo query;
        query.name = in.Str();
        query.sql = in.Str();
        in.End();
        sink.Query(query);
        return;
    }
    case Message::kWarning: {
        const std::string text = in.Str();
        in.End();
        sink.Warning(text);
        return;
    }
    case Message::kFailure: {
        const std::int32_t number = in.I32();
        const std::string text = in.Str();
        in.End();
        sink.Failure(number, text);
        return;
    }
    case Message::kEnd: in.End(); sink.End(); return;
    }
    throw VornError(errnum::kJetDatabaseDamaged, "DAO.DBEngine", "The records read from the file are malformed.");
}

}  // namespace vorn
