// Schema operations on real databases: project files of our format, a Jet
// file read through the reader, enterprise databases on SQLite and MariaDB.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "model/ModelTestSupport.h"

namespace vorn {
namespace {

using testing::NewProject;

class JetSchemaTest : public testing::ModelTest {
  protected:
    static std::string Rows(Database& db, const std::string& table) {
        return testing::Column(db, "SELECT Count(*) FROM [" + table + "]").at(0);
    }
    NewProject project;
};

// The same design asked of a project file and of the two servers.
void ExpectSameDesignAnswers(Database& db, bool enterprise) {
    CJetEngineOps& ops = JetOps();
    EXPECT_EQ(ops.IsEnterpriseDBFnB(db), enterprise);
    EXPECT_EQ(ops.OpenRecordsetOptions(db), enterprise ? 576 : 512);
    EXPECT_TRUE(ops.TabledefExistFnB(db, "[sample]"));
    EXPECT_FALSE(ops.TabledefExistFnB(db, "NOPE") || ops.TabledefExistFnB(db, ""));
    EXPECT_TRUE(ops.FieldExistInDatabaseFnB(db, "SAMPLE.Depth"));
    EXPECT_FALSE(ops.FieldExistInDatabaseFnB(db, "SAMPLE.Depth.x"));
    auto table = db.TableDefs().Item("SAMPLE");
    EXPECT_TRUE(ops.FieldExistFnB(*table, "depth") && ops.IndexExistFnB(*table, "vornindex"));
    EXPECT_FALSE(ops.FieldExistFnB(*table, "Nope") || ops.IndexExistFnB(*table, "Nope"));
    EXPECT_EQ(ops.DataTypeFnI(*table, "SAMPLE.Depth"), dao::dbDouble);
    EXPECT_EQ(ops.DataTypeFnI(*table, " PointID"), dao::dbText);
    bool unique = false;
    std::int32_t count = 0;
    EXPECT_EQ(ops.MainIndexFieldsFnS(*table, &count, &unique), "PointID,Depth");
    EXPECT_TRUE(count == 2 && unique);
    // A server's columns are not changed from here.
    ops.ChangeFieldType(db, "SAMPLE", "Depth", dao::dbText);
    EXPECT_EQ(db.TableDefs().Item("SAMPLE")->Fields().Item("Depth")->Type(),
              enterprise ? dao::dbDouble : dao::dbText);
}

TEST_F(JetSchemaTest, ProjectFileAndEnterpriseDatabasesGiveTheSameAnswers) {
    project.db->Execute("CREATE TABLE [SAMPLE] ([PointID] TEXT(20), [Depth] DOUBLE)");
    JetOps().IndexCreate("PointID,Depth", "VORNINDEX", *project.db->TableDefs().Item("SAMPLE"));
    ExpectSameDesignAnswers(*project.db, false);
    testing::EnterpriseServers servers;
    for (testing::EnterpriseDb* server : servers.All()) {
        SCOPED_TRACE(server->idaoConnect);
        server->cn.Execute(
            "CREATE TABLE [SAMPLE] ([PointID] varchar(20) NOT NULL, [Depth] float NOT NULL)");
        server->cn.Execute("CREATE UNIQUE INDEX [VORNINDEX] ON [SAMPLE] ([PointID], [Depth])");
        ExpectSameDesignAnswers(*server->Open(), true);
    }
}

TEST_F(JetSchemaTest, IndexesAreMadeWithTheirFlagsAndTheWidestUsableOneIsMain) {
    project.db->Execute("CREATE TABLE [T] ([ID] COUNTER, [A] TEXT(10), [B] TEXT(10))");
    auto table = project.db->TableDefs().Item("T");
    CJetEngineOps& ops = JetOps();
    ops.IndexCreate("ID", "ByCounter", *table);
    std::int32_t count = 0;
    std::int32_t position = -1;
    // A key on a counter identifies no row of the user's data, except in a library table.
    EXPECT_TRUE(ops.IsZeroLevelFnB(*table, &count, &position));
    EXPECT_FALSE(ops.IsZeroLevelFnB(*table, &count, &position, true));
    ops.IndexCreate("A", "ByA", *table);
    ops.IndexCreate("A,B", "ByAB", *table, false, true, false, true);
    ops.IndexCreate("B, [A]", "Key", *table, true, true, true);  // primary beats non-unique
    ops.IndexCreate("A", "", *table);
    bool unique = true;
    count = 0;
    EXPECT_EQ(ops.MainIndexFieldsFnS(*table, &count, &unique, &position), "A,B");
    EXPECT_FALSE(unique);
    EXPECT_EQ(table->Indexes().Item(position)->Name(), "ByAB");
    // Of two alike the first wins; a negative count asks for unique indexes only.
    count = -1;
    EXPECT_EQ(ops.MainIndexFieldsFnS(*table, &count, &unique), "B,A");

    project.Reopen();
    table = project.db->TableDefs().Item("T");
    EXPECT_EQ(table->Indexes().Count(), 4) << "an index without a name is not made";
    auto key = table->Indexes().Item("Key");
    EXPECT_TRUE(key->Primary() && key->Unique());
    EXPECT_EQ(key->Fields().Item("B")->Attributes() & dao::dbDescending, 0);
    EXPECT_EQ(key->Fields().Item("A")->Attributes() & dao::dbDescending, dao::dbDescending);
    auto loose = table->Indexes().Item("ByAB");
    EXPECT_TRUE(!loose->Unique() && loose->IgnoreNulls());
}

TEST_F(JetSchemaTest, TableCloneCopiesDesignFieldPropertiesAndIndexesFromAJetFile) {
    auto source = testing::OpenNwind();
    std::int32_t propertiesCompared = 0;
    for (const char* name : {"Products", "Order Details"}) {
        SCOPED_TRACE(name);
        const std::string copyName = std::string("Copy of ") + name;
        EXPECT_FALSE(JetOps().TableCloneFnB(*source, name, *project.db, copyName)) << "done";
        auto from = source->TableDefs().Item(name);
        auto to = project.db->TableDefs().Item(copyName);
        ASSERT_EQ(to->Fields().Count(), from->Fields().Count());
        for (const auto& field : from->Fields()) {
            auto copy = to->Fields().Item(field->Name());
            EXPECT_TRUE(copy->Type() == field->Type() && copy->Size() == field->Size())
                << field->Name();
            for (const auto& property : field->GetProperties().UserDefined()) {
                EXPECT_EQ(CStr(copy->GetProperties().Item(property->Name())->Value()),
                          CStr(property->Value()));
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
        EXPECT_EQ(Rows(*project.db, copyName), "0");
    }
    EXPECT_GT(propertiesCompared, 0);
}

TEST_F(JetSchemaTest, CloningKeepsWhatTheTargetHasAndOnlyTheSystemsTableProperties) {
    NewProject target;
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
    EXPECT_NE(testing::FailureNumber(
                  [&] { JetOps().ChangeFieldType(*target.db, "U", "A", dao::dbLong); }),
              0);
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
    EXPECT_EQ(Rows(*project.db, "LNK"), "1");
    // Attaching again, or a table that is not there, changes nothing and raises nothing.
    EXPECT_NO_THROW(ops.AttachTable(workspace, *project.db, other.path, "SRC", "LNK"));
    EXPECT_NO_THROW(ops.AttachTable(workspace, *project.db, other.path, "NOPE", "LNK2"));
    EXPECT_FALSE(ops.TabledefExistFnB(*project.db, "LNK2"));

    ops.RemoveAttachedTables(*project.db);
    EXPECT_FALSE(ops.TabledefExistFnB(*project.db, "LNK"));
    EXPECT_TRUE(ops.TabledefExistFnB(*project.db, "TMP"));
    ops.AttachTable(workspace, *project.db, other.path, "SRC", "LNK");
    ops.RemoveAttachedTables(*project.db, "tmp,Other");
    EXPECT_FALSE(ops.TabledefExistFnB(*project.db, "LNK") ||
                 ops.TabledefExistFnB(*project.db, "TMP"));
    EXPECT_EQ(Rows(*other.db, "SRC"), "1");
}

TEST_F(JetSchemaTest, LockFileIsTestedByTryingToDeleteIt) {
    CJetEngineOps& ops = JetOps();
    EXPECT_EQ(ops.LDBNameFnS("C:\\a.b\\proj"), "C:\\a.ldb");
    const std::string lockFile = ops.LDBNameFnS(project.path);
    ASSERT_TRUE(std::filesystem::exists(lockFile)) << "the open project holds its lock file";
    EXPECT_TRUE(ops.LdbLockedFnB(project.path));
    EXPECT_TRUE(std::filesystem::exists(lockFile)) << "a held lock file must survive the test";
    testing::TempFolder folder;
    testing::WriteFile(folder / "old.ldb", "");
    EXPECT_FALSE(ops.LdbLockedFnB((folder / "old.vpj").string()));
    EXPECT_FALSE(std::filesystem::exists(folder / "old.ldb")) << "a free lock file is gone";
    EXPECT_FALSE(ops.LdbLockedFnB((folder / "none.vpj").string()));
    EXPECT_TRUE(ops.TableIsRequired("point"));
}

}  // namespace
}  // namespace vorn
