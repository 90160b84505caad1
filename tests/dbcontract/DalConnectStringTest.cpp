#include <gtest/gtest.h>

#include <cstdlib>

#include "dbcontract/ConnectionTarget.h"
#include "dbcontract/DalConnection.h"
#include "dbcontract/ProviderRules.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

// Each BuildConnectString form on each provider, and what the connect
// string gives back when it is parsed again.
struct BuildCase {
    std::int16_t provider;
    int form;  // number of arguments
    std::string expected;
};

class BuildConnectStringTest : public ::testing::TestWithParam<BuildCase> {};

TEST_P(BuildConnectStringTest, GivesTheFormAndParsesBack) {
    const BuildCase& c = GetParam();
    DalConnection connection;
    connection.SetProviderType(c.provider);
    std::string built;
    switch (c.form) {
        case 1:
            built = connection.BuildConnectString("srv");
            break;
        case 2:
            built = connection.BuildConnectString("srv", "db");
            break;
        default:
            built = connection.BuildConnectString("srv", "db", "al;ice", "p}w=d");
            break;
    }
    EXPECT_EQ(built, c.expected);
    EXPECT_TRUE(connection.ConnectString().empty()) << "building must not attach";
    if (c.expected.empty()) return;
    const ServerTarget target = ParseConnectText(c.provider, built);
    EXPECT_EQ(target.server, "srv");
    EXPECT_EQ(target.database, c.form >= 2 ? "db" : "");
    EXPECT_EQ(target.user, c.form == 4 ? "al;ice" : "");
    EXPECT_EQ(target.password, c.form == 4 ? "p}w=d" : "");
}

INSTANTIATE_TEST_SUITE_P(
    EveryProviderAndForm, BuildConnectStringTest,
    ::testing::Values(BuildCase{4, 1, "Server=srv;Trusted_Connection=yes;"},
                      BuildCase{4, 2, "Server=srv;Database=db;Trusted_Connection=yes;"},
                      BuildCase{4, 4, "Server=srv;Database=db;Uid={al;ice};Pwd={p}}w=d};"},
                      BuildCase{2, 1, "Server=srv;Trusted_Connection=yes;"},
                      BuildCase{2, 4, "Server=srv;Database=db;Uid={al;ice};Pwd={p}}w=d};"},
                      BuildCase{8, 2, "Server=srv;Database=db;Trusted_Connection=yes;"},
                      BuildCase{8, 4, "Server=srv;Database=db;Uid={al;ice};Pwd={p}}w=d};"},
                      BuildCase{16, 1, "Server=srv;Trusted_Connection=yes;"},
                      BuildCase{16, 2, "Server=srv;Database=db;Trusted_Connection=yes;"},
                      BuildCase{16, 4, "Server=srv;Database=db;Uid={al;ice};Pwd={p}}w=d};"},
                      // An unknown code matches no branch: no connect string at all.
                      BuildCase{0, 1, ""}, BuildCase{3, 2, ""}, BuildCase{99, 4, ""}));

TEST(ParseConnectText, TakesMySqlServerApartAndOtherSpellingsOfKeys) {
    struct Case {
        std::string text;
        std::string host;
        std::uint16_t port;
        std::string socket;
    };
    const Case cases[] = {
        {"Server=db.example;Database=x;", "db.example", 0, ""},
        {"Server=db.example:3307;Database=x;", "db.example", 3307, ""},
        {"SERVER = /tmp/my sock/s.sock ; Database=x", "localhost", 0, "/tmp/my sock/s.sock"},
        {"Data Source=h:99999;Initial Catalog=x", "h:99999", 0, ""},  // no port past 65535
    };
    for (const Case& c : cases) {
        const ServerTarget target = ParseConnectText(provider::kMySql, c.text);
        EXPECT_EQ(target.host, c.host) << c.text;
        EXPECT_EQ(target.port, c.port) << c.text;
        EXPECT_EQ(target.socket, c.socket) << c.text;
        EXPECT_EQ(target.database, "x") << c.text;
    }
}

TEST(ServerTarget, DescribeNeverShowsThePassword) {
    const ServerTarget target =
        ParseConnectText(provider::kMySql, "Server=h;Database=d;Uid=u;Pwd=secret;");
    const std::string text = target.Describe();
    EXPECT_NE(text.find("MySQL (provider 8)"), std::string::npos) << text;
    EXPECT_NE(text.find("'u'"), std::string::npos) << text;
    EXPECT_EQ(text.find("secret"), std::string::npos) << text;
}

// Providers 2 and 4 have no engine yet, and an unknown code none at all:
// each fails at its first statement, naming the provider.
TEST(DalConnection, ProviderWithoutEngineFailsAtFirstStatementNamingIt) {
    const std::pair<std::int16_t, const char*> cases[] = {
        {2, "Oracle (provider 2)"}, {4, "SQL Server (provider 4)"}, {42, "provider 42"}};
    for (const auto& [code, name] : cases) {
        DalConnection connection;
        connection.SetProviderType(code);
        connection.SetConnectString(connection.BuildConnectString("srv", "db"));
        try {
            connection.Execute("SELECT 1");
            ADD_FAILURE() << "provider " << code << " ran a statement";
        } catch (const VornError& e) {
            EXPECT_EQ(e.Number(), errnum::kDalGenericFailure);
            EXPECT_NE(e.Description().find(name), std::string::npos) << e.Description();
        }
    }
}

