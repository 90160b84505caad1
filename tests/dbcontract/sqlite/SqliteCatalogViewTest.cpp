#include "dbcontract/sqlite/SqliteCatalogView.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "dbcontract/DaoConstants.h"
#include "dbcontract/sqlite/SqliteAttachments.h"
#include "dbcontract/sqlite/SqliteCatalog.h"
#include "dbcontract/sqlite/SqliteHandle.h"
#include "dbcontract/sqlite/SqliteProjectFile.h"
#include "dbcontract/sqlite/SqliteRowOpener.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using namespace dao;

TEST(SqliteCatalogViewTest, TablesQueriesAndOtherFilesAreFoundIgnoringCase) {
    testing::TempFolder folder;
    const auto path = (folder / "p.vpf").string();
    {
        auto db = SqliteProjectFile::Create(path, "");
        TableInfo site;
        site.name = "Site";
        FieldInfo name;
        name.name = "Name";
        name.type = dbText;
        name.size = 20;
        FieldInfo depth;
        depth.name = "Depth";
        depth.type = dbCurrency;
        site.fields = {name, depth};
        db->CreateTable(site);
        db->CreateQuery({"Deep", "SELECT Name, Depth * 2 AS Twice FROM Site"});
        db->CreateQuery({"Wipe", "DELETE FROM Site"});
    }
    const SqliteHandle db(path, SQLITE_OPEN_READONLY);
    SqliteAttachments attachments(db, true);
    const SqliteCatalog catalog(db);
    const SqliteRowOpener rows(db, attachments, catalog);
    db.Exec("CREATE TEMP VIEW \"Deep\" AS SELECT Name, Depth * 2 AS Twice FROM Site");
    const SqliteCatalogView view(catalog, rows);

    ASSERT_TRUE(view.FindTable("SITE").has_value());
    EXPECT_EQ(view.FindTable("SITE")->fields[1].type, dbCurrency);
    EXPECT_FALSE(view.IsQuery("site"));
    const auto deep = view.FindTable("deep");
    ASSERT_TRUE(deep.has_value());
    EXPECT_TRUE(view.IsQuery("deep"));
    ASSERT_EQ(deep->fields.size(), 2u);
    EXPECT_EQ(deep->fields[0].type, dbText);
    EXPECT_EQ(deep->fields[0].sourceField, "Name");
    EXPECT_TRUE(view.FindTable("Wipe")->fields.empty());
    EXPECT_EQ(view.FindTable("msysvorninfo")->attributes, dbSystemObject);
    EXPECT_FALSE(view.FindTable("Nothing").has_value());
    EXPECT_EQ(view.FindTableIn(path, "site")->name, "Site");
    EXPECT_FALSE(view.FindTableIn((folder / "none.vpf").string(), "Site").has_value());
}

}  // namespace
}  // namespace vorn
