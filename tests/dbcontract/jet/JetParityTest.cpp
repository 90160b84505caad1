// A Jet file opened through the contract and the project file of our format
// converted from it give the same answers to the questions the rest of the
// system asks of a source project: tables and their attributes, fields,
// indexes, relations, properties, and rows through read-only snapshots.

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/Database.h"
#include "dbcontract/jet/JetProjectFile.h"
#include "dbcontract/jet/JetTestData.h"
#include "dbcontract/sqlite/SqliteProjectFile.h"

namespace vorn {
namespace {

std::string Text(const Variant& value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

void DescribeProperties(std::ostream& out, Properties& properties, const std::string& indent) {
    std::vector<std::string> lines;
    for (const auto& p : properties.UserDefined()) {
        lines.push_back(indent + "property " + p->Name() + " type " + std::to_string(p->Type()) + " = " + Text(p->Value()));
    }
    std::sort(lines.begin(), lines.end());
    for (const auto& line : lines) out << line << "\n";
}

void DescribeRows(std::ostream& out, Database& database, const std::string& sql) {
    auto rows = database.OpenRecordset(sql, dao::dbOpenSnapshot, dao::dbReadOnly);
    std::vector<std::string> lines;
    while (!rows->Eof()) {
        std::string line;
        for (std::int32_t i = 0; i < rows->Fields().Count(); ++i) line += Text((*rows)[i].Value()) + " | ";
        lines.push_back(line);
        rows->MoveNext();
    }
    rows->Close();
    std::sort(lines.begin(), lines.end());
    out << "  rows of " << sql << ": " << lines.size() << "\n";
    for (const auto& line : lines) out << "    " << line << "\n";
}

void DescribeTable(std::ostream& out, Database& database, TableDef& table) {
    out << "table " << table.Name() << " attributes " << table.Attributes() << " connect '" << table.Connect()
        << "' source '" << table.SourceTableName() << "'\n";
    DescribeProperties(out, table.GetProperties(), "  ");
    for (std::int32_t f = 0; f < table.Fields().Count(); ++f) {
        Field& field = *table.Fields().Item(f);
        out << "  field " << field.Name() << " type " << field.Type() << " size " << field.Size() << " attributes "
            << field.Attributes() << " required " << field.Required() << " zero-length " << field.AllowZeroLength()
            << " position " << field.OrdinalPosition() << " default '" << field.DefaultValue() << "'\n";
        DescribeProperties(out, field.GetProperties(), "    ");
    }
    std::vector<std::string> indexes;
    for (std::int32_t i = 0; i < table.Indexes().Count(); ++i) {
        Index& index = *table.Indexes().Item(i);
        std::string line = "  index " + index.Name() + " primary " + std::to_string(index.Primary()) + " unique " +
                           std::to_string(index.Unique()) + " ignore-nulls " + std::to_string(index.IgnoreNulls()) +
                           " foreign " + std::to_string(index.Foreign()) + ":";
        for (std::int32_t k = 0; k < index.Fields().Count(); ++k) {
            line += " " + index.Fields().Item(k)->Name() + "/" + std::to_string(index.Fields().Item(k)->Attributes());
        }
        indexes.push_back(line);
    }
    std::sort(indexes.begin(), indexes.end());
    for (const auto& line : indexes) out << line << "\n";
    DescribeRows(out, database, "SELECT * FROM [" + table.Name() + "]");
}

// Everything the system asks of a source project, in one text.
std::string Describe(Database& database) {
    std::ostringstream out;
    for (std::int32_t t = 0; t < database.TableDefs().Count(); ++t) {
        TableDef& table = *database.TableDefs().Item(t);
        if ((table.Attributes() & dao::dbSystemObject) == 0) DescribeTable(out, database, table);
    }
    for (std::int32_t r = 0; r < database.Relations().Count(); ++r) {
        Relation& relation = *database.Relations().Item(r);
        if (relation.Table().starts_with("MSys")) continue;
        out << "relation " << relation.Name() << " " << relation.Table() << " -> " << relation.ForeignTable()
            << " attributes " << relation.Attributes() << ":";
        for (std::int32_t f = 0; f < relation.Fields().Count(); ++f) {
            out << " " << relation.Fields().Item(f)->Name() << "=" << relation.Fields().Item(f)->ForeignName();
        }
        out << "\n";
    }
    DescribeProperties(out, database.GetProperties(), "");
    return out.str();
}

class JetParityTest : public ::testing::TestWithParam<const char*> {};

TEST_P(JetParityTest, TheJetFileAndItsConversionAnswerAlike) {
    JetOpenOptions options;
    options.warnings = [](const std::vector<std::string>&) {};
    Database jet(JetProjectFile::Open(testing::jet::Fixture(GetParam()).string(), options));
    Database own(SqliteProjectFile::Open(testing::jet::Converted(GetParam()).path.string(), true));
    const std::string jetText = Describe(jet);
    const std::string ownText = Describe(own);
    EXPECT_NE(jetText.find("table "), std::string::npos);
    if (std::string(GetParam()) == "nwind.mdb") {
        EXPECT_NE(jetText.find("relation CustomersOrders Customers -> Orders attributes 256: CustomerID=CustomerID"),
                  std::string::npos);
        EXPECT_NE(jetText.find("    property Caption type 12 = String \"Order ID\""), std::string::npos);
        EXPECT_NE(jetText.find("  rows of SELECT * FROM [Order Details]: 2155"), std::string::npos);
    }
    EXPECT_EQ(jetText, ownText);
    EXPECT_FALSE(jet.Updatable());
    jet.Close();
    own.Close();
}

TEST_P(JetParityTest, QueriesWithCriteriaFindTheSameRows) {
    JetOpenOptions options;
    options.warnings = [](const std::vector<std::string>&) {};
    Database jet(JetProjectFile::Open(testing::jet::Fixture(GetParam()).string(), options));
    Database own(SqliteProjectFile::Open(testing::jet::Converted(GetParam()).path.string(), true));
    for (std::int32_t t = 0; t < jet.TableDefs().Count(); ++t) {
        TableDef& table = *jet.TableDefs().Item(t);
        if ((table.Attributes() & dao::dbSystemObject) != 0 || table.Fields().Count() == 0) continue;
        const std::string first = table.Fields().Item(0)->Name();
        const std::string sql = "SELECT [" + first + "] FROM [" + table.Name() + "] WHERE [" + first +
                                "] IS NOT NULL ORDER BY [" + first + "]";
        std::ostringstream a;
        std::ostringstream b;
        DescribeRows(a, jet, sql);
        DescribeRows(b, own, sql);
        EXPECT_EQ(a.str(), b.str()) << sql;
    }
    jet.Close();
    own.Close();
}

INSTANTIATE_TEST_SUITE_P(Fixtures, JetParityTest, ::testing::Values("nwind.mdb", "dates.mdb", "jet4-decimal.mdb"));

}  // namespace
}  // namespace vorn