TEST(DalConnection, QuoteNameEscapesEachProvidersQuote) {
    const std::string name = "a]b`c\"d";
    const std::pair<std::int16_t, std::string> cases[] = {
        {4, "[a]]b`c\"d]"}, {8, "`a]b``c\"d`"}, {2, "\"a]b`c\"\"d\""}, {16, "\"a]b`c\"\"d\""}};
    for (const auto& [code, quoted] : cases) {
        DalConnection connection;
        connection.SetProviderType(code);
        EXPECT_EQ(connection.QuoteName(name), quoted) << "provider " << code;
    }
}

TEST(ProviderRules, SqliteTakesSqlServersBranchEverywhereAndKeepsItsTag) {
    for (const auto decision :
         {ProviderDecision::kAttach, ProviderDecision::kEnterpriseDatabaseTest,
          ProviderDecision::kUpsizeLogTable, ProviderDecision::kLockTables,
          ProviderDecision::kGisView, ProviderDecision::kLinkTablesCreate}) {
        EXPECT_EQ(ProviderBranch(decision, provider::kSqlite), provider::kSqlServer);
        EXPECT_EQ(ProviderBranch(decision, provider::kMySql), provider::kMySql);
        EXPECT_EQ(ProviderBranch(decision, 7), 0);
    }
    EXPECT_EQ(ProviderTag(provider::kSqlite), "SQLITE");
    EXPECT_EQ(ProviderTag(provider::kOracle), "MSORACLE");
    EXPECT_EQ(ProviderFromTag(" sqlserver "), provider::kSqlServer);
    EXPECT_EQ(ProviderFromTag("ODBC"), 0);
}

// ---- Connection targets for users ------------------------------------------

struct UrlCase {
    std::string url;
    std::int16_t provider;
    std::string server;
    std::string database;
    std::string user;
};

class ConnectionTargetUrlTest : public ::testing::TestWithParam<UrlCase> {};

TEST_P(ConnectionTargetUrlTest, MapsOntoProviderServerDatabaseAndUser) {
    const UrlCase& c = GetParam();
    const ConnectionTarget target = ConnectionTarget::FromUrl(c.url);
    EXPECT_EQ(target.provider, c.provider);
    EXPECT_EQ(target.server, c.server);
    EXPECT_EQ(target.database, c.database);
    EXPECT_EQ(target.user, c.user);
    EXPECT_TRUE(target.password.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Forms, ConnectionTargetUrlTest,
    ::testing::Values(UrlCase{"sqlite:/data/site/Harbour.sqlite", 16, "/data/site", "Harbour", ""},
                      UrlCase{"sqlite:/data/site/Harbour", 16, "/data/site", "Harbour", ""},
                      UrlCase{"sqlite:Harbour.sqlite", 16, "", "Harbour", ""},
                      UrlCase{"mysql://ann@db.local/sites", 8, "db.local", "sites", "ann"},
                      UrlCase{"mysql://ann@db.local:3307/sites", 8, "db.local:3307", "sites",
                              "ann"},
                      UrlCase{"mysql://root@localhost/sites?socket=/tmp/x/sock", 8, "/tmp/x/sock",
                              "sites", "root"}));

TEST(ConnectionTarget, RefusesUrlsOfNoKnownFormAndPasswordsInThem) {
    for (const char* url :
         {"postgres://a@b/c", "mysql://ann:pw@h/db", "mysql://h/db", "mysql://a@h/",
          "mysql://a@h/db?port=1", "mysql://a@remote/db?socket=/s", "sqlite:"}) {
        try {
            ConnectionTarget::FromUrl(url);
            ADD_FAILURE() << url << " was accepted";
        } catch (const VornError& e) {
            EXPECT_EQ(e.Number(), errnum::kInvalidProcedureCall) << url;
            EXPECT_EQ(e.Description().find("pw@"), std::string::npos)
                << "the URL quoted with its password";
        }
    }
}

TEST(ConnectionTarget, PasswordComesFromTheEnvironmentElseFromTheQuestion) {
    ConnectionTarget target = ConnectionTarget::FromUrl("mysql://ann@h/db");
    ::unsetenv("VORN_PASSWORD");
    std::string asked;
    target.ResolvePassword([&](std::string_view prompt) {
        asked = std::string(prompt);
        return std::string("typed");
    });
    EXPECT_EQ(target.password, "typed");
    EXPECT_NE(asked.find("ann"), std::string::npos);

    ConnectionTarget fromEnvironment = ConnectionTarget::FromUrl("mysql://ann@h/db");
    ::setenv("VORN_PASSWORD", "from-env", 1);
    fromEnvironment.ResolvePassword([](std::string_view) -> std::string {
        ADD_FAILURE() << "asked although VORN_PASSWORD is set";
        return {};
    });
    ::unsetenv("VORN_PASSWORD");
    EXPECT_EQ(fromEnvironment.password, "from-env");
    EXPECT_EQ(ParseConnectText(8, fromEnvironment.ConnectString()).password, "from-env");
}

}  // namespace
}  // namespace vorn
