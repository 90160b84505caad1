#include "model/CJetEngineOpsRecordLinks.h"

#include "dbcontract/DalSession.h"
#include "dbcontract/DaoConstants.h"
#include "model/CJetEngineOps.h"
#include "model/CJetEngineOpsInternal.h"
#include "model/CVornIndex.h"
#include "runtime/Conversions.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

// Why one link failed, or "" when its row is there.
std::string LinkFailure(Database& db, std::string_view line, const std::string& projectSuffix) {
    const std::size_t bang = line.find('!');
    const std::string table(line.substr(0, bang));
    const std::string key(bang == std::string_view::npos ? std::string_view() : line.substr(bang + 1));
    if (!JetOps().TabledefExistFnB(db, table)) return jetops::Text(3961, {jetops::Text(4103)});
    const std::string keys = TheIndex().VornIndexFieldsFnS(*db.TableDefs().Item(table), kfoAllFields, &db);
    // Jet joins text with "&"; a server reads that as a bitwise and, so
    // there each key is converted to text and joined with "+".
    const std::string keyExpression =
        projectSuffix.empty()
            ? "[" + utf8::Replace(keys, ",", "] & ',' & [") + "]"
            : "CONVERT(VARCHAR(255),[" + utf8::Replace(keys, ",", "])+','+CONVERT(VARCHAR(255),[") + "])";
    // The key text is quoted as a literal so that a quote inside it cannot
    // end the statement early.
    const std::string sql = "SELECT Count(*) FROM " + jetops::Bracketed(table) + " WHERE " + keyExpression + "=" +
                            JetOps().WhereFieldFnS(key + projectSuffix, "'");
    auto rows = db.OpenRecordset(sql, dao::dbOpenSnapshot, dao::dbReadOnly);
    const bool found = !rows->Eof() && CLng(rows->Fields().Item(0)->Value()) != 0;
    rows->Close();
    return found ? std::string() : jetops::Text(3961, {jetops::Text(4897)});
}

}  // namespace

bool RecordLinkCheckFailedFnB(Database& pdbCurr, std::string_view psRecordLinkData, std::string& psMesg) {
    psMesg.clear();
    if (psRecordLinkData.empty()) return false;
    const std::string projectSuffix =
        JetOps().IsEnterpriseDBFnB(pdbCurr) ? "," + std::to_string(TheDalSession().CurrentProjectID()) : "";
    for (std::string line : jetops::SplitOn(psRecordLinkData, "\n")) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty()) continue;
        const std::string failure = LinkFailure(pdbCurr, line, projectSuffix);
        if (!failure.empty()) psMesg += "\r\n" + line + ": " + failure;
    }
    return !psMesg.empty();
}

}  // namespace vorn
