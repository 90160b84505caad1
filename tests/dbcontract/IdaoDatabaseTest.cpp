#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "dbcontract/DalConnection.h"
#include "dbcontract/DalSession.h"
#include "dbcontract/DaoConstants.h"
#include "dbcontract/DaoTestSupport.h"
#include "dbcontract/IdaoEngine.h"
#include "dbcontract/ProviderRules.h"
#include "runtime/DateSerial.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/SessionSlot.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using namespace dao;

// A SQLite database "site" made through CreateDatabase, a connection to
// it, and the IDAO connect string built from that connection.
class IdaoDatabaseTest : public ::testing::Test {
  protected:
    void SetUp() override {
        idaoConnect = testing::NewSqliteEnterpriseDatabase(folder, "site", cn);
    }

    std::shared_ptr<IdaoDatabase> Open(bool readOnly = false) {
        return engine.OpenDatabase("", 0, readOnly, idaoConnect);
    }

    testing::TempFolder folder;
    DalConnection cn;
    IdaoEngine engine;
    std::string idaoConnect;
};

TEST_F(IdaoDatabaseTest, TablesFieldsAndTypesComeFromTheServersCatalog) {
    cn.Execute(
        "CREATE TABLE [PROJECT] ([VornRecID] int IDENTITY(1,1) PRIMARY KEY, [Name] nvarchar(50) NOT NULL, "
        "[Notes] text, [Small] smallint, [Tiny] tinyint, [Flag] bit, [Cost] money, "
        "[Depth] float, [Ratio] real, [When] datetime, [Blob] image, [Exact] decimal(18,4), "
        "[Counted] int NOT NULL, [Memo] ntext, [Code] National Character Varying(12))");
    cn.Execute("CREATE VIEW [ProjectNames] AS SELECT [Name] FROM [PROJECT]");
    auto db = Open();
    EXPECT_EQ(db->Connect(), idaoConnect);
    ASSERT_EQ(db->TableDefs().Count(), 1) << "views are not tables";
    auto table = db->TableDefs().Item("project");
    EXPECT_EQ(table->Name(), "PROJECT");

    struct Expected {
        const char* name;
        std::int16_t type;
        std::int32_t size;
        bool required;
        bool identity;
    };
    const Expected fields[] = {
        {"VornRecID", dbLong, 4, true, true},    {"Name", dbText, 50, true, false},
        {"Notes", dbMemo, 0, false, false},      {"Small", dbInteger, 2, false, false},
        {"Tiny", dbByte, 1, false, false},       {"Flag", dbBoolean, 1, false, false},
        {"Cost", dbCurrency, 8, false, false},   {"Depth", dbDouble, 8, false, false},
        {"Ratio", dbSingle, 4, false, false},    {"When", dbDate, 8, false, false},
        {"Blob", dbLongBinary, 0, false, false}, {"Exact", dbDecimal, 17, false, false},
        {"Counted", dbLong, 4, true, false},     {"Memo", dbMemo, 0, false, false},
        {"Code", dbText, 12, false, false},
    };
    ASSERT_EQ(table->Fields().Count(), static_cast<std::int32_t>(std::size(fields)));
    for (const Expected& e : fields) {
        auto field = table->Fields().Item(e.name);
        EXPECT_EQ(field->Type(), e.type) << e.name;
        EXPECT_EQ(field->Size(), e.size) << e.name;
        EXPECT_EQ(field->Required(), e.required) << e.name;
        EXPECT_EQ((field->Attributes() & dbAutoIncrField) != 0, e.identity) << e.name;
        EXPECT_EQ(field->AllowZeroLength(), e.type == dbText || e.type == dbMemo) << e.name;
    }
    db->Close();
}

