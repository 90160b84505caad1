// Records across the pipe between the reading child and the parent.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "dbcontract/jet/JetWire.h"
#include "dbcontract/jet/JetWireReader.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

// Keeps every record it is given, as text lines and values.
class RecordingSink : public JetRecordSink {
public:
    void Table(const TableInfo& table, std::int64_t storedRows) override {
        tables.push_back(table);
        log.push_back("table " + table.name + " " + std::to_string(storedRows));
    }
    void Property(const PropertyOwnerKey& owner, const PropertyInfo& property) override {
        properties.push_back(property);
        log.push_back("property " + owner.table + "." + owner.field + " " + property.name);
    }
    void BeginRows(const std::string& table) override { log.push_back("rows " + table); }
    void Row(const std::vector<Variant>& values) override { rows.push_back(values); }
    void EndRows() override { log.push_back("end rows"); }
    void Relation(const RelationInfo& relation) override {
        relations.push_back(relation);
        log.push_back("relation " + relation.name);
    }
    void Query(const QueryInfo& query) override { log.push_back("query " + query.name + ": " + query.sql); }
    void Warning(const std::string& text) override { log.push_back("warning " + text); }
    void Failure(std::int32_t number, const std::string& text) override {
        log.push_back("failure " + std::to_string(number) + " " + text);
    }
    void End() override { log.push_back("end"); }

    std::vector<std::string> log;
    std::vector<TableInfo> tables;
    std::vector<PropertyInfo> properties;
    std::vector<std::vector<Variant>> rows;
    std::vector<RelationInfo> relations;
};

TableInfo SampleTable() {
    TableInfo table;
    table.name = "Ums\xC3\xA4tze";
    table.attributes = static_cast<std::int32_t>(0x80000002u);
    table.connect = ";DATABASE=C:\\data\\lib.vlb";
    table.sourceTableName = "Orders";
    table.dateCreated = 35000.5;
    FieldInfo id;
    id.name = "ID";
    id.type = 4;
    id.size = 4;
    id.attributes = 17;
    id.required = true;
    FieldInfo price;
    price.name = "Price";
    price.type = 20;
    price.precision = 18;
    price.scale = 4;
    price.defaultValue = "0";
    price.ordinalPosition = 1;
    table.fields = {id, price};
    table.indexes = {IndexInfo{"PrimaryKey", true, true, false, true, false, false, {{"ID", 0}}},
                     IndexInfo{"ByPrice", false, false, true, false, false, false, {{"Price", 1}, {"ID", 0}}}};
    return table;
}

std::vector<Variant> SampleRow() {
    return {Variant::Null(),        Variant(""),
            Variant(true),          Variant(std::uint8_t{255}),
            Variant(std::int16_t{-7}), Variant(std::int32_t{123456}),
            Variant(0.1f),          Variant(0.1),
            Variant(Currency::FromScaled(-12345)), Variant::FromDate(-657434.5),
            Variant(std::string("a\0b", 3)), Variant(Variant::Binary{0, 1, 2, 255}),
            Variant(*Decimal::Parse("-79228162514264337593543950335"))};
}

// Everything a reading child sends, in its order.
std::string SampleStream() {
    std::string out;
    JetWire::EncodeTable(out, SampleTable(), 830);
    JetWire::EncodeProperty(out, {"T", "F"}, {"vornFlags", 3, Variant(std::int16_t{68})});
    JetWire::EncodeBeginRows(out, "T");
    JetWire::EncodeRow(out, SampleRow());
    JetWire::EncodeEmpty(out, JetWire::Message::kEndRows);
    JetWire::EncodeRelation(out, {"AB", "A", "B", 4352, {{"x", "y"}, {"x2", "y2"}}});
    JetWire::EncodeQuery(out, {"Q", "SELECT 1;"});
    JetWire::EncodeText(out, JetWire::Message::kWarning, "careful");
    JetWire::EncodeEmpty(out, JetWire::Message::kEnd);
    return out;
}

// A source that hands out at most `step` bytes at a time.
JetWireReader::Source ChunkedSource(const std::string& bytes, std::size_t step) {
    auto position = std::make_shared<std::size_t>(0);
    return [bytes, step, position](std::span<std::uint8_t> buffer) {
        const std::size_t n = std::min({step, buffer.size(), bytes.size() - *position});
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(*position), n, buffer.begin());
        *position += n;
        return n;
    };
}

