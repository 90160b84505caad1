#pragma once

// The session objects the model reaches, enterprise databases on the two real
// engines (SQLite files in a temp folder, the throwaway MariaDB server of the
// test run), and one small sample project built in each kind of database.

#include <gtest/gtest.h>

#include <unistd.h>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "dbcontract/DBEngine.h"
#include "dbcontract/DalConnection.h"
#include "dbcontract/DalSession.h"
#include "dbcontract/DaoConstants.h"
#include "dbcontract/DaoTestSupport.h"
#include "dbcontract/IdaoEngine.h"
#include "dbcontract/ProviderRules.h"
#include "foundation/CAx0.h"
#include "foundation/CDoTrace.h"
#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "foundation/clsProgressInterface.h"
#include "model/CCallbacks.h"
#include "model/CJetEngineOps.h"
#include "model/CUserTableOps.h"
#include "model/CVornIndex.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorRecord.h"
#include "runtime/RecordingUserInterface.h"
#include "runtime/SessionSlot.h"
#include "support/TestSupport.h"

namespace vorn::testing {

inline const char* kLocale = ";LANGID=0x0409;CP=1252;COUNTRY=0";
inline const std::string kDel = "\x7F";

inline std::shared_ptr<Database> OpenNwind() {
    return DaoEngine().OpenDatabase((SourceDir() / "tests/data/jet/nwind.mdb").string(), 4, true);
}

// The first column of every row of `sql`, as the codec reads it.
inline std::vector<std::string> Column(Database& db, const std::string& sql) {
    auto rows = db.OpenRecordset(sql, dao::dbOpenSnapshot, dao::dbReadOnly);
    std::vector<std::string> values;
    for (; !rows->Eof(); rows->MoveNext()) {
        values.push_back(JetOps().FieldDataToStringFnS(*rows->Fields().Item(0)));
    }
    return values;
}

// An empty enterprise database of one provider: a connection that takes SQL
// and the IDAO connect string that opens it as a Database.
class EnterpriseDb {
  public:
    virtual ~EnterpriseDb() = default;
    DalConnection cn;
    std::string idaoConnect;

    std::shared_ptr<Database> Open(bool readOnly = false) {
        return IdaoEngine().OpenDatabase("", 0, readOnly, idaoConnect);
    }
};

// A database file "site" in a temp folder, provider 16.
class SqliteEnterpriseDb : public EnterpriseDb {
  public:
    SqliteEnterpriseDb() { idaoConnect = NewSqliteEnterpriseDatabase(folder_, "site", cn); }

  private:
    TempFolder folder_;
};

// A fresh database on the test run's MariaDB server, provider 8, dropped at
// the end. A test that needs it and finds no server fails.
class MariaDbEnterpriseDb : public EnterpriseDb {
  public:
    MariaDbEnterpriseDb() {
        const char* socket = std::getenv("VORN_TEST_MARIADB_SOCKET");
        if (socket == nullptr || *socket == '\0') {
            ADD_FAILURE() << "VORN_TEST_MARIADB_SOCKET is not set: run through ctest";
            return;
        }
        static std::atomic<int> counter{0};
        database_ = "vorn_hops" + std::to_string(::getpid()) + "_" + std::to_string(counter++);
        system_.SetProviderType(provider::kMySql);
        system_.SetConnectString(
            system_.BuildConnectString(socket, "information_schema", "root", ""));
        // A database of an earlier process with the same number is stale.
        DropDatabase();
        std::string why;
        EXPECT_TRUE(system_.CreateDatabase(database_, why)) << why;
        cn.SetProviderType(provider::kMySql);
        cn.SetConnectString(cn.BuildConnectString(socket, database_, "root", ""));
        idaoConnect = "MYSQL; " + cn.ConnectString();
    }
    ~MariaDbEnterpriseDb() override {
        cn.Close();
        if (!database_.empty()) DropDatabase();
    }

  private:
    // The server's own statement: DROP DATABASE is no statement the system
    // sends, so it does not go through the rewrite.
    void DropDatabase() {
        system_.Engine().Execute("DROP DATABASE IF EXISTS " + system_.QuoteName(database_));
    }

    DalConnection system_;
    std::string database_;
};

// One empty enterprise database on each engine.
struct EnterpriseServers {
    SqliteEnterpriseDb sqlite;
    MariaDbEnterpriseDb mariadb;
    std::vector<EnterpriseDb*> All() { return {&sqlite, &mariadb}; }
};

// Session objects made once per process; a recording user interface and an
// empty connection cache per test.
class ModelTest : public ::testing::Test {
  protected:
    void SetUp() override {
        SessionSlot<CAx0>::Make(std::make_unique<CAx0>());
        SessionSlot<CTextString>::Make(std::make_unique<CTextString>());
        SessionSlot<CFile>::Make(std::make_unique<CFile>());
        SessionSlot<CJetEngineOps>::Make(std::make_unique<CJetEngineOps>());
        SessionSlot<CUserTableOps>::Make(std::make_unique<CUserTableOps>());
        SessionSlot<DalSession>::Make(std::make_unique<DalSession>());
        SessionSlot<clsProgressInterface>::Make(std::make_unique<clsProgressInterface>());
        SessionSlot<CCallbacks>::Make(std::make_unique<CCallbacks>());
        SessionSlot<CDoTrace>::Make(std::make_unique<CDoTrace>());
        SessionSlot<CVornIndex>::Make(std::make_unique<CVornIndex>());
        auto ui = std::make_unique<RecordingUserInterface>();
        ui_ = ui.get();
        previousUi_ = SetUi(std::move(ui));
    }
    void TearDown() override {
        TheIndex().ConnectionSet();
        SetUi(std::move(previousUi_));
    }
    RecordingUserInterface& Recorded() { return *ui_; }