TEST_F(IdaoDatabaseTest, IndexesKeepKeyOrderSortSenseAndUniqueness) {
    cn.Execute(
        "CREATE TABLE [SAMPLE] ([PointID] nvarchar(255) NOT NULL, [Depth] float NOT NULL, "
        "[Ref] nvarchar(20), CONSTRAINT [PK_SAMPLE] PRIMARY KEY ([PointID], [Depth] DESC))");
    cn.Execute("CREATE UNIQUE INDEX [VORNINDEX] ON [SAMPLE] ([Ref] DESC, [PointID])");
    cn.Execute("CREATE INDEX [ByDepth] ON [SAMPLE] ([Depth])");
    auto db = Open();
    auto& indexes = db->TableDefs().Item("SAMPLE")->Indexes();
    ASSERT_EQ(indexes.Count(), 3);

    auto primary = indexes.Item("PK_SAMPLE");
    EXPECT_TRUE(primary->Primary());
    EXPECT_TRUE(primary->Unique());
    ASSERT_EQ(primary->Fields().Count(), 2);
    EXPECT_EQ(primary->Fields().Item(0)->Name(), "PointID");
    EXPECT_EQ(primary->Fields().Item(0)->Attributes() & dbDescending, 0);
    EXPECT_EQ(primary->Fields().Item(1)->Name(), "Depth");
    EXPECT_EQ(primary->Fields().Item(1)->Attributes() & dbDescending, dbDescending);

    auto vorn = indexes.Item("VORNINDEX");
    EXPECT_TRUE(vorn->Unique());
    EXPECT_FALSE(vorn->Primary());
    EXPECT_EQ(vorn->Fields().Item(0)->Name(), "Ref");
    EXPECT_EQ(vorn->Fields().Item(0)->Attributes() & dbDescending, dbDescending);
    EXPECT_EQ(vorn->Fields().Item(1)->Name(), "PointID");
    EXPECT_FALSE(indexes.Item("ByDepth")->Unique());
    db->Close();
}

TEST_F(IdaoDatabaseTest, ForeignKeysAreRelationsWithCascadesAndFieldPairs) {
    cn.Execute(
        "CREATE TABLE [PROJECT] ([ProjID] int NOT NULL, CONSTRAINT [PK_PROJECT] PRIMARY KEY "
        "([ProjID]))");
    cn.Execute(
        "CREATE TABLE [POINT] ([ProjID] int NOT NULL, [PointID] nvarchar(255) NOT NULL, CONSTRAINT "
        "[PK_POINT] PRIMARY KEY ([ProjID], [PointID]), CONSTRAINT [PROJECTPOINT] FOREIGN KEY "
        "([ProjID]) REFERENCES [PROJECT] ([ProjID]) ON UPDATE CASCADE ON DELETE CASCADE)");
    cn.Execute(
        "CREATE TABLE [SAMPLE] ([P] int NOT NULL, [Pt] nvarchar(255) NOT NULL, [Depth] float, "
        "CONSTRAINT [POINTSAMPLE] FOREIGN KEY ([P], [Pt]) REFERENCES [POINT] ([ProjID], [PointID]) "
        "ON DELETE CASCADE, FOREIGN KEY ([P]) REFERENCES [PROJECT])");
    auto db = Open();
    auto& relations = db->Relations();
    ASSERT_EQ(relations.Count(), 3);

    auto projectPoint = relations.Item("PROJECTPOINT");
    EXPECT_EQ(projectPoint->Table(), "PROJECT");
    EXPECT_EQ(projectPoint->ForeignTable(), "POINT");
    EXPECT_EQ(projectPoint->Attributes(), dbRelationUpdateCascade | dbRelationDeleteCascade);

    auto pointSample = relations.Item("POINTSAMPLE");
    EXPECT_EQ(pointSample->Attributes(), dbRelationDeleteCascade);
    ASSERT_EQ(pointSample->Fields().Count(), 2);
    EXPECT_EQ(pointSample->Fields().Item(1)->Name(), "PointID");
    EXPECT_EQ(pointSample->Fields().Item(1)->ForeignName(), "Pt");

    // An unnamed key gets a name of its own and the parent's primary key.
    auto unnamed = relations.Item("SAMPLE_FK1");
    EXPECT_EQ(unnamed->Attributes(), 0);
    EXPECT_EQ(unnamed->Fields().Item(0)->Name(), "ProjID");
    EXPECT_EQ(unnamed->Fields().Item(0)->ForeignName(), "P");

    // The cascade holds on the server.
    cn.Execute("INSERT INTO [PROJECT] VALUES (1)");
    cn.Execute("INSERT INTO [POINT] VALUES (1, 'BH1')");
    cn.Execute("INSERT INTO [SAMPLE] VALUES (1, 'BH1', 2.5)");
    EXPECT_THROW(cn.Execute("INSERT INTO [SAMPLE] VALUES (2, 'BH9', 1)"), VornError);
    cn.Execute("DELETE FROM [PROJECT]");
    EXPECT_EQ(cn.ExecuteLong("SELECT Count(*) FROM [SAMPLE]"), 0);
    const auto dal = cn.Relations();
    ASSERT_EQ(dal.size(), 3u);
    db->Close();
}

