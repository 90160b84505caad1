#include "model/clsEnterpriseDbData.h"

#include "dbcontract/DaoConstants.h"
#include "dbcontract/Database.h"
#include "foundation/CAx0.h"
#include "foundation/CFile.h"
#include "model/CJetEngineOps.h"
#include "model/CJetEngineOpsInternal.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorRecord.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

constexpr std::string_view kMark = "<<>>";

// Replaces the first "<<>>" of `text` by `value`.
void FillMark(std::string& text, std::string_view value) {
    const std::size_t at = text.find(kMark);
    if (at != std::string::npos) text.replace(at, kMark.size(), value);
}

}  // namespace

clsEnterpriseDbData::~clsEnterpriseDbData() { RecordClassEnd("clsEnterpriseDbData"); }

void clsEnterpriseDbData::DatabaseInit(Database& pdbSource) {
    try {
        if (!JetOps().TabledefExistFnB(pdbSource, "WH_UpsizeInfo")) return;
        auto rows = pdbSource.OpenRecordset(
            "SELECT [ProjectUniqueID],[ProjectDescription],[ProjectUniqueID]+','+[ProjectDescription] FROM "
            "WH_UpsizeInfo");
        // Read all three before keeping any: a failure leaves the members.
        std::string id;
        std::string description;
        std::string both;
        if (!rows->Eof()) {
            CJetEngineOps& ops = JetOps();
            id = ops.FieldDataToStringFnS(*rows->Fields().Item(0));
            description = ops.FieldDataToStringFnS(*rows->Fields().Item(1));
            both = ops.FieldDataToStringFnS(*rows->Fields().Item(2));
            // An empty column leaves its comma behind.
            Ax().TrimCommas(both);
        }
        rows->Close();
        IdentifierFieldName = id;
        DescriptionFieldName = description;
        IDAndDescription = both;
    } catch (...) {
        Err() = ErrorRecord::FromCurrentException();
        jetops::LogFailure("clsEnterpriseDbData.Database(Let)");
        Err().Clear();
    }
}

namespace {

std::string SelectionList(const std::string& idAndDescription) {
    const std::string columns = idAndDescription.empty() ? "vORNProjectID" : idAndDescription + ",vORNProjectID";
    return Ax().AddBracketsToListFnS(columns);
}

}  // namespace

std::string clsEnterpriseDbData::ProjectSelectionSQL() const {
    const std::string f = jetops::Bracketed(IdentifierFieldName);
    return "SELECT " + SelectionList(IDAndDescription) + " FROM " + "[PROJECT]" + " ORDER BY " +
           jetops::ServerSortForm(f, f);
}

std::string clsEnterpriseDbData::ProjectSelectionSQLDAO() const {
    return "SELECT " + SelectionList(IDAndDescription) + " FROM " + "[PROJECT]" + " ORDER BY " +
           jetops::JetSelectionSortForm(jetops::Bracketed(IdentifierFieldName));
}

void clsEnterpriseDbData::SqlExpressions(std::string_view psTable, std::string_view psSortField,
                                         std::string_view psProjectAlias, std::string& psProjectIDExpression,
                                         std::string& psOrderBy) const {
    std::string text = "(SELECT <<>> FROM [PROJECT] WHERE [PROJECT].vORNProjectID=<<>>.[vORNProjectID]) <<>>";
    FillMark(text, jetops::Bracketed(IdentifierFieldName));
    FillMark(text, jetops::Bracketed(psTable));
    psOrderBy = text.substr(0, text.find(')') + 1) + "," + jetops::Bracketed(psSortField);
    FillMark(text, psProjectAlias);
    psProjectIDExpression = "vORNProjectID," + text;
}

std::string clsEnterpriseDbData::UniqueIDSQL(std::string_view psReplaceKey) const {
    std::string expression;
    std::string orderBy;
    SqlExpressions(psReplaceKey.substr(0, psReplaceKey.find('.')), psReplaceKey, psReplaceKey, expression,
                   orderBy);
    std::string sql = expression.substr(expression.find(',') + 1);
    if (IsNumeric(Variant(psReplaceKey))) {
        // A project number: the sub-select becomes a plain select of that
        // project's row.
        sql.erase(0, 1);
        std::vector<std::string> parts = jetops::SplitOn(sql, "=");
        if (parts.size() > 1) parts[1] = std::string(psReplaceKey);
        sql = parts[0];
        for (std::size_t i = 1; i < parts.size(); ++i) sql += "=" + parts[i];
    }
    return sql;
}

std::string clsEnterpriseDbData::UniqueID(Database& pdbSource, std::int32_t plProjectID) const {
    std::string id;
    IgnoreErrors([&] {
        auto rows = pdbSource.OpenRecordset(UniqueIDSQL(std::to_string(plProjectID)), dao::dbOpenSnapshot);
        if (!rows->Eof()) id = JetOps().FieldDataToStringFnS(*rows->Fields().Item(0));
        rows->Close();
    });
    return id;
}

std::string clsEnterpriseDbData::ProjIDPointIDConcatenation(std::string_view psDelim) const {
    return "CONVERT(VARCHAR(12),[vORNProjectID])" + utf8::Replace(" +','+ ", ",", psDelim) + "[PointID]";
}

}  // namespace vorn
