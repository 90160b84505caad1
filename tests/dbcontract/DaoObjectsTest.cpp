#include <gtest/gtest.h>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/DaoTestSupport.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"

namespace vorn {
namespace {

using testing::FailureNumber;
using testing::NewProject;

// POINT(PointID text key, Depth double, Elev single, Logged date, Ok bool,
// Photo long binary, Note memo, Cost currency, VornRecID counter) and SAMPLE
// below it, related on PointID with cascades.
void MakePointAndSample(Database& db) {
    auto point = db.CreateTableDef("POINT");
    point->Fields().Append(point->CreateField("PointID", dao::dbText, 50));
    point->Fields().Append(point->CreateField("Depth", dao::dbDouble));
    point->Fields().Append(point->CreateField("Elev", dao::dbSingle));
    point->Fields().Append(point->CreateField("Logged", dao::dbDate));
    point->Fields().Append(point->CreateField("Ok", dao::dbBoolean));
    point->Fields().Append(point->CreateField("Photo", dao::dbLongBinary));
    point->Fields().Append(point->CreateField("Note", dao::dbMemo));
    point->Fields().Append(point->CreateField("Cost", dao::dbCurrency));
    auto recId = point->CreateField("VornRecID", dao::dbLong);
    recId->SetAttributes(dao::dbAutoIncrField | dao::dbFixedField);
    point->Fields().Append(recId);
    auto key = point->CreateIndex("VORNINDEX");
    key->SetPrimary(true);
    key->SetUnique(true);
    key->Fields().Append(key->CreateField("PointID"));
    point->Indexes().Append(key);
    db.TableDefs().Append(point);

    auto sample = db.CreateTableDef("SAMPLE");
    sample->Fields().Append(sample->CreateField("PointID", dao::dbText, 50));
    sample->Fields().Append(sample->CreateField("Depth", dao::dbDouble));
    sample->Fields().Append(sample->CreateField("Code", dao::dbInteger));
    auto sampleKey = sample->CreateIndex("VORNINDEX");
    sampleKey->SetPrimary(true);
    sampleKey->SetUnique(true);
    sampleKey->Fields().Append(sampleKey->CreateField("PointID"));
    auto depth = sampleKey->CreateField("Depth");
    depth->SetAttributes(dao::dbDescending);
    sampleKey->Fields().Append(depth);
    sample->Indexes().Append(sampleKey);
    db.TableDefs().Append(sample);

    auto relation = db.CreateRelation("POINTSAMPLE", "POINT", "SAMPLE",
                                      dao::dbRelationUpdateCascade | dao::dbRelationDeleteCascade);
    auto pair = relation->CreateField("PointID");
    pair->SetForeignName("PointID");
    relation->Fields().Append(pair);
    db.Relations().Append(relation);
}

TEST(DaoDesign, AProjectMadeThroughTheContractReadsBackAfterReopening) {
    NewProject project;
    MakePointAndSample(*project.db);
    project.db->CreateQueryDef("Deep", "SELECT * FROM POINT WHERE Depth > 10");
    project.db->GetProperties().Append(project.db->CreateProperty("vornVersion", dao::dbText, Variant("8.1")));
    auto point = project.db->TableDefs().Item("POINT");
    point->GetProperties().Append(point->CreateProperty("vornTableType", dao::dbLong, Variant(std::int32_t{3})));
    auto depth = point->Fields().Item("Depth");
    depth->GetProperties().Append(depth->CreateProperty("Caption", dao::dbText, Variant("Depth (m)")));

    project.Reopen();
    Database& db = *project.db;
    point = db.TableDefs().Item("[point]");
    ASSERT_EQ(point->Fields().Count(), 9);
    EXPECT_EQ(point->Fields().Item(0)->Name(), "PointID");
    EXPECT_EQ(point->Fields().Item("pointid")->Size(), 50);
    EXPECT_EQ(point->Fields().Item("Elev")->Type(), dao::dbSingle);
    EXPECT_EQ(point->Fields().Item("Note")->Type(), dao::dbMemo);
    EXPECT_EQ(point->Fields().Item("Cost")->Type(), dao::dbCurrency);
    EXPECT_NE(point->Fields().Item("VornRecID")->Attributes() & dao::dbAutoIncrField, 0);
    EXPECT_EQ(point->Fields().Item("Ok")->OrdinalPosition(), 4);
    EXPECT_EQ(CStr(point->GetProperties().Item("vornTableType")->Value()), "3");
    EXPECT_EQ(CStr(point->Fields().Item("Depth")->GetProperties().Item("caption")->Value()), "Depth (m)");
    EXPECT_EQ(CStr(db.GetProperties().Item("vornVersion")->Value()), "8.1");

    auto sampleKey = db.TableDefs().Item("SAMPLE")->Indexes().Item("VORNINDEX");
    EXPECT_TRUE(sampleKey->Primary());
    ASSERT_EQ(sampleKey->Fields().Count(), 2);
    EXPECT_EQ(sampleKey->Fields().Item(1)->Name(), "Depth");
    EXPECT_EQ(sampleKey->Fields().Item(1)->Attributes() & dao::dbDescending, dao::dbDescending);

    auto relation = db.Relations().Item("POINTSAMPLE");
    EXPECT_EQ(relation->Table(), "POINT");
    EXPECT_EQ(relation->ForeignTable(), "SAMPLE");
    EXPECT_EQ(relation->Attributes() & dao::dbRelationDeleteCascade, dao::dbRelationDeleteCascade);
    EXPECT_EQ(relation->Fields().Item(0)->ForeignName(), "PointID");
    // As the engine does, the relation stands on a foreign index of the child.
    auto foreign = db.TableDefs().Item("SAMPLE")->Indexes().Item("POINTSAMPLE");
    EXPECT_TRUE(foreign->Foreign());

    EXPECT_EQ(db.QueryDefs().Item("deep")->SQL(), "SELECT * FROM POINT WHERE Depth > 10");
}

TEST(DaoDesign, CollectionsFailAsTheEngineDid) {
    NewProject project;
    MakePointAndSample(*project.db);
    Database& db = *project.db;
    EXPECT_EQ(FailureNumber([&] { db.TableDefs().Item("NOSUCH"); }), errnum::kJetItemNotFound);
    EXPECT_EQ(FailureNumber([&] { db.TableDefs().Item(99); }), errnum::kJetItemNotFound);
    EXPECT_EQ(FailureNumber([&] { db.TableDefs().Item("POINT")->GetProperties().Item("nope"); }),
              errnum::kJetPropertyNotFound);
    auto again = db.CreateTableDef("point");
    again->Fields().Append(again->CreateField("A", dao::dbLong));
    EXPECT_EQ(FailureNumber([&] { db.TableDefs().Append(again); }), errnum::kJetTableExists);
    auto design = db.CreateTableDef("NEW");
    design->Fields().Append(design->CreateField("A", dao::dbLong));
    EXPECT_EQ(FailureNumber([&] { design->Fields().Append(design->CreateField("a", dao::dbText)); }),
              errnum::kJetFieldDefinedTwice);
    auto empty = db.CreateTableDef("EMPTY");
    EXPECT_EQ(FailureNumber([&] { db.TableDefs().Append(empty); }), errnum::kJetNoFieldsDefined);
    // The failure is also kept in the engine's Errors.
    EXPECT_EQ(DaoEngine().Errors().Item(0).number, errnum::kJetNoFieldsDefined);
}

TEST(DaoDesign, BuiltInPropertiesReadAndRefuseAsTheEngineDid) {
    NewProject project;
    MakePointAndSample(*project.db);
    auto field = project.db->TableDefs().Item("POINT")->Fields().Item("PointID");
    EXPECT_EQ(CLng(field->GetProperties().Item("Size")->Value()), 50);
    EXPECT_EQ(CInt(field->GetProperties().Item("Type")->Value()), dao::dbText);
    EXPECT_EQ(FailureNumber([&] { field->SetSize(10); }), errnum::kJetInvalidOperation);
    EXPECT_EQ(FailureNumber([&] { field->GetProperties().Item("Size")->SetValue(Variant(std::int32_t{10})); }),
              errnum::kJetInvalidOperation);
    field->SetRequired(true);
    project.Reopen();
    EXPECT_TRUE(project.db->TableDefs().Item("POINT")->Fields().Item("PointID")->Required());
}

TEST(DaoDesign, APrimaryKeyIsUniqueOnceAppended) {
    NewProject project;
    auto table = project.db->CreateTableDef("T");
    table->Fields().Append(table->CreateField("Code", dao::dbText, 10));
    auto key = table->CreateIndex("PrimaryKey");
    key->SetPrimary(true);
    key->Fields().Append(key->CreateField("Code"));
    table->Indexes().Append(key);
    project.db->TableDefs().Append(table);
    EXPECT_TRUE(key->Unique());
}

TEST(DaoDesign, ARelationOnAParentWithoutAUniqueKeyFails3609) {
    NewProject project;
    Database& db = *project.db;
    for (const char* name : {"PARENT", "CHILD"}) {
        auto table = db.CreateTableDef(name);
        table->Fields().Append(table->CreateField("K", dao::dbText, 20));
        db.TableDefs().Append(table);
    }
    auto relation = db.CreateRelation("PARENTCHILD", "PARENT", "CHILD");
    auto pair = relation->CreateField("K");
    pair->SetForeignName("K");
    relation->Fields().Append(pair);
    EXPECT_EQ(FailureNumber([&] { db.Relations().Append(relation); }), errnum::kJetNoUniqueIndexForRelation);
    EXPECT_EQ(db.Relations().Find("PARENTCHILD"), nullptr);
}

TEST(DaoDesign, AnAppendedAttachedTableShowsItsSourceAtOnce) {
    NewProject source;
    auto table = source.db->CreateTableDef("READING");
    table->Fields().Append(table->CreateField("PointID", dao::dbText, 20));
    table->Fields().Append(table->CreateField("Depth", dao::dbDouble));
    source.db->TableDefs().Append(table);
    source.db->Close();

    NewProject project;
    auto attached = project.db->CreateTableDef("LINKED", 0, "READING", ";DATABASE=" + source.path);
    project.db->TableDefs().Append(attached);
    EXPECT_NE(attached->Attributes() & dao::dbAttachedTable, 0);
    EXPECT_EQ(attached->Fields().Count(), 2);
    EXPECT_EQ(project.db->TableDefs().Item("LINKED")->Fields().Item(1)->Name(), "Depth");
}

// A new project holding POINT and SAMPLE.
class DaoRecordset : public ::testing::Test {
  protected:
    DaoRecordset() { MakePointAndSample(*project.db); }
    NewProject project;
};

TEST_F(DaoRecordset, AddNewEditAndCountsAsTheEngineAnswered) {
    {
        auto rs = project.db->OpenRecordset("POINT", dao::dbOpenDynaset);
        EXPECT_TRUE(rs->Eof());
        EXPECT_EQ(rs->RecordCount(), 0);
        for (const char* id : {"BH1", "BH2", "BH3"}) {
            rs->AddNew();
            (*rs)["PointID"].SetValue(Variant(id));
            (*rs)["Depth"].SetValue(Variant("12.5"));  // text converts to the field's type
            rs->Update();
        }
        const Variant last = rs->LastModified();
        rs->SetBookmark(last);
        EXPECT_EQ(CStr((*rs)["PointID"].Value()), "BH3");
        EXPECT_EQ(FailureNumber([&] { rs->Update(); }), errnum::kJetUpdateWithoutEdit);
        EXPECT_EQ(FailureNumber([&] { (*rs)["Depth"].SetValue(Variant(1.0)); }), errnum::kJetUpdateWithoutEdit);
        rs->AddNew();
        EXPECT_EQ(FailureNumber([&] { (*rs)["Depth"].SetValue(Variant("deep")); }), errnum::kJetConversionError);
        EXPECT_EQ(FailureNumber([&] { (*rs)["PointID"].SetValue(Variant(std::string(51, 'x'))); }),
                  errnum::kJetFieldTooSmall);
        rs->CancelUpdate();
        // A refused row is the last failure the engine's Errors tell.
        EXPECT_NE(FailureNumber([&] { project.db->Execute("DROP TABLE NoSuchTable", 0); }), 0);
        rs->AddNew();
        (*rs)["PointID"].SetValue(Variant("BH1"));
        EXPECT_EQ(FailureNumber([&] { rs->Update(); }), errnum::kJetDuplicateValue);
        EXPECT_EQ(DaoEngine().Errors().Item(0).number, errnum::kJetDuplicateValue);
        rs->CancelUpdate();
    }
    auto rs = project.db->OpenRecordset("SELECT * FROM POINT ORDER BY PointID", dao::dbOpenDynaset);
    EXPECT_EQ(rs->RecordCount(), 1);  // the rows reached so far
    rs->MoveLast();
    EXPECT_EQ(rs->RecordCount(), 3);
    rs->MoveFirst();
    EXPECT_EQ(CStr((*rs)["PointID"].Value()), "BH1");
    EXPECT_DOUBLE_EQ(CDbl((*rs)["Depth"].Value()), 12.5);
    EXPECT_TRUE((*rs)["Note"].Value().IsNull());
    rs->Edit();
    (*rs)["Note"].SetValue(Variant("first hole"));
    rs->Update();
    EXPECT_EQ(CStr((*rs)["Note"].Value()), "first hole");
    rs->MoveNext();
    rs->MoveNext();
    rs->MoveNext();
    EXPECT_TRUE(rs->Eof());
    EXPECT_EQ(FailureNumber([&] { rs->MoveNext(); }), errnum::kJetNoCurrentRecord);
    EXPECT_EQ(FailureNumber([&] { (*rs)["Depth"].Value(); }), errnum::kJetNoCurrentRecord);

    auto table = project.db->TableDefs().Item("POINT")->OpenRecordset();
    EXPECT_EQ(table->RecordCount(), 3);  // a table opened whole knows its count
}

TEST_F(DaoRecordset, WorkspaceTransactionsSpanTheOpenDatabases) {
    Workspace& ws = DaoEngine().Workspaces(0);
    EXPECT_EQ(FailureNumber([&] { ws.CommitTrans(); }), errnum::kJetCommitWithoutBegin);
    ws.BeginTrans();
    project.db->Execute("INSERT INTO POINT (PointID) VALUES ('T1')");
    ws.Rollback();
    auto rs = project.db->OpenRecordset("POINT");
    EXPECT_EQ(rs->RecordCount(), 0);
    ws.BeginTrans();
    project.db->Execute("INSERT INTO POINT (PointID) VALUES ('T2')");
    ws.CommitTrans();
    EXPECT_EQ(project.db->OpenRecordset("POINT")->RecordCount(), 1);
}

// POINT with the rows P1, P2, P3 in that order.
void AddThreePoints(Database& db) {
    for (const char* id : {"P1", "P2", "P3"}) {
        db.Execute(std::string("INSERT INTO POINT (PointID) VALUES ('") + id + "')");
    }
}

// The same, with POINT holding P1, P2, P3.
class DaoRecordsetOfThreePoints : public DaoRecordset {
  protected:
    DaoRecordsetOfThreePoints() { AddThreePoints(*project.db); }
};

TEST_F(DaoRecordsetOfThreePoints, TheEndStaysTheEndAfterMoveLastInEveryType) {
    const struct {
        const char* source;
        std::int32_t type;
        std::int32_t options;
    } cases[] = {
        {"POINT", dao::dbOpenTable, 0},
        {"POINT", dao::dbOpenDynaset, 0},
        {"SELECT * FROM POINT", dao::dbOpenSnapshot, dao::dbReadOnly},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type);
        auto rs = project.db->OpenRecordset(c.source, c.type, c.options);
        rs->MoveLast();
        EXPECT_EQ(CStr((*rs)["PointID"].Value()), "P3");
        rs->MoveNext();
        EXPECT_TRUE(rs->Eof());
        EXPECT_EQ(rs->RecordCount(), 3);
        EXPECT_EQ(FailureNumber([&] { rs->MoveNext(); }), errnum::kJetNoCurrentRecord);
    }
    project.db->Execute("DELETE FROM POINT");
    auto empty =
        project.db->OpenRecordset("SELECT * FROM POINT", dao::dbOpenSnapshot, dao::dbReadOnly);
    EXPECT_EQ(FailureNumber([&] { empty->MoveFirst(); }), errnum::kJetNoCurrentRecord);
    EXPECT_TRUE(empty->Eof() && empty->BOF());
}

TEST_F(DaoRecordsetOfThreePoints, RowsDeletedThroughADynasetLeaveItsCount) {
    auto rs = project.db->OpenRecordset("SELECT * FROM POINT ORDER BY PointID", dao::dbOpenDynaset);
    rs->MoveLast();
    rs->MoveFirst();
    rs->Delete();
    EXPECT_EQ(rs->RecordCount(), 2);
    rs->MoveNext();
    rs->MoveNext();
    EXPECT_EQ(CStr((*rs)["PointID"].Value()), "P3");
    EXPECT_EQ(rs->RecordCount(), 2);
    rs->MoveFirst();
    EXPECT_EQ(CStr((*rs)["PointID"].Value()), "P2");
    rs->MoveLast();
    EXPECT_EQ(rs->RecordCount(), 2);
}

TEST_F(DaoRecordsetOfThreePoints, RowsAddedAfterMoveLastCountOnce) {
    auto rs = project.db->OpenRecordset("POINT", dao::dbOpenDynaset);
    rs->MoveLast();
    rs->AddNew();
    (*rs)["PointID"].SetValue(Variant("P4"));
    rs->Update();
    EXPECT_EQ(rs->RecordCount(), 4);
    rs->MoveLast();
    EXPECT_EQ(CStr((*rs)["PointID"].Value()), "P4");
    EXPECT_EQ(rs->RecordCount(), 4);
    rs->AddNew();
    (*rs)["PointID"].SetValue(Variant("P5"));
    rs->Update();
    rs->MoveFirst();
    EXPECT_EQ(rs->RecordCount(), 5);
}

TEST_F(DaoRecordsetOfThreePoints, MoveNextGoesOnFromTheBookmarkedRow) {
    for (const std::int32_t type : {dao::dbOpenTable, dao::dbOpenDynaset}) {
        SCOPED_TRACE(type);
        auto rs = project.db->OpenRecordset("POINT", type);
        rs->MoveNext();
        const Variant second = rs->Bookmark();
        rs->MoveLast();
        rs->SetBookmark(second);
        EXPECT_EQ(CStr((*rs)["PointID"].Value()), "P2");
        rs->MoveNext();
        EXPECT_EQ(CStr((*rs)["PointID"].Value()), "P3");
    }
}

TEST_F(DaoRecordset, ADatabaseOpenedInsideATransactionJoinsIt) {
    project.db->Close();
    Workspace& ws = DaoEngine().Workspaces(0);
    ws.BeginTrans();
    project.Reopen();
    project.db->Execute("INSERT INTO POINT (PointID) VALUES ('T1')");
    EXPECT_EQ(FailureNumber([&] { ws.Rollback(); }), 0);
    EXPECT_EQ(ws.TransactionDepth(), 0);
    EXPECT_EQ(project.db->OpenRecordset("POINT")->RecordCount(), 0);
}

TEST_F(DaoRecordsetOfThreePoints, ARecordsetOfAClosedDatabaseFails3420) {
    auto rows = project.db->OpenRecordset("POINT", dao::dbOpenDynaset);
    auto closedByItself = project.db->OpenRecordset("POINT", dao::dbOpenDynaset);
    closedByItself->Close();
    EXPECT_EQ(FailureNumber([&] { closedByItself->MoveNext(); }), errnum::kJetObjectInvalid);
    project.db->Close();
    EXPECT_EQ(FailureNumber([&] { rows->MoveNext(); }), errnum::kJetObjectInvalid);
    EXPECT_EQ(FailureNumber([&] { (*rows)["PointID"].Value(); }), errnum::kJetObjectInvalid);
    EXPECT_EQ(FailureNumber([&] { rows->AddNew(); }), errnum::kJetObjectInvalid);
}

TEST_F(DaoRecordset, AMissingTableOrQueryNameFails3078) {
    for (const char* source : {"NOSUCH", "[No Such]", "SELECT * FROM NOSUCH"}) {
        const auto open = [&] { project.db->OpenRecordset(source, dao::dbOpenSnapshot, dao::dbReadOnly); };
        EXPECT_EQ(FailureNumber(open), errnum::kJetInputTableNotFound) << source;
    }
}

// Values of another kind are converted to the field's own before they are
// stored: a boolean or a date is a number to a big integer, and sixteen bytes
// are a GUID.
TEST(DaoValues, AFieldTakesValuesOfOtherKindsAsTheEngineConvertsThem) {
    NewProject project;
    auto table = project.db->CreateTableDef("V");
    table->Fields().Append(table->CreateField("Big", dao::dbBigInt));
    table->Fields().Append(table->CreateField("Id", dao::dbGUID));
    project.db->TableDefs().Append(table);
    Variant::Binary guid;
    for (int i = 0; i < 16; ++i) guid.push_back(static_cast<std::uint8_t>(i * 17));
    const struct {
        const char* field;
        Variant value;
        Variant back;
    } cases[] = {
        {"Big", Variant(true), Variant(Decimal::FromInt64(-1))},
        {"Big", Variant::FromDate(2.5), Variant(Decimal::FromInt64(2))},  // half to even
        {"Big", Variant("3.5"), Variant(Decimal::FromInt64(4))},
        {"Id", Variant(guid), Variant("{33221100-5544-7766-8899-AABBCCDDEEFF}")},
        {"Id", Variant("33221100-5544-7766-8899-aabbccddeeff"),
         Variant("{33221100-5544-7766-8899-AABBCCDDEEFF}")},
    };
    auto rs = project.db->OpenRecordset("V", dao::dbOpenDynaset);
    for (const auto& c : cases) {
        rs->AddNew();
        try {
            (*rs)[c.field].SetValue(c.value);
            rs->Update();
        } catch (const VornError& error) {
            ADD_FAILURE() << c.field << " refused " << c.value << ": " << error.Description();
            rs->CancelUpdate();
            continue;
        }
        rs->SetBookmark(rs->LastModified());
        EXPECT_EQ((*rs)[c.field].Value(), c.back) << c.field << " given " << c.value;
    }
}

TEST(DaoReadOnly, EveryWriteIsRefusedAndTheFileStaysAsItWas) {
    NewProject project;
    MakePointAndSample(*project.db);
    project.db->Execute("INSERT INTO POINT (PointID) VALUES ('BH1')");
    project.db->Close();
    const std::string before = testing::ReadFile(project.path);
    project.db = DaoEngine().OpenDatabase(project.path, 4, true);
    Database& db = *project.db;
    EXPECT_FALSE(db.Updatable());
    auto rs = db.OpenRecordset("POINT", dao::dbOpenDynaset);
    EXPECT_EQ(FailureNumber([&] { rs->AddNew(); }), errnum::kJetReadOnly);
    auto table = db.CreateTableDef("MORE");
    table->Fields().Append(table->CreateField("A", dao::dbLong));
    EXPECT_EQ(FailureNumber([&] { db.TableDefs().Append(table); }), errnum::kJetReadOnly);
    EXPECT_EQ(FailureNumber([&] { db.TableDefs().Item("POINT")->Fields().Item("Depth")->SetRequired(true); }),
              errnum::kJetReadOnly);
    EXPECT_EQ(FailureNumber([&] { db.GetProperties().Append(db.CreateProperty("x", dao::dbText, Variant("y"))); }),
              errnum::kJetReadOnly);
    rs->Close();
    db.Close();
    EXPECT_EQ(testing::ReadFile(project.path), before);
}

TEST(DaoEngineOpen, MissingAndForeignFilesFailWithTheirNumbers) {
    testing::TempFolder folder;
    EXPECT_EQ(FailureNumber([&] { DaoEngine().OpenDatabase((folder / "none.vpj").string(), 4, true); }),
              errnum::kJetFileNotFound);
    testing::WriteFile(folder / "text.vpj", "this is not a database\n");
    EXPECT_EQ(FailureNumber([&] { DaoEngine().OpenDatabase((folder / "text.vpj").string(), 4, true); }),
              errnum::kJetUnrecognizedFormat);
    NewProject project;
    EXPECT_EQ(FailureNumber([&] { DaoEngine().CreateDatabase(project.path, testing::kJetLocale); }),
              errnum::kJetDatabaseExists);
}

}  // namespace
}  // namespace vorn