TEST_F(IdaoDatabaseTest, DynasetAddsEditsAndUpdatesRowsOfOneTable) {
    cn.Execute(
        "CREATE TABLE [PROJECT] ([VornRecID] int IDENTITY(1,1) PRIMARY KEY, [vORNProjectID] int, "
        "[Name] nvarchar(50))");
    cn.Execute("INSERT INTO [PROJECT] ([vORNProjectID], [Name]) VALUES (0, 'first')");
    auto db = Open();
    // The key column is not selected: the row is found again by the row id.
    auto rs = db->OpenRecordset("SELECT vORNProjectID FROM PROJECT WHERE Name = 'first'",
                                dbOpenDynaset, dbSeeChanges);
    ASSERT_FALSE(rs->Eof());
    EXPECT_EQ(rs->Fields().Count(), 1);
    rs->Edit();
    (*rs)["vORNProjectID"].SetValue(Variant(7));
    rs->Update();
    rs->Close();
    EXPECT_EQ(cn.ExecuteLong("SELECT vORNProjectID FROM PROJECT WHERE Name = 'first'"), 7);

    auto all = db->OpenRecordset("select * from PROJECT ORDER BY vORNProjectID", dbOpenDynaset,
                                 dbSeeChanges);
    all->AddNew();
    (*all)["vORNProjectID"].SetValue(Variant(8));
    (*all)["Name"].SetValue(Variant("second"));
    all->Update();
    all->SetBookmark(all->LastModified());
    EXPECT_EQ((*all)["Name"].Value(), Variant("second"));
    all->Close();
    EXPECT_EQ(cn.ExecuteLong("SELECT Count(*) FROM PROJECT WHERE vORNProjectID = 8"), 1);

    for (const auto& [type, options] :
         {std::pair{dbOpenDynaset, dbReadOnly}, std::pair{dbOpenForwardOnly, dbForwardOnly},
          std::pair{0, 0}}) {
        auto reader = db->OpenRecordset("SELECT * FROM PROJECT", type, options);
        int rows = 0;
        for (; !reader->Eof(); reader->MoveNext()) ++rows;
        EXPECT_EQ(rows, 2);
        if (type != 0) {
            EXPECT_THROW(reader->AddNew(), VornError);
        }
    }
    db->Close();
}

TEST_F(IdaoDatabaseTest, ReadsInsideAServerTransactionSeeItsWork) {
    cn.Execute("CREATE TABLE [t] (a int)");
    cn.BeginTransaction("System_Table_Upsize");
    cn.Execute("CREATE TABLE [added] (id int PRIMARY KEY)");
    cn.Execute("INSERT INTO [t] VALUES (1)");
    auto db = Open();
    EXPECT_TRUE(db->TableDefs().Find("added") != nullptr);
    auto rs = db->OpenRecordset("SELECT a FROM t", 0, 0);
    EXPECT_FALSE(rs->Eof());
    rs->Close();
    db->Close();
    cn.Rollback();
    auto again = Open(true);
    EXPECT_EQ(again->TableDefs().Find("added"), nullptr);
    EXPECT_THROW(again->Execute("DELETE FROM t"), VornError);
    again->Close();
}

