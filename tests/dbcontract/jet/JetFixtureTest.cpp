// Real Jet and ACE files, opened through the contract, against what an
// independent reader of the format found in them.

#include <gtest/gtest.h>

#include <algorithm>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/jet/JetPassword.h"
#include "dbcontract/jet/JetTestData.h"
#include "dbcontract/jet/MdbExtractor.h"

namespace vorn {
namespace {

using testing::jet::Expected;
using testing::jet::FindTable;
using testing::jet::Fixture;
using testing::jet::Opened;
using testing::jet::ReadRows;

class JetFixtureTest : public ::testing::TestWithParam<const char*> {};

TEST_P(JetFixtureTest, ServesTheTablesFieldsAndRowsTheIndependentReaderFound) {
    testing::jet::ExpectSameContent(GetParam(), *Opened(GetParam()).database);
}

TEST_P(JetFixtureTest, AnswersWithTheFilesFullPath) {
    EXPECT_EQ(Opened(GetParam()).database->Name(), std::filesystem::absolute(Fixture(GetParam())).lexically_normal().string());
    EXPECT_EQ(Opened(GetParam()).database->Connect(), "");
    EXPECT_FALSE(Opened(GetParam()).database->Updatable());
}

TEST_P(JetFixtureTest, ShowsTheSystemTablesAsSystemObjects) {
    const auto tables = Opened(GetParam()).database->ReadTables();
    const TableInfo* catalog = FindTable(tables, "MSysObjects");
    ASSERT_NE(catalog, nullptr);
    EXPECT_EQ(catalog->attributes & dao::dbSystemObject, dao::dbSystemObject);
    for (const auto& [name, table] : Expected(GetParam()).members) {
        EXPECT_EQ(FindTable(tables, name)->attributes & dao::dbSystemObject, 0) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Jet3, JetFixtureTest, ::testing::Values("jet3-test.mdb", "nwind.mdb"));
INSTANTIATE_TEST_SUITE_P(Jet4, JetFixtureTest, ::testing::Values("jet4-test.mdb", "dates.mdb", "jet4-decimal.mdb"));
INSTANTIATE_TEST_SUITE_P(Ace, JetFixtureTest, ::testing::Values("ace12-test.accdb", "ace16-bigint.accdb"));

struct VersionCase {
    const char* fixture;
    const char* version;
};

class JetVersionTest : public ::testing::TestWithParam<VersionCase> {};

TEST_P(JetVersionTest, AnswersTheFilesJetVersion) {
    EXPECT_EQ(Opened(GetParam().fixture).database->Version(), GetParam().version);
}

INSTANTIATE_TEST_SUITE_P(All, JetVersionTest,
                         ::testing::Values(VersionCase{"jet3-test.mdb", "3.0"}, VersionCase{"nwind.mdb", "3.0"},
                                           VersionCase{"jet4-test.mdb", "4.0"}, VersionCase{"dates.mdb", "4.0"},
                                           VersionCase{"ace12-test.accdb", "12.0"},
                                           VersionCase{"ace16-bigint.accdb", "16.0"}));

// ---- Values that the reader's own text conversion loses -------------------

std::vector<Variant> Column(const std::string& fixture, const std::string& table, const std::string& field) {
    std::vector<FieldInfo> columns;
    const auto rows = ReadRows(*Opened(fixture).database, table, &columns);
    const auto at = std::find_if(columns.begin(), columns.end(), [&](const FieldInfo& f) { return f.name == field; });
    std::vector<Variant> values;
    for (const auto& row : rows) values.push_back(row[static_cast<std::size_t>(at - columns.begin())]);
    return values;
}

TEST(JetValueTest, DatesFromYear632To9999KeepTheirDay) {
    const auto dates = Column("dates.mdb", "DateTest", "DateTimeCol");
    ASSERT_EQ(dates.size(), 6u);
    const std::pair<std::size_t, DateParts> cases[] = {
        {1, {9999, 1, 1, 0, 0, 0}}, {2, {1898, 1, 1, 0, 0, 0}}, {3, {632, 1, 1, 0, 0, 0}}};
    for (const auto& [row, parts] : cases) {
        ASSERT_TRUE(dates[row].IsDate()) << row;
        EXPECT_EQ(dates[row].AsDateSerial(), DateSerialFromParts(parts)) << "row " << row;
    }
}

TEST(JetValueTest, BigIntegerComesThroughExactly) {
    const auto values = Column("ace16-bigint.accdb", "Table", "Numeric");
    ASSERT_EQ(values.size(), 1u);
    ASSERT_EQ(values[0].Kind(), VariantKind::Decimal);
    EXPECT_EQ(values[0].AsDecimal().ToString(), "42");
}

TEST(JetValueTest, DecimalsKeepTheirSign) {
    EXPECT_EQ(Column("jet4-decimal.mdb", "test", "col6")[0].AsDecimal().ToString(), "-1");
    EXPECT_EQ(Column("jet4-decimal.mdb", "test", "col5")[0].AsDecimal().ToString(), "4");
}

TEST(JetValueTest, SingleKeepsItsOwnPrecision) {
    const auto discounts = Column("nwind.mdb", "Order Details", "Discount");
    ASSERT_GT(discounts.size(), 6u);
    ASSERT_EQ(discounts[6].Kind(), VariantKind::Single);
    EXPECT_EQ(discounts[6].AsSingle(), 0.15f);
}

TEST(JetValueTest, MemoKeepsItsLineEnds) {
    EXPECT_EQ(Column("dates.mdb", "DateTest", "LongTextCol")[5].AsText(), "New line\r\nin field");
}

TEST(JetValueTest, OlePicturesComeWhole) {
    const auto pictures = Column("nwind.mdb", "Categories", "Picture");
    ASSERT_FALSE(pictures.empty());
    ASSERT_TRUE(pictures[0].IsBinary());
    EXPECT_EQ(pictures[0].AsBinary().size(), 10746u);
}

TEST(JetValueTest, NullStaysNull) {
    const auto regions = Column("nwind.mdb", "Orders", "ShipRegion");
    EXPECT_TRUE(std::any_of(regions.begin(), regions.end(), [](const Variant& v) { return v.IsNull(); }));
    EXPECT_TRUE(std::any_of(regions.begin(), regions.end(), [](const Variant& v) { return v.IsText(); }));
}

TEST(JetValueTest, AnEmptyMemoIsEmptyTextNotNull) {
    // dates.mdb with the first row's memo made empty but not Null: the
    // memo's entry in the row's table of variable offsets (page 20, row at
    // 4031, entry at 60) is moved onto the next column's.
    std::string bytes = testing::ReadFile(Fixture("dates.mdb"));
    const std::size_t entry = 20 * 4096 + 4031 + 60;
    ASSERT_EQ(bytes[entry], '\x1E');
    bytes[entry] = '\x31';
    testing::TempFolder temp;
    const auto path = temp / "empty-memo.mdb";
    testing::WriteFile(path, bytes);
    JetOpenOptions options;
    std::vector<std::string> warnings;
    options.warnings = [&warnings](const std::vector<std::string>& given) { warnings = given; };
    auto database = JetProjectFile::Open(path.string(), options);
    std::vector<FieldInfo> columns;
    const auto rows = ReadRows(*database, "DateTest", &columns);
    ASSERT_EQ(columns[4].name, "LongTextCol");
    const auto first = std::find_if(rows.begin(), rows.end(), [](const auto& row) { return row[0] == Variant(1); });
    ASSERT_NE(first, rows.end());
    EXPECT_EQ((*first)[4], Variant(""));
    EXPECT_EQ((*first)[5], Variant("Hello"));
    EXPECT_TRUE(warnings.empty()) << warnings.front();
    database->Close();
}

// ---- Design ------------------------------------------------------------------

TEST(JetDesignTest, NonAsciiTableNameIsKeptAsStored) {
    const auto tables = Opened("nwind.mdb").database->ReadTables();
    EXPECT_NE(FindTable(tables, "Ums\xC3\xA4tze"), nullptr);
    EXPECT_EQ(ReadRows(*Opened("nwind.mdb").database, "Ums\xC3\xA4tze").size(), 830u);
}

TEST(JetDesignTest, RelationsKeepTheirCascadeAttributesAndFieldPairs) {
    const auto relations = Opened("nwind.mdb").database->ReadRelations();
    const auto find = [&](const std::string& name) {
        const auto it = std::find_if(relations.begin(), relations.end(), [&](const RelationInfo& r) { return r.name == name; });
        return it == relations.end() ? nullptr : &*it;
    };
    const RelationInfo* customers = find("CustomersOrders");
    ASSERT_NE(customers, nullptr);
    EXPECT_EQ(customers->table, "Customers");
    EXPECT_EQ(customers->foreignTable, "Orders");
    EXPECT_EQ(customers->attributes, dao::dbRelationUpdateCascade);
    ASSERT_EQ(customers->fields.size(), 1u);
    EXPECT_EQ(customers->fields[0].name, "CustomerID");
    EXPECT_EQ(customers->fields[0].foreignName, "CustomerID");
    const RelationInfo* details = find("OrdersOrder Details");
    ASSERT_NE(details, nullptr);
    EXPECT_EQ(details->attributes, dao::dbRelationDeleteCascade);
    const RelationInfo* shippers = find("ShippersOrders");
    ASSERT_NE(shippers, nullptr);
    EXPECT_EQ(shippers->fields[0].name, "ShipperID");
    EXPECT_EQ(shippers->fields[0].foreignName, "ShipVia");
}

// nwind.mdb with its table Shippers made a table attached from "o.mdb":
// the catalog row (page 22, row 29) is written anew with Type 6, Database
// and ForeignName, just below the row before it, and the deleted row that
// followed is moved down to make room.
std::string WithShippersAttached(std::string bytes) {
    constexpr std::size_t kPage = 22 * 2048;
    constexpr std::size_t kOldRow = kPage + 158;
    std::string row(1, '\x11');                       // 17 columns
    row += bytes.substr(kOldRow + 1, 30);             // the fixed columns
    row[1 + 8] = 6;                                   // Type
    const std::string database = std::string("\x05\x00\x00\x80", 4) + std::string(8, '\0') + "o.mdb";
    const std::vector<std::string> columns = {"Shippers", "", database, "", "Shippers", "", "", "", "", "", ""};
    std::vector<std::uint8_t> offsets;
    for (const std::string& value : columns) {
        offsets.push_back(static_cast<std::uint8_t>(row.size()));
        row += value;
    }
    row += static_cast<char>(row.size());             // end of the data
    for (auto it = offsets.rbegin(); it != offsets.rend(); ++it) row += static_cast<char>(*it);
    row += '\x0B';                                    // 11 variable columns
    row += std::string("\xBF\x05\x00", 3);            // Owner, Connect and LvProp Null
    const std::size_t start = 0xE3 - row.size();      // the row before starts at 0xE3
    bytes.replace(kPage + start, row.size(), row);
    const auto word = [&](std::size_t at, std::size_t value) {
        bytes[kPage + at] = static_cast<char>(value & 0xFF);
        bytes[kPage + at + 1] = static_cast<char>(value >> 8);
    };
    word(10 + 2 * 29, start);
    word(10 + 2 * 30, 0x4000 | (start - 4));          // the deleted row
    word(2, start - 4 - (10 + 2 * 31));               // free space
    return bytes;
}

TEST(JetDesignTest, AnAttachedTableKeepsItsLinkAndItsRelations) {
    testing::TempFolder temp;
    const auto path = temp / "attaching.mdb";
    testing::WriteFile(path, WithShippersAttached(testing::ReadFile(Fixture("nwind.mdb"))));
    JetOpenOptions options;
    options.warnings = [](const std::vector<std::string>&) {};
    auto database = JetProjectFile::Open(path.string(), options);
    const auto tables = database->ReadTables();
    const TableInfo* shippers = FindTable(tables, "Shippers");
    ASSERT_NE(shippers, nullptr);
    EXPECT_EQ(shippers->attributes, dao::dbAttachedTable);
    EXPECT_EQ(shippers->connect, ";DATABASE=o.mdb");
    EXPECT_EQ(shippers->sourceTableName, "Shippers");
    // Jet keeps a relation to an attached table, without enforcing it.
    const auto relations = database->ReadRelations();
    const auto shipped = std::find_if(relations.begin(), relations.end(),
                                      [](const RelationInfo& r) { return r.name == "ShippersOrders"; });
    ASSERT_NE(shipped, relations.end());
    EXPECT_EQ(shipped->table, "Shippers");
    EXPECT_EQ(shipped->foreignTable, "Orders");
    ASSERT_EQ(shipped->fields.size(), 1u);
    EXPECT_EQ(shipped->fields[0].foreignName, "ShipVia");
    database->Close();
}

TEST(JetDesignTest, IndexesKeepPrimaryUniqueAndForeignWithTheirFields) {
    const auto tables = Opened("nwind.mdb").database->ReadTables();
    const TableInfo* details = FindTable(tables, "Order Details");
    ASSERT_NE(details, nullptr);
    const auto index = [&](const std::string& name) {
        const auto it = std::find_if(details->indexes.begin(), details->indexes.end(),
                                     [&](const IndexInfo& x) { return x.name == name; });
        return it == details->indexes.end() ? nullptr : &*it;
    };
    const IndexInfo* primary = index("PrimaryKey");
    ASSERT_NE(primary, nullptr);
    EXPECT_TRUE(primary->primary);
    EXPECT_TRUE(primary->unique);
    ASSERT_EQ(primary->fields.size(), 2u);
    EXPECT_EQ(primary->fields[0].name, "OrderID");
    EXPECT_EQ(primary->fields[1].name, "ProductID");
    const IndexInfo* foreign = index("ProductsOrder Details");
    ASSERT_NE(foreign, nullptr);
    EXPECT_TRUE(foreign->foreign);
    ASSERT_EQ(foreign->fields.size(), 1u);
    EXPECT_EQ(foreign->fields[0].name, "ProductID");
    // Jet's entry for the parent side of a relation is no index of DAO's.
    const TableInfo* products = FindTable(tables, "Products");
    EXPECT_TRUE(std::none_of(products->indexes.begin(), products->indexes.end(),
                             [](const IndexInfo& x) { return x.name.starts_with(".r"); }));
}

TEST(JetDesignTest, FieldsKeepCounterRequiredAndZeroLengthRules) {
    const auto tables = Opened("nwind.mdb").database->ReadTables();
    const auto field = [&](const std::string& table, const std::string& name) {
        const auto& fields = FindTable(tables, table)->fields;
        return *std::find_if(fields.begin(), fields.end(), [&](const FieldInfo& f) { return f.name == name; });
    };
    EXPECT_NE(field("Orders", "OrderID").attributes & dao::dbAutoIncrField, 0);
    EXPECT_EQ(field("Orders", "OrderDate").attributes & dao::dbAutoIncrField, 0);
    EXPECT_TRUE(field("Employees", "LastName").required);
    EXPECT_FALSE(field("Orders", "ShipRegion").required);
    EXPECT_FALSE(field("Orders", "ShipRegion").allowZeroLength);
    EXPECT_EQ(field("Order Details", "Quantity").defaultValue, "1");
    EXPECT_NE(field("Suppliers", "HomePage").attributes & dao::dbHyperlinkField, 0);
    const auto jet4 = Opened("jet4-test.mdb").database->ReadTables();
    EXPECT_TRUE(FindTable(jet4, "Table2")->fields[0].allowZeroLength);
}

TEST(JetDesignTest, PropertiesKeepTheirTypes) {
    auto& database = *Opened("nwind.mdb").database;
    const auto find = [](const std::vector<PropertyInfo>& list, const std::string& name) {
        const auto it = std::find_if(list.begin(), list.end(), [&](const PropertyInfo& p) { return p.name == name; });
        return it == list.end() ? PropertyInfo{} : *it;
    };
    const auto table = database.ReadProperties({"Orders", ""});
    EXPECT_EQ(find(table, "Description").value, Variant("Customer name, order date, and freight charge for each order."));
    const auto field = database.ReadProperties({"Orders", "CustomerID"});
    EXPECT_EQ(find(field, "Caption").type, dao::dbMemo);
    EXPECT_EQ(find(field, "Caption").value, Variant("Customer"));
    EXPECT_EQ(find(field, "ColumnWidth").type, dao::dbInteger);
    EXPECT_EQ(find(field, "ColumnWidth").value, Variant(std::int16_t{3090}));
    EXPECT_EQ(find(field, "ColumnHidden").value, Variant(false));
    const auto db = database.ReadProperties({});
    EXPECT_EQ(find(db, "AccessVersion").value, Variant("07.53"));
    EXPECT_EQ(find(db, "StartUpShowDBWindow").value, Variant(true));
}

TEST(JetDesignTest, AnAttachedTablesConnectHasOneSeparatorBeforeTheDatabase) {
    const struct {
        const char* connect;
        const char* database;
        const char* expected;
    } cases[] = {
        {"", "o.mdb", ";DATABASE=o.mdb"},
        {";", "o.mdb", ";DATABASE=o.mdb"},
        {";PWD=x", "o.mdb", ";PWD=x;DATABASE=o.mdb"},
        {";PWD=x;", "o.mdb", ";PWD=x;DATABASE=o.mdb"},
        {";PWD=x", "", ";PWD=x"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(LinkedTableConnect(c.connect, c.database), c.expected) << "'" << c.connect << "'";
    }
}

// A copy of a Jet 3 fixture whose header names another code page. The code
// page sits in the RC4-masked part of the header, so the stored bytes are
// the new value masked with the same key stream.
std::string WithCodePage(std::string file, std::uint16_t codePage) {
    std::vector<std::uint8_t> stream(JetPassword::MaskedLength(true), 0);
    JetPassword::Rc4(JetPassword::kMaskKey, stream);
    constexpr std::size_t kCodePage = 0x3C;
    for (std::size_t i = 0; i < 2; ++i) {
        const auto clear = static_cast<std::uint8_t>(codePage >> (8 * i));
        file[kCodePage + i] = static_cast<char>(clear ^ stream[kCodePage + i - JetPassword::kMaskedStart]);
    }
    return file;
}

TEST(JetValueTest, Jet3TextIsReadInTheCodePageTheHeaderNames) {
    testing::TempFolder temp;
    const auto path = temp / "cyrillic.mdb";
    testing::WriteFile(path, WithCodePage(testing::ReadFile(Fixture("nwind.mdb")), 1251));
    JetOpenOptions options;
    options.warnings = [](const std::vector<std::string>&) {};
    auto database = JetProjectFile::Open(path.string(), options);
    // Stored E4 (a-umlaut in 1252) is de in 1251, and E9 (e-acute) is short i.
    const auto tables = database->ReadTables();
    EXPECT_NE(FindTable(tables, "Ums\xD0\xB4tze"), nullptr);
    EXPECT_EQ(FindTable(tables, "Ums\xC3\xA4tze"), nullptr);
    std::vector<FieldInfo> columns;
    const auto rows = ReadRows(*database, "Orders", &columns);
    const auto city = std::find_if(columns.begin(), columns.end(), [](const FieldInfo& f) { return f.name == "ShipCity"; });
    ASSERT_NE(city, columns.end());
    const auto at = static_cast<std::size_t>(city - columns.begin());
    const auto count = [&rows, at](const std::string& text) {
        return std::count_if(rows.begin(), rows.end(), [&](const auto& row) { return row[at].IsText() && row[at].AsText() == text; });
    };
    EXPECT_GT(count("Montr\xD0\xB9" "al"), 0);
    EXPECT_EQ(count("Montr\xC3\xA9" "al"), 0);
}

TEST(JetDesignTest, SavedQueriesHaveTheirSqlText) {
    const auto queries = Opened("nwind.mdb").database->ReadQueries();
    const auto it = std::find_if(queries.begin(), queries.end(),
                                 [](const QueryInfo& q) { return q.name == "Current Product List"; });
    ASSERT_NE(it, queries.end());
    EXPECT_EQ(it->sql,
              "SELECT [Product List].ProductID, [Product List].ProductName\nFROM Products AS "
              "[Product List]\nWHERE ((([Product List].Discontinued)=No))\nORDER BY [Product "
              "List].ProductName;");
}

TEST(JetDesignTest, ReadsWithoutWarningsWhereEverythingCanBeRead) {
    EXPECT_TRUE(Opened("nwind.mdb").warnings.empty()) << Opened("nwind.mdb").warnings.front();
    EXPECT_TRUE(Opened("dates.mdb").warnings.empty()) << Opened("dates.mdb").warnings.front();
}

}  // namespace
}  // namespace vorn
