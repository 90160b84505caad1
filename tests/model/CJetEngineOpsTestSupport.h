#pragma once

// Helpers of the CJetEngineOps tests: the session objects the class reaches,
// and enterprise databases on the two real engines (SQLite files in a temp
// folder, the throwaway MariaDB server of the test run).

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>
#include <unistd.h>

#include "dbcontract/DalConnection.h"
#include "dbcontract/DalSession.h"
#include "dbcontract/IdaoEngine.h"
#include "dbcontract/ProviderRules.h"
#include "foundation/CAx0.h"
#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "model/CJetEngineOps.h"
#include "model/CUserTableOps.h"
#include "model/CVornIndex.h"
#include "runtime/ErrorRecord.h"
#include "runtime/SessionSlot.h"
#include "support/TestSupport.h"

namespace vorn::testing {

// The session objects CJetEngineOps calls; made once, kept for the run.
inline void MakeJetOpsSession() {
    SessionSlot<CAx0>::Make(std::make_unique<CAx0>());
    SessionSlot<CTextString>::Make(std::make_unique<CTextString>());
    SessionSlot<CFile>::Make(std::make_unique<CFile>());
    SessionSlot<CJetEngineOps>::Make(std::make_unique<CJetEngineOps>());
    SessionSlot<CUserTableOps>::Make(std::make_unique<CUserTableOps>());
    SessionSlot<DalSession>::Make(std::make_unique<DalSession>());
    SessionSlot<CVornIndex>::Make(std::make_unique<CVornIndex>());
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
    SqliteEnterpriseDb() {
        DalConnection system;
        system.SetProviderType(provider::kSqlite);
        system.SetConnectString(system.BuildConnectString(folder_.path().string()));
        std::string why;
        EXPECT_TRUE(system.CreateDatabase("site", why)) << why;
        cn.SetProviderType(provider::kSqlite);
        cn.SetConnectString(cn.BuildConnectString(folder_.path().string(), "site"));
        idaoConnect = "SQLITE; " + cn.ConnectString();
    }

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
            ADD_FAILURE() << "VORN_TEST_MARIADB_SOCKET is not set: run through ctest, which starts the server";
            return;
        }
        static std::atomic<int> counter{0};
        database_ = "vorn_hops" + std::to_string(::getpid()) + "_" + std::to_string(counter++);
        system_.SetProviderType(provider::kMySql);
        system_.SetConnectString(system_.BuildConnectString(socket, "information_schema", "root", ""));
        std::string why;
        EXPECT_TRUE(system_.CreateDatabase(database_, why)) << why;
        cn.SetProviderType(provider::kMySql);
        cn.SetConnectString(cn.BuildConnectString(socket, database_, "root", ""));
        idaoConnect = "MYSQL; " + cn.ConnectString();
    }
    ~MariaDbEnterpriseDb() override {
        cn.Close();
        if (!database_.empty()) IgnoreErrors([&] { system_.Execute("DROP DATABASE " + system_.QuoteName(database_)); });
    }

  private:
    DalConnection system_;
    std::string database_;
};

// One empty enterprise database on each engine.
struct EnterpriseServers {
    SqliteEnterpriseDb sqlite;
    MariaDbEnterpriseDb mariadb;
    std::vector<EnterpriseDb*> All() { return {&sqlite, &mariadb}; }
};

}  // namespace vorn::testing
