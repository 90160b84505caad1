// Schema operations on real databases: project files of our format, a Jet
// file read through the reader, enterprise databases on SQLite and MariaDB.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "dbcontract/DBEngine.h"
#include "dbcontract/DaoConstants.h"
#include "dbcontract/DaoTestSupport.h"
#include "model/CJetEngineOpsTestSupport.h"
#include "runtime/Conversions.h"

namespace vorn {
namespace {

using testing::NewProject;

class JetSchemaTest : public ::testing::Test {
  protected:
    void SetUp() override { testing::MakeJetOpsSession(); }

    static std::int32_t Rows(Database& db, const std::string& table) {
        auto rows = db.OpenRecordset("SELECT Count(*) FROM [" + table + "]", dao::dbOpenSnapshot, dao::dbReadOnly);
        return CLng(rows->Fields().Item(0)->Value());
    }
    static std::shared_ptr<Database> Nwind() {
        return DaoEngine().OpenDatabase((testing::SourceDir() / "tests/data/jet/nwind.mdb").string(), 4, true);
    }

    NewProject project;
};

// The same design asked of a project file and of the two servers.
void ExpectSameDesignAnswers(Database& db, bool enterprise) {
    CJetEngineOps& ops = JetOps();
    EXPECT_EQ(ops.IsEnterpriseDBFnB(db), enterprise);
    EXPECT_EQ(ops.OpenRecordsetOptions(db), enterprise ? 576 : 512);
    EXPECT_TRUE(ops.TabledefExistFnB(db, "[sample]"));
    EXPECT_FALSE(ops.TabledefExistFnB(db, "NOPE"));
    EXPECT_FALSE(ops.TabledefExistFnB(db, ""));
    EXPECT_TRUE(ops.FieldExistInDatabaseFnB(db, "SAMPLE.Depth"));
    EXPECT_FALSE(ops.FieldExistInDatabaseFnB(db, "SAMPLE.Depth.x"));
    auto table = db.TableDefs().Item("SAMPLE");
    EXPECT_TRUE(ops.FieldExistFnB(*table, "depth"));
    EXPECT_FALSE(ops.FieldExistFnB(*table, "Nope"));
    EXPECT_TRUE(ops.IndexExistFnB(*table, "vornindex"));
    EXPECT_FALSE(ops.IndexExistFnB(*table, "Nope"));
    EXPECT_EQ(ops.DataTypeFnI(*table, "SAMPLE.Depth"), dao::dbDouble);
    EXPECT_EQ(ops.DataTypeFnI(*table, " PointID"), dao::dbText);
    bool unique = false;
    std::int32_t count = 0;
    EXPECT_EQ(ops.MainIndexFieldsFnS(*table, &count, &unique), "PointID,Depth");
    EXPECT_EQ(count, 2);
    EXPECT_TRUE(unique);
    // A server's columns are not changed from here.
    ops.ChangeFieldType(db, "SAMPLE", "Depth", dao::dbText);
    EXPECT_EQ(db.TableDefs().Item("SAMPLE")->Fields().Item("Depth")->Type(), enterprise ? dao::dbDouble : dao::dbText);
}

TEST_F(JetSchemaTest, ProjectFileAndEnterpriseDatabasesGiveTheSameAnswers) {
    project.db->Execute("CREATE TABLE [SAMPLE] ([PointID] TEXT(20), [Depth] DOUBLE, [Notes] TEXT(50))");
    JetOps().IndexCreate("PointID,Depth", "VORNINDEX", *project.db->TableDefs().Item("SAMPLE"));
    ExpectSameDesignAnswers(*project.db, false);
    testing::EnterpriseServers servers;
    for (testing::EnterpriseDb* server : servers.All()) {
        SCOPED_TRACE(server->idaoConnect);
        server->cn.Execute("CREATE TABLE [SAMPLE] ([PointID] varchar(20) NOT NULL, [Depth] float NOT NULL, "
                           "[Notes] varchar(50))");
        server->cn.Execute("CREATE UNIQUE INDEX [VORNINDEX] ON [SAMPLE] ([PointID], [Depth])");
        ExpectSameDesignAnswers(*server->Open(), true);
    }
}

TEST_F(JetSchemaTest, MainIndexIsTheWidestUsableOne) {
    project.db->Execute("CREATE TABLE [T] ([ID] COUNTER, [A] TEXT(10), [B] TEXT(10), [C] TEXT(10))");
    auto table = project.db->TableDefs().Item("T");
    CJetEngineOps& ops = JetOps();
    ops.IndexCreate("ID", "ByCounter", *table, true);
    std::int32_t count = 0;
    std::int32_t position = -1;
    // A key on a counter identifies no row of the user's data, except in a library table.
    EXPECT_TRUE(ops.IsZeroLevelFnB(*table, &count, &position));
    EXPECT_FALSE(ops.IsZeroLevelFnB(*table, &count, &position, true));
    EXPECT_EQ(count, 1);
    ops.IndexCreate("A", "ByA", *table);
    ops.IndexCreate("C", "ByC", *table);
    ops.IndexCreate("A,B", "ByAB", *table, false, true);
    bool unique = true;
    count = 0;
    EXPECT_EQ(ops.MainIndexFieldsFnS(*table, &count, &unique, &position), "A,B");
    EXPECT_FALSE(unique);
    EXPECT_EQ(table->Indexes().Item(position)->Name(), "ByAB");
    // A negative count asks for unique indexes only; of two alike the first wins.
    count = -1;
    EXPECT_EQ(ops.MainIndexFieldsFnS(*table, &count, &unique), "A");
    EXPECT_TRUE(unique);
}

TEST_F(JetSchemaTest, IndexCreateStoresTheFlagsAndTheDescendingLeaf) {
    project.db->Execute("CREATE TABLE [T] ([A] TEXT(10), [B] TEXT(10))");
    auto table = project.db->TableDefs().Item("T");
    JetOps().IndexCreate("A, [B]", "Key", *table, true, true, true);  // primary beats non-unique
    JetOps().IndexCreate("B", "Loose", *table, false, true, false, true);
    JetOps().IndexCreate("A", "", *table);
    project.Reopen();
    table = project.db->TableDefs().Item("T");
    ASSERT_EQ(table->Indexes().Count(), 2);
    auto key = table->Indexes().Item("Key");
    EXPECT_TRUE(key->Primary() && key->Unique());
    EXPECT_EQ(key->Fields().Item("A")->Attributes() & dao::dbDescending, 0);
    EXPECT_EQ(key->Fields().Item("B")->Attributes() & dao::dbDescending, dao::dbDescending);
    EXPECT_FALSE(table->Indexes().Item("Loose")->Unique());
    EXPECT_TRUE(table->Indexes().Item("Loose")->IgnoreNulls());
}

TEST_F(JetSchemaTest, TableCloneCopiesDesignFieldPropertiesAndIndexesFromAJetFile) {
    auto source = Nwind();
    std::int32_t propertiesCompared = 0;
    for (const char* name : {"Products", "Order Details"}) {
        SCOPED_TRACE(name);
        const std::string copyName = std::string("Copy of ") + name;
        EXPECT_FALSE(JetOps().TableCloneFnB(*source, name, *project.db, copyName)) << "false means done";
        auto from = source->TableDefs().Item(name);
        auto to = project.db->TableDefs().Item(copyName);
        ASSERT_EQ(to->Fields().Count(), from->Fields().Count());
        for (const auto& field : from->Fields()) {
            auto copy = to->Fields().Item(field->Name());
            EXPECT_EQ(copy->Type(), field->Type()) << field->Name();
            EXPECT_EQ(copy->Size(), field->Size()) << field->Name();
            for (const auto& property : field->GetProperties().UserDefined()) {
                EXPECT_EQ(CStr(copy->GetProperties().Item(property->Name())->Value()), CStr(property->Value()));
                ++propertiesCompared;
            }
        }
        std::int32_t ownIndexes = 0;
        for (const auto& index : from->Indexes()) {
            if (index->Foreign()) continue;
            ++ownIndexes;
            EXPECT_EQ(to->Indexes().Item(index->Name())->Fields().Count(), index->Fields().Count());
        }
        EXPECT_GT(ownIndexes, 0);
        EXPECT_EQ(to->Indexes().Count(), ownIndexes);
        EXPECT_EQ(Rows(*project.db, copyName), 0);
    }
    EXPECT_GT(propertiesCompared, 0);
}

TEST_F(JetSchemaTest, CloningKeepsWhatTheTargetHasAndOnlyTheSystemsTableProperties) {
    testing::NewProject target;
    project.db->Execute("CREATE TABLE [T] ([A] LONG, [B] DOUBLE)");
    target.db->Execute("CREATE TABLE [T] ([A] TEXT(10))");
    auto source = project.db->TableDefs().Item("T");
    source->GetProperties().Append(source->CreateProperty("vornGroupName", dao::dbText, "Lab"));
    source->GetProperties().Append(source->CreateProperty("Remark", dao::dbText, "mine"));
    auto existing = target.db->TableDefs().Item("T");
    EXPECT_FALSE(JetOps().FieldCloneFnB(*source->Fields().Item("A"), *existing));
    EXPECT_TRUE(JetOps().FieldCloneFnB(*source->Fields().Item("B"), *existing));
    EXPECT_EQ(existing->Fields().Item("A")->Type(), dao::dbText);
    EXPECT_FALSE(JetOps().TableCloneFnB(*project.db, "T", *target.db, "U"));
    auto copy = target.db->TableDefs().Item("U");
    EXPECT_EQ(CStr(copy->GetProperties().Item("vornGroupName")->Value()), "Lab");
    EXPECT_FALSE(JetOps().PropertyExistFnB(*copy, "Remark"));
    // A type without DDL text of its own becomes text; the same type runs no statement.
    JetOps().ChangeFieldType(*target.db, "U", "A", 25);
    EXPECT_EQ(target.db->TableDefs().Item("U")->Fields().Item("A")->Type(), dao::dbText);
    target.Reopen(true);  // any statement would now fail
    EXPECT_NO_THROW(JetOps().ChangeFieldType(*target.db, "U", "A", dao::dbText));
    EXPECT_NE(testing::FailureNumber([&] { JetOps().ChangeFieldType(*target.db, "U", "A", dao::dbLong); }), 0);
}

TEST_F(JetSchemaTest, DropFieldDropsTheColumnOfAFileButOnlyTheDefaultOnAServer) {
    project.db->Execute("CREATE TABLE [T] ([A] TEXT(10), [B] LONG)");
    auto& tables = project.db->TableDefs();
    JetOps().DropFieldSql(*project.db, "T", "B");
    JetOps().DropFieldSql(*project.db, "T", "Nope");
    EXPECT_FALSE(JetOps().FieldExistInDatabaseFnB(*project.db, "T.B"));
    JetOps().DropTableSql(*project.db, "T");
    EXPECT_FALSE(tables.Find("T")) << "a collection held before sees the drop";

    testing::EnterpriseServers servers;
    for (testing::EnterpriseDb* server : servers.All()) {
        SCOPED_TRACE(server->idaoConnect);
        server->cn.Execute("CREATE TABLE [T] ([A] int, [B] int DEFAULT 5)");
        JetOps().DropFieldSql(*server->Open(), "T", "B");
        server->cn.Execute("INSERT INTO [T] ([A]) VALUES (1)");
        EXPECT_EQ(server->cn.ExecuteLong("SELECT Count(*) FROM [T] WHERE [B] IS NULL"), 1);
    }
}

TEST_F(JetSchemaTest, AttachedTablesComeAndGo) {
    NewProject other;
    other.db->Execute("CREATE TABLE [SRC] ([A] LONG)");
    other.db->Execute("INSERT INTO [SRC] VALUES (1)");
    project.db->Execute("CREATE TABLE [TMP] ([A] LONG)");
    Workspace& workspace = DaoEngine().Workspaces(0);
    CJetEngineOps& ops = JetOps();
    std::string connect;
    ops.AttachTable(workspace, *project.db, other.path, "[SRC]", "[LNK]", &connect);
    EXPECT_EQ(connect, ";DATABASE=" + other.path + ";");
    EXPECT_EQ(Rows(*project.db, "LNK"), 1);
    // Attaching again, or a table that is not there, changes nothing and raises nothing.
    EXPECT_NO_THROW(ops.AttachTable(workspace, *project.db, other.path, "SRC", "LNK"));
    EXPECT_NO_THROW(ops.AttachTable(workspace, *project.db, other.path, "NOPE", "LNK2"));
    EXPECT_FALSE(ops.TabledefExistFnB(*project.db, "LNK2"));
    // A link to a link reads the table the first one reads.
    NewProject third;
    ops.AttachTable(workspace, *third.db, project.path, "LNK", "LNKLNK");
    EXPECT_EQ(Rows(*third.db, "LNKLNK"), 1);

    ops.RemoveAttachedTables(*project.db);
    EXPECT_FALSE(ops.TabledefExistFnB(*project.db, "LNK"));
    EXPECT_TRUE(ops.TabledefExistFnB(*project.db, "TMP"));
    ops.AttachTable(workspace, *project.db, other.path, "SRC", "LNK");
    ops.RemoveAttachedTables(*project.db, "tmp,Other");
    EXPECT_FALSE(ops.TabledefExistFnB(*project.db, "LNK") || ops.TabledefExistFnB(*project.db, "TMP"));
    EXPECT_EQ(Rows(*other.db, "SRC"), 1);
}

TEST_F(JetSchemaTest, LockFileIsTestedByTryingToDeleteIt) {
    CJetEngineOps& ops = JetOps();
    EXPECT_EQ(ops.LDBNameFnS("C:\\a.b\\proj"), "C:\\a.ldb");
    EXPECT_EQ(ops.LDBNameFnS("noext"), "noext.ldb");
    const std::string lockFile = ops.LDBNameFnS(project.path);
    ASSERT_TRUE(std::filesystem::exists(lockFile)) << "the open project holds its lock file";
    EXPECT_TRUE(ops.LdbLockedFnB(project.path));
    EXPECT_TRUE(std::filesystem::exists(lockFile)) << "a held lock file must survive the test";
    testing::TempFolder folder;
    testing::WriteFile(folder / "old.ldb", "");
    EXPECT_FALSE(ops.LdbLockedFnB((folder / "old.vpj").string()));
    EXPECT_FALSE(std::filesystem::exists(folder / "old.ldb")) << "a free lock file is gone afterwards";
    EXPECT_TRUE(ops.TableIsRequired("point"));
    EXPECT_NE(ops.DBListFnS(DaoEngine().Workspaces(0)).find(project.path + "\r\n"), std::string::npos);
}

}  // namespace
}  // namespace vorn
