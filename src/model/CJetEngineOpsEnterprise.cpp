// CJetEngineOps: how a database is recognised as enterprise, the names of
// servers, databases and owned tables, and the project identification.

#include <string>

#include "dbcontract/DBEngine.h"
#include "dbcontract/DaoConstants.h"
#include "dbcontract/IdaoEngine.h"
#include "dbcontract/ProviderRules.h"
#include "foundation/CAx0.h"
#include "model/CJetEngineOps.h"
#include "model/CJetEngineOpsInternal.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorRecord.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

constexpr std::string_view kNameSeparator = ": ";

}  // namespace

// A project file's Connect is empty; an enterprise database's names its
// database ("...;Database=...;").
bool CJetEngineOps::IsEnterpriseDBFnB(Database& pdb) const { return IsEnterpriseDBFnB(&pdb); }

bool CJetEngineOps::IsEnterpriseDBFnB(const Database* pdb) const {
    bool enterprise = false;
    if (pdb != nullptr) IgnoreErrors([&] { enterprise = utf8::InStr(1, pdb->Connect(), "database", true) > 0; });
    return enterprise;
}

bool CJetEngineOps::IsEnterpriseNameFnB(std::string_view psName, std::string* psServerName,
                                        std::string* psDBName) const {
    if (psName.empty()) return false;
    const std::vector<std::string> parts = jetops::SplitOn(psName, kNameSeparator);
    if (parts.size() != 2) return false;
    if (psServerName != nullptr) *psServerName = parts[0];
    if (psDBName != nullptr) *psDBName = parts[1];
    return true;
}

std::string CJetEngineOps::MakeEnterpriseNameFnS(std::string_view psServer, std::string_view psDatabase) const {
    if (psServer.empty() || psDatabase.empty()) return std::string(psServer) + std::string(psDatabase);
    return std::string(psServer) + std::string(kNameSeparator) + std::string(psDatabase);
}

std::string CJetEngineOps::EntBaseTableNameFnS(std::string_view pvsTDName) const {
    const std::size_t dot = pvsTDName.rfind('.');
    return std::string(dot == std::string_view::npos ? pvsTDName : pvsTDName.substr(dot + 1));
}

std::shared_ptr<Database> CJetEngineOps::OpenEnterpriseDbFnDB(std::string_view pvsConnectString) {
    try {
        std::shared_ptr<Database> database;
        // An IDAO connect string opens through the enterprise engine; any
        // other goes to the data access objects, which take ODBC strings.
        const std::string_view tag = pvsConnectString.substr(0, pvsConnectString.find(';'));
        if (ProviderFromTag(tag) != 0) {
            database = IdaoEngine().OpenDatabase("", 0, false, pvsConnectString);
        } else {
            database = DaoEngine().OpenDatabase("", dao::dbDriverNoPrompt, false, std::string(pvsConnectString));
        }
        auto data = std::make_shared<clsEnterpriseDbData>();
        enterpriseDbData_ = data;
        data->DatabaseInit(*database);
        return database;
    } catch (...) {
        Err() = ErrorRecord::FromCurrentException();
        jetops::LogFailure("CJetEngineOps.OpenEnterpriseDbFnDB");
        throw;
    }
}

bool CJetEngineOps::IsMultiProjectDBFnB(Database& pdb) {
    if (!FieldExistInDatabaseFnB(pdb, Ax().BracketedTableFieldFnS("POINT", "vORNProjectID"))) return false;
    auto rows = pdb.OpenRecordset(std::string("SELECT Count(*) ") + " FROM " + "[PROJECT]");
    const std::int32_t projects = rows->Eof() ? 0 : CLng(rows->Fields().Item(0)->Value());
    rows->Close();
    return projects > 1;
}

std::string CJetEngineOps::EnterpriseCurrUserProjectID(Database& pdbSource, std::int32_t plVornProjectID) {
    if (!IsEnterpriseDBFnB(pdbSource)) return {};
    // The names come from the database opened last; a database reached
    // another way reads its own.
    std::shared_ptr<clsEnterpriseDbData> data = enterpriseDbData_;
    if (!data) {
        data = std::make_shared<clsEnterpriseDbData>();
        data->DatabaseInit(pdbSource);
    }
    const std::string sql = "SELECT " + jetops::Bracketed(data->IdentifierFieldName) + " FROM " + "PROJECT" +
                            " WHERE " + "vORNProjectID" + "=" + std::to_string(plVornProjectID);
    auto rows = pdbSource.OpenRecordset(sql, dao::dbOpenDynaset, dao::dbSeeChanges);
    std::string id;
    if (!rows->Eof()) id = FieldDataToStringFnS(*rows->Fields().Item(0));
    rows->Close();
    return id;
}

std::int16_t ProviderFromOdbcDriverFnI(std::string_view psDriver) {
    if (utf8::EqualsIgnoreCase(psDriver, "SQL Server")) return provider::kSqlServer;
    if (utf8::EqualsIgnoreCase(psDriver, "Microsoft ODBC for Oracle")) return provider::kOracle;
    return 0;
}

}  // namespace vorn