TEST_F(IdaoDatabaseTest, OpenFailsClearlyForUnknownTagsAndMissingDatabases) {
    for (const std::string& connect :
         {std::string("ODBC; Server=x;"), std::string("nothing"),
          "SQLITE; " + cn.BuildConnectString(folder.path().string(), "absent")}) {
        try {
            engine.OpenDatabase("", 0, true, connect);
            ADD_FAILURE() << connect;
        } catch (const VornError& e) {
            EXPECT_EQ(e.Number(), errnum::kDalGenericFailure) << connect;
        }
    }
}

TEST_F(IdaoDatabaseTest, SessionGivesAConnectionForEnterpriseDatabasesOnly) {
    SessionSlot<DalSession>::Make(std::make_unique<DalSession>());
    TheDalSession().SetCurrentProjectID(12);
    EXPECT_EQ(TheDalSession().CurrentProjectID(), 12);
    EXPECT_EQ(TheDalSession().ConnectionFor(""), nullptr);
    EXPECT_EQ(TheDalSession().ConnectionFor(";PWD=secret"), nullptr);
    // An ODBC string names its provider by the driver; the connection goes
    // to the server at its first statement.
    const auto odbc = TheDalSession().ConnectionFor("ODBC;Driver={SQL Server};Server=x;Database=site;");
    ASSERT_NE(odbc, nullptr);
    EXPECT_EQ(odbc->ProviderType(), provider::kSqlServer);
    EXPECT_NE(odbc->ConnectString().find("site"), std::string::npos);
    cn.Execute("CREATE TABLE [t] (a int)");
    auto db = Open();
    const auto connection = TheDalSession().ConnectionFor(db->Connect());
    ASSERT_NE(connection, nullptr);
    EXPECT_EQ(connection->ProviderType(), provider::kSqlite);
    EXPECT_TRUE(connection->TableExists("T"));
    connection->Close();
    db->Close();
    SessionSlot<DalSession>::ResetForTests();
}

// ---- Every value type round-trips exactly, by each way of writing --------------

struct ValueColumn {
    const char* name;
    const char* type;
};

constexpr ValueColumn kColumns[] = {
    {"id", "int PRIMARY KEY"},
    {"t", "nvarchar(255)"},
    {"m", "ntext"},
    {"i", "smallint"},
    {"l", "int"},
    {"b", "tinyint"},
    {"c", "money"},
    {"s", "real"},
    {"d", "float"},
    {"dt", "datetime"},
    {"f", "bit"},
    {"bin", "varbinary"},
    {"dec", "decimal(28,4)"},
};

std::vector<std::vector<Variant>> ValueRows() {
    Variant::Binary bytes;
    for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<std::uint8_t>(i));
    const Variant null = Variant::Null();
    return {
        {Variant(1), null, null, null, null, null, null, null, null, null, null, null, null},
        {Variant(2), Variant("O'Brien \"q\" C:\\path\\ \xC3\xBC \xE6\xBC\xA2 \xF0\x9F\x98\x80"),
         Variant(std::string(5000, 'x') + "'\\"), Variant(std::int16_t{-32768}),
         Variant(std::numeric_limits<std::int32_t>::min()), Variant(std::uint8_t{0}),
         Variant(Currency::FromScaled(std::numeric_limits<std::int64_t>::min())),
         Variant(-std::numeric_limits<float>::max()),
         Variant(std::numeric_limits<double>::lowest()), Variant::FromDate(DateSerial(1753, 1, 1)),
         Variant(false), Variant(Variant::Binary{}),
         // A decimal column has SQLite's numeric affinity, which keeps 15
         // significant digits of a number.
         Variant(*Decimal::Parse("-12345678901.2345"))},
        {Variant(3), Variant(""), Variant("\t\n"), Variant(std::int16_t{32767}),
         Variant(std::numeric_limits<std::int32_t>::max()), Variant(std::uint8_t{255}),
         Variant(Currency::FromScaled(std::numeric_limits<std::int64_t>::max())),
         Variant(std::numeric_limits<float>::denorm_min()),
         Variant(std::numeric_limits<double>::denorm_min()),
         Variant::FromDate(DateSerial(9999, 12, 31) + TimeSerial(23, 59, 59)), Variant(true),
         Variant(bytes), Variant(*Decimal::Parse("0.0001"))},
    };
}