  private:
    RecordingUserInterface* ui_ = nullptr;
    std::unique_ptr<UserInterface> previousUi_;
};

struct FieldSpec {
    std::string name;
    std::int16_t type;
    std::int32_t size = 0;
    bool required = false;
};

// A table with VORNINDEX on `key` (none when empty); `descendingLeaf` marks
// the last key field.
inline std::shared_ptr<TableDef> MakeTable(Database& db, const std::string& name,
                                           const std::vector<FieldSpec>& fields,
                                           const std::vector<std::string>& key, bool unique = true,
                                           bool descendingLeaf = false) {
    auto table = db.CreateTableDef(name);
    for (const FieldSpec& f : fields) {
        auto field = table->CreateField(f.name, f.type, f.size);
        field->SetRequired(f.required);
        table->Fields().Append(field);
    }
    if (!key.empty()) {
        auto index = table->CreateIndex(std::string(CVornIndex::kIndexName));
        index->SetUnique(unique);
        for (std::size_t i = 0; i < key.size(); ++i) {
            auto field = index->CreateField(key[i]);
            if (descendingLeaf && i + 1 == key.size()) field->SetAttributes(dao::dbDescending);
            index->Fields().Append(field);
        }
        table->Indexes().Append(index);
    }
    db.TableDefs().Append(table);
    return db.TableDefs().Item(name);
}

// The sample project:
//   PROJECT  no key, a vORNProjectID column
//   POINT    PointID                              unique
//   SAMPLE   PointID, Depth, SampleNo (required)  unique; SampleNo is extended
//   READING  PointID, Depth, Reading DESC         not unique
inline void BuildSampleProject(Database& db) {
    const FieldSpec recId{"VornRecID", dao::dbLong};
    const FieldSpec pointId{"PointID", dao::dbText, 20};
    const FieldSpec depth{"Depth", dao::dbDouble};
    MakeTable(db, "PROJECT", {recId, {"vORNProjectID", dao::dbLong}, {"Name", dao::dbText, 40}},
              {});
    MakeTable(db, "POINT", {pointId, recId, {"Elev", dao::dbDouble}}, {"PointID"});
    MakeTable(db, "SAMPLE", {pointId, depth, {"SampleNo", dao::dbText, 10, true}, recId},
              {"PointID", "Depth", "SampleNo"});
    MakeTable(db, "READING", {pointId, depth, {"Reading", dao::dbDouble}, recId},
              {"PointID", "Depth", "Reading"}, false, true);
}

// The sample project as an upsize leaves it in an enterprise database:
// vORNProjectID first in every key, PROJECT keyed by vORNProject_UID. Index
// names are one name space per SQLite database, so there only SAMPLE carries
// VORNINDEX.
inline void BuildEnterpriseProject(EnterpriseDb& site, bool withReading) {
    auto& server = site.cn.Engine();
    server.Execute("CREATE TABLE PROJECT (vORNProjectID INT NOT NULL, Name VARCHAR(40))");
    server.Execute("CREATE UNIQUE INDEX vORNProject_UID ON PROJECT (vORNProjectID)");
    server.Execute(
        "CREATE TABLE SAMPLE (vORNProjectID INT NOT NULL, PointID VARCHAR(20) NOT NULL, "
        "Depth DOUBLE NOT NULL, SampleNo VARCHAR(10) NOT NULL, VornRecID INT)");
    server.Execute(
        "CREATE UNIQUE INDEX VORNINDEX ON SAMPLE (vORNProjectID, PointID, Depth, SampleNo)");
    if (!withReading) return;
    server.Execute(
        "CREATE TABLE READING (vORNProjectID INT NOT NULL, PointID VARCHAR(20) NOT NULL, "
        "Depth DOUBLE NOT NULL, Reading DOUBLE NOT NULL, VornRecID INT)");
    server.Execute(
        "CREATE INDEX VORNINDEX ON READING (vORNProjectID, PointID, Depth, Reading DESC)");
}

// A test with the sample project in a new project file.
class SampleProjectTest : public ModelTest {
  protected:
    void SetUp() override {
        ModelTest::SetUp();
        db = DaoEngine().CreateDatabase((folder / "site.vpj").string(), kLocale);
        BuildSampleProject(*db);
    }
    void TearDown() override {
        if (db && db->IsOpen()) db->Close();
        ModelTest::TearDown();
    }
    TableDef& Table(const std::string& name) { return *db->TableDefs().Item(name); }

    TempFolder folder;
    std::shared_ptr<Database> db;
};

}  // namespace vorn::testing
