// Relation definitions, names, the link table repair, and the relation cache.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "model/CRelation.h"
#include "model/KeysTestSupport.h"
#include "model/clsRelation.h"
#include "runtime/Conversions.h"

namespace vorn {
namespace {

using testing::FailureNumber;
using testing::FieldSpec;
using testing::MakeTable;

const std::string kDel = "\x7F";

class Relations : public testing::SampleProjectTest {
  protected:
    void SetUp() override {
        SampleProjectTest::SetUp();
        // DETAIL hangs below READING, whose key allows repeated depths.
        MakeTable(*db, "DETAIL", {pointId, depth, reading, {"Item", dao::dbText, 10}},
                  {"PointID", "Depth", "Reading", "Item"});
        MakeTable(*db, "POINTNOTE", {pointId, {"Note", dao::dbText, 40}}, {"PointID"});
    }

    // The definition of each relation, in order, as "name:definition".
    std::vector<std::string> Design() {
        db->Relations().Refresh();
        std::vector<std::string> design;
        for (const auto& relation : db->Relations()) {
            design.push_back(relation->Name() + ":" + CRelation::RelationDefFnS(*relation));
        }
        std::sort(design.begin(), design.end());
        return design;
    }
    std::vector<std::string> DefsFor(const std::string& parent, const std::string& child) {
        std::vector<std::string> definitions;
        worker.RelationDefAdd(*db, definitions, parent, child);
        return definitions;
    }