class ValueRoundTripTest : public IdaoDatabaseTest {
  protected:
    void SetUp() override {
        IdaoDatabaseTest::SetUp();
        std::string ddl = "CREATE TABLE [v] (";
        for (const ValueColumn& column : kColumns) {
            ddl += std::string(&column == kColumns ? "" : ", ") + "[" + column.name + "] " +
                   column.type;
        }
        cn.Execute(ddl + ")");
    }

    // Every row read back through the engine, in key order.
    void ExpectStored(const std::vector<std::vector<Variant>>& expected) {
        auto rows = cn.Engine().Query("SELECT * FROM [v] ORDER BY id");
        std::vector<Variant> row;
        for (const auto& want : expected) {
            ASSERT_TRUE(rows->Next(row));
            for (std::size_t i = 0; i < want.size(); ++i) {
                EXPECT_EQ(row[i], want[i]) << "row " << want[0] << " column " << kColumns[i].name;
            }
        }
        EXPECT_FALSE(rows->Next(row));
    }
};

TEST_F(ValueRoundTripTest, ThroughExecuteParams) {
    std::string sql = "INSERT INTO [v] VALUES (";
    VArray names;
    names.ReDim(0, static_cast<std::int32_t>(std::size(kColumns)) - 1);
    for (std::size_t i = 0; i < std::size(kColumns); ++i) {
        sql += (i ? ", @param" : "@param") + std::to_string(i);
        names[static_cast<std::int32_t>(i)] = Variant("@param" + std::to_string(i));
    }
    for (const auto& row : ValueRows()) {
        VArray values = VArray::FromItems(row);
        cn.ExecuteParams(sql + ")", names, values);
    }
    ExpectStored(ValueRows());
}

TEST_F(ValueRoundTripTest, ThroughInsertRow) {
    std::vector<std::string> names;
    for (const ValueColumn& column : kColumns) names.push_back(column.name);
    for (const auto& row : ValueRows())
        cn.InsertRow("V", VArray::FromStrings(names), VArray::FromItems(row));
    ExpectStored(ValueRows());
}

TEST_F(ValueRoundTripTest, ThroughARecordsetAndBackOut) {
    auto db = Open();
    auto rs = db->OpenRecordset("SELECT * FROM v", dbOpenDynaset, dbSeeChanges);
    for (const auto& row : ValueRows()) {
        rs->AddNew();
        for (std::size_t i = 0; i < row.size(); ++i)
            rs->Fields().Item(static_cast<std::int32_t>(i))->SetValue(row[i]);
        rs->Update();
    }
    rs->Close();
    ExpectStored(ValueRows());
    auto reader = db->OpenRecordset("SELECT * FROM v ORDER BY id", 0, 0);
    for (const auto& want : ValueRows()) {
        ASSERT_FALSE(reader->Eof());
        for (std::size_t i = 0; i < want.size(); ++i) {
            EXPECT_EQ(reader->Fields().Item(static_cast<std::int32_t>(i))->Value(), want[i])
                << kColumns[i].name;
        }
        reader->MoveNext();
    }
    reader->Close();
    db->Close();
}

// Plain numbers given for typed columns are stored as the column's type.
TEST_F(ValueRoundTripTest, InsertRowStoresAValueAsItsColumnsType) {
    cn.InsertRow("v", VArray::FromStrings({"id", "c", "dt", "f", "i"}),
                 VArray::FromItems({Variant(9), Variant(12.5), Variant("2004-05-06 10:00:00"),
                                    Variant(-1), Variant(7)}));
    auto rows = cn.Engine().Query("SELECT c, dt, f, i FROM v");
    std::vector<Variant> row;
    ASSERT_TRUE(rows->Next(row));
    EXPECT_EQ(row[0], Variant(Currency::FromScaled(125000)));
    EXPECT_EQ(row[1], Variant::FromDate(DateSerial(2004, 5, 6) + TimeSerial(10, 0, 0)));
    EXPECT_EQ(row[2], Variant(true));
    EXPECT_EQ(row[3], Variant(std::int16_t{7}));
}

}  // namespace
}  // namespace vorn
