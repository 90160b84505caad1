// Relation definitions, names, the link table repair, and the relation cache.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "model/CRelation.h"
#include "model/ModelTestSupport.h"
#include "model/clsRelation.h"

namespace vorn {
namespace {

using testing::FailureNumber;
using testing::FieldSpec;
using testing::kDel;
using testing::MakeTable;
using Strings = std::vector<std::string>;

class Relations : public testing::SampleProjectTest {
  protected:
    void SetUp() override {
        SampleProjectTest::SetUp();
        // DETAIL hangs below READING, whose key allows repeated depths.
        MakeTable(*db, "DETAIL",
                  {pointId, depth, {"Reading", dao::dbDouble}, {"Item", dao::dbText, 10}},
                  {"PointID", "Depth", "Reading", "Item"});
        MakeTable(*db, "POINTNOTE", {pointId, {"Note", dao::dbText, 40}}, {"PointID"});
    }

    // Each relation as "name:definition", sorted.
    Strings Design() {
        db->Relations().Refresh();
        Strings design;
        for (const auto& relation : db->Relations()) {
            design.push_back(relation->Name() + ":" + CRelation::RelationDefFnS(*relation));
        }
        std::sort(design.begin(), design.end());
        return design;
    }
    Strings DefsFor(const std::string& parent, const std::string& child) {
        Strings definitions;
        worker.RelationDefAdd(*db, definitions, parent, child);
        return definitions;
    }

    const FieldSpec pointId{"PointID", dao::dbText, 20};
    const FieldSpec depth{"Depth", dao::dbDouble};
    CRelation worker;
    std::int32_t counter = 0;
};

TEST_F(Relations, KeyRelationsPairTheKeysAndMarkEqualLevelsOneToOne) {
    EXPECT_EQ(DefsFor("POINT", "SAMPLE"), Strings{",POINT,SAMPLE,4352,PointID,PointID"});
    EXPECT_EQ(DefsFor("POINT", "POINTNOTE"), Strings{",POINT,POINTNOTE,4353,PointID,PointID"});
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
    Strings definitions = {",point,sample,4352,pointid,pointid",
                           std::string(65, 'N') + ",POINT,POINTNOTE,4353,PointID,PointID",
                           fitting + ",POINT,DETAIL,4352,PointID,PointID"};
    worker.RelationsAdd(*db, definitions, false, counter);
    EXPECT_EQ(Design(), (Strings{fitting + ":POINT,DETAIL,4352,PointID,PointID",
                                 "REL0002:POINT,SAMPLE,4352,PointID,PointID",
                                 "REL0003:POINT,POINTNOTE,4353,PointID,PointID"}));
    EXPECT_EQ(counter, 3);

    // The same relation under another name exists and is skipped.
    definitions = {"OTHER,POINT,SAMPLE,4352,PointID,PointID"};
    worker.RelationsAdd(*db, definitions, false, counter);
    EXPECT_EQ(Design().size(), 3u);

    // Any other failure is reported, naming the relation, and raised.
    definitions = {"BAD,POINT,SAMPLE,4352,PointID,NoSuchField"};
    EXPECT_EQ(FailureNumber([&] { worker.RelationsAdd(*db, definitions, false, counter); }),
              errnum::kJetItemNotFound);
    ASSERT_EQ(Recorded().Messages().size(), 1u);
    EXPECT_NE(Recorded().Messages()[0].text.find("'BAD'"), std::string::npos);
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
    EXPECT_EQ(testing::Column(*db, "SELECT Count(*) FROM [" + link + "]"), Strings{"3"});
    const std::string pairs = ",PointID,PointID,Depth,Depth,Reading,Reading";
    EXPECT_EQ(Design(), (Strings{"REL0001:" + link + ",DETAIL,4352" + pairs,
                                 "REL0002:" + link + ",READING,4353" + pairs}));

    // A repeat of the repair uses the link table as it stands.
    EXPECT_EQ(worker.LinkTableRepair(*db, "READING", counter, "VORNINDEX"), link);
    EXPECT_EQ(worker.LinkTableRepair(*db, link, counter, "VORNINDEX"), link) << "its own link";
    EXPECT_EQ(Design().size(), 2u);
    EXPECT_EQ(UserTab().ParentFromLinkFnS(db->Relations().Item("REL0001")->Table()), "READING");
}

TEST_F(Relations, TheRepairMovesTheParentsChildrenOntoTheLinkTable) {
    // SAMPLE's key is unique, so a relation on a part of it is refused and
    // SAMPLE's children move to its link table.
    MakeTable(*db, "SAMPLEPART",
              {pointId, depth, {"SampleNo", dao::dbText, 10}, {"Part", dao::dbLong}},
              {"PointID", "Depth", "SampleNo", "Part"});
    Strings definitions = DefsFor("SAMPLE", "SAMPLEPART");
    definitions.push_back("PARTIAL,SAMPLE,DETAIL,4352,PointID,PointID,Depth,Depth");
    worker.RelationsAdd(*db, definitions, false, counter);

    const std::string link = kDel + "SAMPLELINK";
    const std::string pairs = ",PointID,PointID,Depth,Depth,SampleNo,SampleNo";
    EXPECT_EQ(Design(), (Strings{"REL0001:" + link + ",SAMPLEPART,4352" + pairs,
                                 "REL0002:" + link + ",SAMPLE,4353" + pairs}))
        << "the partial relation is left out: the link table's key does not fit it either";
}

TEST_F(Relations, ServerAndJetRelationsReadAsTheirProjectFileTwins) {
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
    Strings definitions;
    worker.RelationsGetIDAO(server->Relations(), definitions);
    EXPECT_EQ(definitions, Strings{"FK_PS,POINT,SAMPLE,4352,PointID,PointID"})
        << "vORNProjectID pairs vanish; a relation to PROJECT as child is not read";
    // Made in the project file, it is the relation a key relation would be.
    worker.RelationsAdd(*db, definitions, false, counter);
    auto again = DefsFor("POINT", "SAMPLE");
    worker.RelationsAdd(*db, again, false, counter);
    EXPECT_EQ(Design(), Strings{"FK_PS:POINT,SAMPLE,4352,PointID,PointID"});

    const auto serverRelations = site.cn.Relations();
    const auto fkPs = std::find_if(serverRelations.begin(), serverRelations.end(),
                                   [](const DalRelation& r) { return r.Name() == "FK_PS"; });
    ASSERT_NE(fkPs, serverRelations.end());
    clsRelation fromServer;
    fromServer.LoadDAL(*fkPs);
    ASSERT_EQ(fromServer.FieldCount(), 2);
    EXPECT_EQ(fromServer.Fields().Item(2)->ForeignName, "PointID");
    server->Close();

    auto nwind = testing::OpenNwind();
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
