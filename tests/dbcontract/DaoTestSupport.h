#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "dbcontract/DBEngine.h"
#include "dbcontract/DalConnection.h"
#include "dbcontract/ProviderRules.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn::testing {

inline const char* kJetLocale = ";LANGID=0x0409;CP=1252;COUNTRY=0";

// A new project file in a temp folder, made through the engine.
struct NewProject {
    TempFolder folder;
    std::string path = (folder / "project.vpj").string();
    std::shared_ptr<Database> db = DaoEngine().CreateDatabase(path, kJetLocale);

    ~NewProject() {
        if (db && db->IsOpen()) db->Close();
    }

    // Closes the file and opens it again.
    void Reopen(bool readOnly = false) {
        db->Close();
        db = DaoEngine().OpenDatabase(path, 0, readOnly);
    }
};

// Makes the SQLite enterprise database `name` in `folder`, attaches `cn` to
// it, and gives the database's IDAO connect string. A database that cannot
// be made fails the test.
inline std::string NewSqliteEnterpriseDatabase(const TempFolder& folder, const std::string& name,
                                               DalConnection& cn) {
    DalConnection system;
    system.SetProviderType(provider::kSqlite);
    system.SetConnectString(system.BuildConnectString(folder.path().string()));
    std::string why;
    EXPECT_TRUE(system.CreateDatabase(name, why)) << why;
    system.Close();
    cn.SetProviderType(provider::kSqlite);
    cn.SetConnectString(cn.BuildConnectString(folder.path().string(), name));
    return "SQLITE; " + cn.ConnectString();
}

}  // namespace vorn::testing
