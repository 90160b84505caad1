// CJetEngineOps: SQL literals, statement builders, the table-dot-field spec,
// and running a statement on either kind of database.

#include <string>

#include "dbcontract/DalSession.h"
#include "dbcontract/DaoConstants.h"
#include "foundation/CAx0.h"
#include "model/CJetEngineOps.h"
#include "model/CJetEngineOpsInternal.h"
#include "model/CUserTableOps.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorRecord.h"
#include "runtime/Format.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

// The literal of `value` between `delim`s; `dateFormat` writes a date.
std::string Literal(std::string_view psValue, std::string_view psDelim, std::string_view dateFormat) {
    std::string value(psValue);
    std::string delim(psDelim);
    if (delim == "\"" && (value.find('"') != std::string::npos || value.find("<<]") != std::string::npos)) {
        delim = "'";
    }
    if (delim == "'") {
        // A "<<LOOKUP" token is resolved by the host later and must reach it
        // as written.
        if (!value.starts_with("<<LOOKUP")) value = utf8::Replace(value, "'", "''");
    } else if (delim == "#") {
        // "2004-05-06T10:00:00" parses once the T is a blank; any other word
        // with a T loses it too, which is accepted.
        value = utf8::Replace(value, "T", " ");
        value = utf8::Replace(value, "t", " ");
        if (IsDate(Variant(value))) value = Format(CVDate(Variant(value)), dateFormat);
    } else if (delim.empty() && value.empty()) {
        value = "Null ";
    }
    return delim + value + delim;
}

// The drawing page table, bracketed: its name begins with the character of
// code 127 that hides a table from the user.
const std::string& PageTableName() {
    static const std::string name = "[\x7fGIDPAGE]";
    return name;
}

}  // namespace

std::string CJetEngineOps::WhereFieldFnS(std::string_view psValue, std::string_view psDelim) const {
    return Literal(psValue, psDelim, "yyyy/mm/dd hh:nn:ss");
}

std::string CJetEngineOps::WhereField2FnS(std::string_view psValue, std::string_view psDelim) const {
    return Literal(psValue, psDelim, "MM/dd/yyyy hh:mm:ss AM/PM");
}

std::string CJetEngineOps::InsertIntoSqlFnS(std::string_view psDestTable, std::string_view psFields,
                                            std::string_view psSourceTable, std::string_view psWhere,
                                            std::string_view psInFile) const {
    // No blank before SELECT: the closing bracket of the target ends it.
    std::string sql = "INSERT INTO " + jetops::Bracketed(psDestTable) + "SELECT " + std::string(psFields) + " FROM " +
                      jetops::Bracketed(psSourceTable);
    if (!psInFile.empty()) sql += Ax().FilenameInSQLFnS(psInFile);
    if (!psWhere.empty()) sql += " WHERE " + std::string(psWhere);
    return sql;
}

std::string CJetEngineOps::PageTypeSqlFnS(std::string_view psFieldNames, const Variant& pvPageType,
                                          std::string_view psPageName) const {
    const std::string pageType = CStr(pvPageType);
    std::string sql = utf8::Replace(pageType.find(',') != std::string::npos ? " WHERE ([PageType] IN(<<>>))"
                                                                            : " WHERE ([PageType]=<<>>)",
                                    "<<>>", pageType);
    if (!psFieldNames.empty()) sql = "SELECT " + std::string(psFieldNames) + " FROM " + PageTableName() + sql;
    if (psPageName == kNoPageName) return sql;
    std::string test = "([Name]=" + WhereFieldFnS(psPageName, "'") + ")";
    // A page saved without a name may carry the placeholder name instead.
    if (psPageName.empty()) test = "(" + test + " OR ([Name]=" + WhereFieldFnS(">Unnamed<", "'") + "))";
    return sql + " AND " + test;
}

void CJetEngineOps::ExecuteSql(std::string_view pvsSql, Database& pdbTarget) {
    try {
        std::shared_ptr<DalConnection> connection = TheDalSession().ConnectionFor(pdbTarget.Connect());
        if (!connection) {
            pdbTarget.Execute(std::string(pvsSql));
            return;
        }
        connection->Execute(pvsSql);
        connection->Close();
    } catch (...) {
        Err() = ErrorRecord::FromCurrentException();
        jetops::LogFailure("CJetEngineOps.ExecuteSql");
        throw;
    }
}

std::string CJetEngineOps::TableFromFieldSpecFnS(std::string_view psFieldSpec) const {
    std::string fieldSpec(psFieldSpec);
    Ax().RemoveFieldDelim(fieldSpec);
    return std::string(utf8::LTrim(std::string_view(fieldSpec).substr(0, fieldSpec.find('.'))));
}

std::string CJetEngineOps::FieldFromFieldSpecFnS(std::string_view psFieldSpec) const {
    if (psFieldSpec.find('.') == std::string_view::npos) return {};
    return jetops::SplitOn(psFieldSpec, ".")[1];
}

bool CJetEngineOps::DataFieldValidFnB(std::string& psSource, Database& pdbSource, std::string* psMesg,
                                      bool pbReturnTableDotField, bool pbReturnUnchanged) {
    // A "<<TAB!" token names a table reference, no field.
    if (psSource.find('.') == std::string::npos ||
        ("<<" + utf8::ToUpper(psSource)).find("<<TAB!") != std::string::npos) {
        return false;
    }
    std::string fieldSpec = psSource;
    Ax().RemoveFieldDelim(fieldSpec);
    const std::vector<std::string> parts = jetops::SplitOn(fieldSpec, ".");
    const std::string& table = parts[0];
    const std::string& field = parts[1];
    // The query returns no rows; it only proves that the names exist.
    const bool valid = TryStep([&] {
        auto rows = pdbSource.OpenRecordset(
            "SELECT " + jetops::Bracketed(field) + " FROM " + jetops::Bracketed(table) + " WHERE 0=1",
            dao::dbOpenDynaset, OpenRecordsetOptions(pdbSource));
        rows->Close();
    });
    if (valid) {
        if (pbReturnTableDotField) {
            psSource = Ax().BracketedTableFieldFnS(table, field);
        } else if (!pbReturnUnchanged) {
            psSource = table;
        }
        return true;
    }
    const std::int32_t number = Err().number;
    Err().Clear();
    if (psMesg != nullptr) {
        if (number == errnum::kJetInputTableNotFound) {
            *psMesg = jetops::Text(4127, {UserTab().TableAliasFnS(Ax().RemoveBracketsFnS(table))});
        } else if (number == errnum::kJetTableNotFound) {
            *psMesg = jetops::Text(4128, {field});
        }
    }
    return false;
}

}  // namespace vorn