    const FieldSpec pointId{"PointID", dao::dbText, 20};
    const FieldSpec depth{"Depth", dao::dbDouble};
    const FieldSpec reading{"Reading", dao::dbDouble};
    CRelation worker;
    std::int32_t counter = 0;
};

TEST_F(Relations, KeyRelationsPairTheKeysAndMarkEqualLevelsOneToOne) {
    EXPECT_EQ(DefsFor("POINT", "SAMPLE"),
              std::vector<std::string>{",POINT,SAMPLE,4352,PointID,PointID"});
    EXPECT_EQ(DefsFor("READING", "DETAIL"),
              std::vector<std::string>{
                  ",READING,DETAIL,4352,PointID,PointID,Depth,Depth,Reading,Reading"});
    EXPECT_TRUE(DefsFor("POINT", "").empty());
    EXPECT_EQ(FailureNumber([&] { DefsFor("POINT", "NOSUCH"); }), errnum::kRelationTableMissing);
    EXPECT_EQ(FailureNumber([&] { DefsFor("SAMPLE", "POINTNOTE"); }), errnum::kSubscriptOutOfRange)
        << "a child with fewer key fields than its parent";
}

TEST_F(Relations, GeneratedNamesSkipTakenNamesAndExistingRelationsAreSkipped) {
    auto sample = db->TableDefs().Item("SAMPLE");
    auto taken = sample->CreateIndex("REL0001");  // an index of the child holds the first name
    taken->Fields().Append(taken->CreateField("Depth"));
    sample->Indexes().Append(taken);
    const std::string fitting(64, 'F');
    std::vector<std::string> definitions = {
        ",point,sample,4352,pointid,pointid",
        std::string(65, 'N') + ",POINT,POINTNOTE,4353,PointID,PointID",
        fitting + ",POINT,DETAIL,4352,PointID,PointID"};
    worker.RelationsAdd(*db, definitions, false, counter);
    EXPECT_EQ(Design(), (std::vector<std::string>{fitting + ":POINT,DETAIL,4352,PointID,PointID",
                                                  "REL0002:POINT,SAMPLE,4352,PointID,PointID",
                                                  "REL0003:POINT,POINTNOTE,4353,PointID,PointID"}));
    EXPECT_EQ(counter, 3);

    // The same relation under another name exists and is skipped.
    definitions = {"OTHER,POINT,SAMPLE,4352,PointID,PointID"};
    worker.RelationsAdd(*db, definitions, false, counter);
    EXPECT_EQ(Design().size(), 3u);
}

TEST_F(Relations, AFailureOtherThanANameOrKeyIsReportedAndRaised) {
    std::vector<std::string> definitions = {"BAD,POINT,SAMPLE,4352,PointID,NoSuchField"};
    EXPECT_EQ(FailureNumber([&] { worker.RelationsAdd(*db, definitions, false, counter); }),
              errnum::kJetItemNotFound);
    ASSERT_EQ(Recorded().Messages().size(), 1u);
    EXPECT_NE(Recorded().Messages()[0].text.find("CRelation.RelNameCheckIndex 'BAD'"),
              std::string::npos)
        << Recorded().Messages()[0].text;
}

TEST_F(Relations, ANonUniqueParentKeyGoesThroughALinkTable) {
    for (const char* row : {"('P1', 1, 5, 1)", "('P1', 2, 6, 2)", "('P2', 1, 7, 3)"}) {
        db->Execute(
            std::string("INSERT INTO READING (PointID, Depth, Reading, VornRecID) VALUES ") + row);
    }
    auto definitions = DefsFor("READING", "DETAIL");
    Progress().ShowProgressInit("Relations");
    worker.RelationsAdd(*db, definitions, false, counter, "VORNINDEX");
    EXPECT_EQ(Progress().ProgressText(), TextStr().TextStringGetFnS(3103));
    Progress().ShowProgressEnd();

    const std::string link = kDel + "READINGLINK";
    ASSERT_TRUE(db->TableDefs().Find(link)) << "the link table holds the parent's key set";
    auto linkTable = db->TableDefs().Item(link);
    EXPECT_TRUE(linkTable->Indexes().Item("VORNINDEX")->Primary());
    EXPECT_EQ(TheIndex().VornIndexFieldsFnS(*linkTable, kfoAllFields, db.get()),
              "PointID,Depth,Reading");
    auto rows = db->OpenRecordset("SELECT Count(*) AS N FROM [" + link + "]", 4, 4);
    EXPECT_EQ(CLng((*rows)["N"].Value()), 3);
    rows->Close();
    EXPECT_EQ(
        Design(),
        (std::vector<std::string>{
            "REL0001:" + link + ",DETAIL,4352,PointID,PointID,Depth,Depth,Reading,Reading",
            "REL0002:" + link + ",READING,4353,PointID,PointID,Depth,Depth,Reading,Reading"}));

    // A repeat of the repair uses the link table as it stands.
    EXPECT_EQ(worker.LinkTableRepair(*db, "READING", counter, "VORNINDEX"), link);
    EXPECT_EQ(worker.LinkTableRepair(*db, link, counter, "VORNINDEX"), link)
        << "a link's link is itself";
    EXPECT_EQ(Design().size(), 2u);
    EXPECT_EQ(UserTab().ParentFromLinkFnS(db->Relations().Item("REL0001")->Table()), "READING");
}

TEST_F(Relations, TheRepairMovesTheParentsChildrenOntoTheLinkTable) {
    // SAMPLE's key is unique, so DETAIL hangs below it; a relation on a part
    // of that key is refused and SAMPLE's children move to its link table.
    MakeTable(*db, "SAMPLEPART",
              {pointId, depth, {"SampleNo", dao::dbText, 10}, {"Part", dao::dbLong}},
              {"PointID", "Depth", "SampleNo", "Part"});
    std::vector<std::string> definitions = DefsFor("SAMPLE", "SAMPLEPART");
    definitions.push_back("PARTIAL,SAMPLE,DETAIL,4352,PointID,PointID,Depth,Depth");
    worker.RelationsAdd(*db, definitions, false, counter);

    const std::string link = kDel + "SAMPLELINK";
    EXPECT_EQ(
        Design(),
        (std::vector<std::string>{
            "REL0001:" + link + ",SAMPLEPART,4352,PointID,PointID,Depth,Depth,SampleNo,SampleNo",
            "REL0002:" + link + ",SAMPLE,4353,PointID,PointID,Depth,Depth,SampleNo,SampleNo"}))
        << "the partial relation is left out: the link table's key does not fit it either";
}

TEST_F(Relations, ServerRelationsReadAsTheirProjectFileTwins) {
    testing::MariaDbEnterpriseDb site;
    testing::BuildEnterpriseProject(site, true);
    auto& cn = site.cn.Engine();
    cn.Execute(
        "CREATE TABLE POINT (vORNProjectID INT NOT NULL, PointID VARCHAR(20) NOT NULL, "
        "PRIMARY KEY (vORNProjectID, PointID))");
    cn.Execute(
        "ALTER TABLE SAMPLE ADD CONSTRAINT FK_PS FOREIGN KEY (vORNProjectID, PointID) "
        "REFERENCES POINT (vORNProjectID, PointID) ON UPDATE CASCADE ON DELETE CASCADE");
    cn.Execute("CREATE TABLE OWNER (OwnerID INT PRIMARY KEY)");
    cn.Execute("ALTER TABLE PROJECT ADD OwnerID INT");
    cn.Execute(
        "ALTER TABLE PROJECT ADD CONSTRAINT FK_OP FOREIGN KEY (OwnerID) REFERENCES OWNER "
        "(OwnerID)");
    auto server = site.Open();
    std::vector<std::string> definitions;
    worker.RelationsGetIDAO(server->Relations(), definitions);
    EXPECT_EQ(definitions, std::vector<std::string>{"FK_PS,POINT,SAMPLE,4352,PointID,PointID"})
        << "vORNProjectID pairs vanish; a relation to PROJECT as child is not read";

    // Made in the project file, it is the relation a key relation would be.
    worker.RelationsAdd(*db, definitions, false, counter);
    EXPECT_EQ(Design(), std::vector<std::string>{"FK_PS:POINT,SAMPLE,4352,PointID,PointID"});
    auto again = DefsFor("POINT", "SAMPLE");
    worker.RelationsAdd(*db, again, false, counter);
    EXPECT_EQ(Design().size(), 1u) << "the key relation exists already";

    const auto serverRelations = site.cn.Relations();
    const auto fkPs = std::find_if(serverRelations.begin(), serverRelations.end(),
                                   [](const DalRelation& r) { return r.Name() == "FK_PS"; });
    ASSERT_NE(fkPs, serverRelations.end());
    clsRelation fromServer;
    fromServer.LoadDAL(*fkPs);
    ASSERT_EQ(fromServer.FieldCount(), 2);
    EXPECT_EQ(fromServer.Fields().Item(2)->ForeignName, "PointID");
    server->Close();
}

TEST_F(Relations, DefinitionsOfAJetRelationReadEitherWay) {
    auto nwind = DaoEngine().OpenDatabase(testing::JetFixture("nwind.mdb"), 4, true);
    auto shippers = nwind->Relations().Item("ShippersOrders");
    EXPECT_EQ(CRelation::RelationDefFnS(*shippers), "Shippers,Orders,0,ShipperID,ShipVia");
    EXPECT_EQ(CRelation::RelationDefReversedFnS(*shippers), "Shippers,Orders,0,ShipVia,ShipperID");
    clsRelation cached;
    cached.LoadDAO(*shippers);
    EXPECT_EQ(cached.Fields().Item(1)->ForeignName, "ShipVia");
    nwind->Close();
}

}  // namespace
}  // namespace vorn
