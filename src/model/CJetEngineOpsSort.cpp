// Sort expressions that make text holding numbers sort by value, in Jet SQL
// for project files and in the server's dialect for enterprise databases.
// Text compares character by character, so "10" would come before "9";
// each form pads numbers to a fixed width first.

#include <string>

#include "dbcontract/DaoConstants.h"
#include "foundation/CAx0.h"
#include "model/CJetEngineOps.h"
#include "model/CJetEngineOpsInternal.h"
#include "runtime/ErrorRecord.h"

namespace vorn {

namespace jetops {

std::string ServerSortForm(std::string_view f, std::string_view last) {
    const std::string field(f);
    return "CASE WHEN IsNumeric(" + field + ")=1 THEN CASE WHEN CHARINDEX('.'," + field + ")= 0 THEN SPACE(12 - LEN(" +
           field + "))+ " + field + " ELSE " + field + " END ELSE " + std::string(last) + " END";
}

namespace {

// Numbers only: "d" and "e" would let exponent forms ("1E5") through.
std::string JetNumberTest(const std::string& f) { return "ISNUMERIC(" + f + ")AND " + f + " NOT LIKE '*[de]*'"; }

}  // namespace

std::string JetSelectionSortForm(std::string_view f) {
    const std::string field(f);
    return "IIf(" + JetNumberTest(field) + ",IIf(Val(" + field + ")< 0,Format(1/Val(" + field +
           "),'00000000000.00000'),Format(" + field + ",'00000000000.00000'))," + field + ")";
}

}  // namespace jetops

namespace {

std::string JetKeySortForm(const std::string& f, bool dateCheck) {
    const std::string d =
        dateCheck ? "IIf(IsDate(" + f + ") AND Len(" + f + ")>7,Format(" + f + ",'yyyymmddhhnn')," + f + ")" : f;
    // A negative sorts by the reciprocal of its size behind a blank, which
    // puts every negative before the zero-padded positives.
    return "IIf(" + jetops::JetNumberTest(f) + "," + "IIf(Val(" + f + ")< 0" + "," + "Format(1/Abs(Val(" + f + "))" +
           "," + "' 0000000000.00000')" + "," + "Format(" + f + "," + "'00000000000.00000'))" + "," + d + ")";
}

std::string ServerKeySortForm(const std::string& f, bool dateCheck) {
    const std::string e = dateCheck ? "CASE WHEN IsDate(" + f + ")=1 AND (Len(" + f + ")>7) THEN CONVERT(CHAR(8)," +
                                          f + ", 112) ELSE " + f + " END"
                                    : f;
    return jetops::ServerSortForm(f, e);
}

}  // namespace

std::string SortExpressionFnS(std::string_view psFieldSpec, TableDef* ptdSource, Database* pdbSource,
                              std::string_view psTableName, bool pbDateCheck, bool pbServer) {
    std::string f(psFieldSpec);
    if (f.find('\'') == std::string::npos && f.find('"') == std::string::npos) f = Ax().AddBracketsFnS(f);
    bool allDates = false;
    bool noneNumeric = false;
    if (pdbSource != nullptr) IsFormatNeeded(ptdSource, pdbSource, psTableName, f, allDates, noneNumeric);
    if (pbServer) {
        if (allDates) return "CONVERT(CHAR(8), " + f + ", 112)";
        if (noneNumeric) return f;
        return ServerKeySortForm(f, pbDateCheck);
    }
    if (allDates) return "Format(" + f + ",'yyyymmddhhnn')";
    if (noneNumeric) return f;
    return JetKeySortForm(f, pbDateCheck);
}

void IsFormatNeeded(TableDef* ptdSource, Database* pdbSource, std::string_view psTableName,
                    std::string_view psFieldSpec, bool& pbAllDates, bool& pbNoneNumeric) {
    pbAllDates = false;
    pbNoneNumeric = false;
    if (ptdSource == nullptr && pdbSource == nullptr) return;
    std::unique_ptr<Recordset> rows;
    std::unique_ptr<Recordset> rest;
    try {
        const std::string f = Ax().AddBracketsFnS(psFieldSpec);
        if (pdbSource == nullptr) {
            rows = ptdSource->OpenRecordset(dao::dbOpenDynaset);
        } else {
            rows = pdbSource->OpenRecordset("SELECT " + f + " FROM " + jetops::Bracketed(psTableName),
                                            dao::dbOpenDynaset, JetOps().OpenRecordsetOptions(*pdbSource));
        }
        if (!rows->Eof()) {
            rows->MoveLast();
            if (rows->RecordCount() > 0) {
                // What is left when the dates written with "/" are filtered
                // out: nothing means every value is such a date.
                rows->SetFilter("Not (IsDate(" + f + ") AND InStr(" + f + ",'/'))");
                rest = rows->OpenRecordset();
                pbAllDates = rest->Eof();
                rest->Close();
                if (!pbAllDates) {
                    rows->SetFilter("IsNumeric(" + f + ")");
                    rest = rows->OpenRecordset();
                    pbNoneNumeric = rest->Eof();
                    rest->Close();
                }
            }
        }
        rows->Close();
    } catch (...) {
        Err() = ErrorRecord::FromCurrentException();
        jetops::LogFailure("SqlUtilities.IsFormatNeeded");
        Err().Clear();
        if (rest) IgnoreErrors([&] { rest->Close(); });
        if (rows) IgnoreErrors([&] { rows->Close(); });
    }
}

}  // namespace vorn
