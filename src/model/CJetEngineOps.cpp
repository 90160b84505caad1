// CJetEngineOps: the session accessor, the existence tests, the lock file
// and the closing helpers. The other members live in CJetEngineOpsSchema,
// CJetEngineOpsCodec, CJetEngineOpsSql, CJetEngineOpsEnterprise and
// CJetEngineOpsSort.

#include "model/CJetEngineOps.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "dbcontract/DaoConstants.h"
#include "foundation/CAx0.h"
#include "foundation/CDoTrace.h"
#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "model/CJetEngineOpsInternal.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorRecord.h"
#include "runtime/SessionSlot.h"
#include "runtime/UserInterface.h"
#include "runtime/Utf8.h"

namespace vorn {

CJetEngineOps& JetOps() { return SessionSlot<CJetEngineOps>::Get(); }

CJetEngineOps::~CJetEngineOps() { RecordClassEnd("CJetEngineOps"); }

// ---- Shared helpers ----------------------------------------------------------

namespace jetops {

std::string Bracketed(std::string_view name) { return Ax().AddBracketsFnS(name); }

std::string Text(std::int32_t id, const std::vector<std::string>& replacements) {
    if (!SessionSlot<CTextString>::IsMade()) return "???TextID " + std::to_string(id) + "???";
    return TextStr().TextStringGetFnS(id, replacements);
}

void LogFailure(std::string_view where) {
    const ErrorRecord saved = Err();
    // The trace keeps one state for the process; a local object writes to it
    // also before the session made its own.
    CDoTrace().DoTrace(std::string(where) + ": " + saved.description + " (" + std::to_string(saved.number) + ")");
    Err() = saved;
}

void ShowFailure(std::string_view title) {
    const ErrorRecord& error = Err();
    const std::string text = Text(4103) + "\r\n" + Text(5399) + "\r\n" + std::to_string(error.number) + " " +
                             error.source + ": " + error.description;
    MessageBoxRequest request;
    request.text = text;
    request.title = std::string(title);
    request.icon = MsgIcon::kCritical;
    Ui().MessageBox(request);
}

std::vector<std::string> SplitOn(std::string_view text, std::string_view delimiter) {
    std::vector<std::string> parts;
    std::size_t at = 0;
    for (std::size_t found = text.find(delimiter); !delimiter.empty() && found != std::string_view::npos;
         found = text.find(delimiter, at)) {
        parts.emplace_back(text.substr(at, found - at));
        at = found + delimiter.size();
    }
    parts.emplace_back(text.substr(at));
    return parts;
}

}  // namespace jetops

using jetops::Bracketed;

// ---- Existence tests ---------------------------------------------------------
// Each one reads the looked-up object's name under a guard that forgets any
// failure: a missing object, a closed database, anything, answers false.

bool CJetEngineOps::TabledefExistFnB(Database& pdbSource, std::string_view psName) {
    if (psName.empty()) return false;
    const std::string name = Ax().RemoveBracketsFnS(psName);
    std::string found;
    IgnoreErrors([&] { found = pdbSource.TableDefs().Item(name)->Name(); });
    return !found.empty();
}

bool CJetEngineOps::FieldExistFnB(TableDef& ptdSource, std::string_view psFieldName) {
    std::string found;
    IgnoreErrors([&] {
        // The Fields of a linked enterprise table do not serve names longer
        // than Jet's 31 characters; a recordset of the table does.
        if (utf8::Length(psFieldName) > 31 && ptdSource.Name().find('.') != std::string::npos) {
            auto rows = ptdSource.OpenRecordset(dao::dbOpenDynaset, dao::dbSeeChanges);
            found = rows->Fields().Item(psFieldName)->Name();
            rows->Close();
        } else {
            found = ptdSource.Fields().Item(psFieldName)->Name();
        }
    });
    return !found.empty();
}

bool CJetEngineOps::FieldExistInDatabaseFnB(Database& pdbSource, std::string_view psTableDotField) {
    const std::vector<std::string> parts = jetops::SplitOn(psTableDotField, ".");
    if (parts.size() != 2) return false;
    std::string found;
    IgnoreErrors([&] { found = pdbSource.TableDefs().Item(parts[0])->Fields().Item(parts[1])->Name(); });
    return !found.empty();
}

bool CJetEngineOps::FieldExistInIndexFnB(Index& pixSource, std::string_view psFieldName) {
    std::string found;
    IgnoreErrors([&] { found = pixSource.Fields().Item(psFieldName)->Name(); });
    return !found.empty();
}

bool CJetEngineOps::FieldExistInRecordsetFnB(Recordset& prsSource, std::string_view psFieldName) {
    std::string found;
    IgnoreErrors([&] { found = prsSource.Fields().Item(psFieldName)->Name(); });
    return !found.empty();
}

bool CJetEngineOps::PropertyExistFnB(Properties& pobjProperties, std::string_view psPropname) {
    return IgnoreErrors([&] { (void)pobjProperties.Item(psPropname)->Type(); });
}

bool CJetEngineOps::RelationExistFnB(Database& pdbDatabase, std::string_view psRelationName) {
    return IgnoreErrors([&] { (void)pdbDatabase.Relations().Item(psRelationName)->Attributes(); });
}

bool CJetEngineOps::IndexExistFnB(TableDef& ptdTable, std::string_view psIndexName) {
    const std::string wanted = utf8::ToUpper(psIndexName);
    bool found = false;
    if (TryStep([&] {
            for (const auto& index : ptdTable.Indexes()) {
                if (utf8::ToUpper(index->Name()) == wanted) {
                    found = true;
                    return;
                }
            }
        })) {
        return found;
    }
    if (Err().number != errnum::kJetItemNotFound) jetops::ShowFailure("CJetEngineOps.IndexExistFnB");
    Err().Clear();
    return false;
}

JetFieldSource CJetEngineOps::FieldSourceObject(Database& pdbSource, std::string_view psName, bool* pbIsTable) {
    JetFieldSource source;
    IgnoreErrors([&] { source.table = pdbSource.TableDefs().Item(psName); });
    if (!source.table) IgnoreErrors([&] { source.query = pdbSource.QueryDefs().Item(psName); });
    if (pbIsTable != nullptr) *pbIsTable = source.table != nullptr;
    return source;
}

bool CJetEngineOps::TableIsRequired(std::string_view psName) const {
    return utf8::EqualsIgnoreCase(psName, "PROJECT") || utf8::EqualsIgnoreCase(psName, "POINT");
}

bool CJetEngineOps::FieldHasDataFnB(Database& pdb, std::string_view psTable, std::string_view psField) {
    // The field goes in as given: a caller may pass an expression.
    const std::string sql = "SELECT Count(" + std::string(psField) + ") " + " FROM " + Bracketed(psTable);
    bool hasData = false;
    IgnoreErrors([&] {
        auto rows = pdb.OpenRecordset(sql);
        if (!rows->Eof()) hasData = CLng(rows->Fields().Item(0)->Value()) != 0;
        rows->Close();
    });
    return hasData;
}

std::shared_ptr<Field> CJetEngineOps::FieldFromFieldSpecFnObj(Database& pdbSource, std::string_view psFieldSpec) {
    std::string fieldSpec(psFieldSpec);
    Ax().RemoveFieldDelim(fieldSpec);
    const std::size_t dot = fieldSpec.find('.');
    if (dot == std::string::npos) return nullptr;
    std::shared_ptr<Field> field;
    IgnoreErrors([&] { field = pdbSource.TableDefs().Item(fieldSpec.substr(0, dot))->Fields().Item(fieldSpec.substr(dot + 1)); });
    return field;
}

// ---- Lock file ---------------------------------------------------------------

std::string CJetEngineOps::LDBNameFnS(std::string_view psFileName) const {
    const std::size_t dot = psFileName.rfind('.');
    return std::string(dot == std::string_view::npos ? psFileName : psFileName.substr(0, dot)) + ".ldb";
}

std::int32_t CJetEngineOps::KillLDBFnL(std::string_view psFileName) {
    if (psFileName.empty()) return errnum::kNone;
    const std::string lockFile = LDBNameFnS(psFileName);
    // Windows refuses to delete a lock file that an open database holds;
    // here the delete would succeed and cut the holder off from the users
    // after it. So the file is deleted only under an exclusive lock of our
    // own, which fails while anyone holds it.
    const int fd = ::open(lockFile.c_str(), O_RDWR | O_CLOEXEC);
    if (fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return errnum::kPermissionDenied;
    }
    const std::int32_t result = File().FileKillAnyFnL(lockFile);
    if (fd >= 0) ::close(fd);
    return result;
}

bool CJetEngineOps::LdbLockedFnB(std::string_view psFileName) {
    const std::int32_t result = KillLDBFnL(psFileName);
    return result != errnum::kNone && result != errnum::kFileNotFound;
}

// ---- Closing and listing -----------------------------------------------------

std::int32_t CJetEngineOps::OpenRecordsetOptions(Database& pdb) {
    return IsEnterpriseDBFnB(pdb) ? dao::dbSeeChanges + dao::dbSQLPassThrough : dao::dbSeeChanges;
}

std::string CJetEngineOps::DBListFnS(Workspace& pdbMgr) {
    std::string list;
    for (const auto& database : pdbMgr.Databases()) list += database->Name() + "\r\n";
    return list;
}

void CJetEngineOps::ConnectionClose(std::shared_ptr<DalConnection>& poConnection) {
    if (!poConnection) return;
    IgnoreErrors([&] { poConnection->Close(); });
    poConnection.reset();
}

void CJetEngineOps::RecordsetClose(std::unique_ptr<Recordset>& prsCurr) {
    if (!prsCurr) return;
    IgnoreErrors([&] { prsCurr->Close(); });
    prsCurr.reset();
}

void CJetEngineOps::CloseTables(std::vector<std::unique_ptr<Recordset>>& ptbTablesV) {
    for (auto& recordset : ptbTablesV) RecordsetClose(recordset);
}

}  // namespace vorn