class JetWireTest : public ::testing::TestWithParam<std::size_t> {};

TEST_P(JetWireTest, EveryRecordArrivesWholeAndInOrderWhateverTheChunks) {
    RecordingSink sink;
    EXPECT_TRUE(JetWireReader(ChunkedSource(SampleStream(), GetParam())).Run(sink));
    EXPECT_EQ(sink.log, (std::vector<std::string>{"table Ums\xC3\xA4tze 830", "property T.F vornFlags", "rows T",
                                                  "end rows", "relation AB", "query Q: SELECT 1;", "warning careful",
                                                  "end"}));
    ASSERT_EQ(sink.rows.size(), 1u);
    EXPECT_EQ(sink.rows[0], SampleRow());
}

INSTANTIATE_TEST_SUITE_P(Chunks, JetWireTest, ::testing::Values(1, 7, 1 << 20));

TEST(JetWireRecordTest, DesignRecordsKeepEveryMember) {
    RecordingSink sink;
    JetWireReader(ChunkedSource(SampleStream(), 64)).Run(sink);
    ASSERT_EQ(sink.tables.size(), 1u);
    const TableInfo expected = SampleTable();
    const TableInfo& table = sink.tables[0];
    EXPECT_EQ(table.attributes, expected.attributes);
    EXPECT_EQ(table.connect, expected.connect);
    EXPECT_EQ(table.sourceTableName, expected.sourceTableName);
    EXPECT_EQ(table.dateCreated, expected.dateCreated);
    ASSERT_EQ(table.fields.size(), 2u);
    EXPECT_EQ(table.fields[0].attributes, 17);
    EXPECT_TRUE(table.fields[0].required);
    EXPECT_EQ(table.fields[1].precision, 18);
    EXPECT_EQ(table.fields[1].scale, 4);
    EXPECT_EQ(table.fields[1].defaultValue, "0");
    EXPECT_EQ(table.fields[1].ordinalPosition, 1);
    ASSERT_EQ(table.indexes.size(), 2u);
    EXPECT_TRUE(table.indexes[0].primary);
    EXPECT_TRUE(table.indexes[1].ignoreNulls);
    EXPECT_EQ(table.indexes[1].fields[0].attributes, 1);
    ASSERT_EQ(sink.relations.size(), 1u);
    EXPECT_EQ(sink.relations[0].attributes, 4352);
    EXPECT_EQ(sink.relations[0].fields[1].foreignName, "y2");
    EXPECT_EQ(sink.properties[0].value, Variant(std::int16_t{68}));
}

TEST(JetWireRecordTest, AStreamCutShortEndsWithoutTheEnd) {
    const std::string whole = SampleStream();
    for (std::size_t cut : {std::size_t{3}, whole.size() / 2, whole.size() - 1}) {
        RecordingSink sink;
        EXPECT_FALSE(JetWireReader(ChunkedSource(whole.substr(0, cut), 1 << 20)).Run(sink)) << cut;
        EXPECT_TRUE(sink.log.empty() || sink.log.back() != "end") << cut;
    }
}

TEST(JetWireRecordTest, AFailureEndsTheStream) {
    std::string stream;
    JetWire::EncodeFailure(stream, 3049, "catalog");
    JetWire::EncodeEmpty(stream, JetWire::Message::kEnd);
    RecordingSink sink;
    EXPECT_FALSE(JetWireReader(ChunkedSource(stream, 1 << 20)).Run(sink));
    EXPECT_EQ(sink.log, std::vector<std::string>{"failure 3049 catalog"});
}

TEST(JetWireRecordTest, AMalformedRecordIsDamage) {
    std::string stream;
    JetWire::EncodeQuery(stream, {"Q", "SELECT"});
    stream[5] = 100;  // a name length beyond the record
    RecordingSink sink;
    try {
        JetWireReader(ChunkedSource(stream, 1 << 20)).Run(sink);
        FAIL() << "no failure";
    } catch (const VornError& error) {
        EXPECT_EQ(error.Number(), errnum::kJetDatabaseDamaged);
    }
    std::string unknown;
    JetWire::EncodeEmpty(unknown, JetWire::Message::kEnd);
    unknown[4] = 99;
    EXPECT_THROW(JetWireReader(ChunkedSource(unknown, 1 << 20)).Run(sink), VornError);
}

}  // namespace
}  // namespace vorn
