#pragma once

// The session objects the key set, table class and relation tests reach, and
// one small project built as a project file and in the enterprise databases
// of the CJetEngineOps tests' support (SQLite, and the test run's MariaDB).

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "dbcontract/DBEngine.h"
#include "dbcontract/DaoConstants.h"
#include "foundation/CDoTrace.h"
#include "foundation/clsProgressInterface.h"
#include "model/CCallbacks.h"
#include "model/CJetEngineOpsTestSupport.h"
#include "model/CVornIndex.h"
#include "runtime/RecordingUserInterface.h"
#include "runtime/SessionSlot.h"
#include "support/TestSupport.h"

namespace vorn::testing {

inline const char* kLocale = ";LANGID=0x0409;CP=1252;COUNTRY=0";

inline std::string JetFixture(const std::string& name) {
    return (SourceDir() / "tests/data/jet" / name).string();
}

// Session objects made once per process; a recording user interface and an
// empty connection cache per test.
class KeysTest : public ::testing::Test {
  protected:
    void SetUp() override {
        MakeJetOpsSession();
        SessionSlot<clsProgressInterface>::Make(std::make_unique<clsProgressInterface>());
        SessionSlot<CCallbacks>::Make(std::make_unique<CCallbacks>());
        SessionSlot<CDoTrace>::Make(std::make_unique<CDoTrace>());
        SessionSlot<CVornIndex>::Make(std::make_unique<CVornIndex>());
        auto ui = std::make_unique<RecordingUserInterface>();
        ui_ = ui.get();
        previousUi_ = SetUi(std::move(ui));
        TheIndex().ConnectionSet();
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
// vORNProjectID first in every key, PROJECT keyed by vORNProject_UID. The DDL
// is in the engines' own dialect, which both take. Index names are one name
// space per SQLite database, so there only SAMPLE carries VORNINDEX.
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
class SampleProjectTest : public KeysTest {
  protected:
    void SetUp() override {
        KeysTest::SetUp();
        db = DaoEngine().CreateDatabase((folder / "site.vpj").string(), kLocale);
        BuildSampleProject(*db);
    }
    void TearDown() override {
        if (db && db->IsOpen()) db->Close();
        KeysTest::TearDown();
    }
    TableDef& Table(const std::string& name) { return *db->TableDefs().Item(name); }

    TempFolder folder;
    std::shared_ptr<Database> db;
};

}  // namespace vorn::testing
