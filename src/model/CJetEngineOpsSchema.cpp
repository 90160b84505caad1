// CJetEngineOps: cloning tables between project files, indexes and the main
// key, column and table changes, attached tables.

#include <string>

#include "dbcontract/DalSession.h"
#include "dbcontract/DaoConstants.h"
#include "foundation/CAx0.h"
#include "foundation/clsProgressInterface.h"
#include "model/CJetEngineOps.h"
#include "model/CJetEngineOpsInternal.h"
#include "runtime/ErrorRecord.h"
#include "runtime/SessionSlot.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

using jetops::Bracketed;

// Sets property `name` of `target` to `source`'s value, creating it when
// the target lacks it. Raises what the target refuses.
void CopyProperty(Properties& target, const Property& source, const std::function<std::shared_ptr<Property>()>& make) {
    if (TryStep([&] { target.Item(source.Name())->SetValue(source.Value()); })) return;
    if (Err().number != errnum::kJetPropertyNotFound) Err().Raise();
    Err().Clear();
    auto created = make();
    created->SetValue(source.Value());
    target.Append(created);
}

// Lets a progress window redraw during long work; the answer to "stop?"
// is not asked here.
void YieldToHost() {
    if (SessionSlot<clsProgressInterface>::IsMade()) (void)Progress().CheckCancel();
}

}  // namespace

// ---- Cloning -------------------------------------------------------------------

bool CJetEngineOps::FieldCloneFnB(Field& pfldSource, TableDef& ptdTarget) {
    auto field = ptdTarget.CreateField();
    field->SetName(pfldSource.Name());
    field->SetType(pfldSource.Type());
    field->SetAttributes(pfldSource.Attributes());
    field->SetSize(pfldSource.Size());
    return IgnoreErrors([&] { ptdTarget.Fields().Append(field); });
}

void CJetEngineOps::IndexClone(Index& pixSource, TableDef& ptdTarget) {
    auto index = ptdTarget.CreateIndex(pixSource.Name());
    index->SetUnique(pixSource.Unique());
    index->SetPrimary(pixSource.Primary());
    for (const auto& sourceField : pixSource.Fields()) {
        auto field = index->CreateField(sourceField->Name());
        // The attributes carry the sort sense of the key field.
        field->SetAttributes(sourceField->Attributes());
        index->Fields().Append(field);
    }
    ptdTarget.Indexes().Append(index);
}

void CJetEngineOps::IndexesCloneAll(TableDef& ptdSource, TableDef& ptdTarget) {
    // A foreign key's index comes back with its relation.
    for (const auto& index : ptdSource.Indexes()) {
        if (!index->Foreign()) IndexClone(*index, ptdTarget);
    }
}

void CJetEngineOps::PropsCloneOneField(Field& pfldRef, TableDef& ptdTarget, std::string_view psFieldName) {
    Field& target = *ptdTarget.Fields().Item(psFieldName.empty() ? std::string_view(pfldRef.Name()) : psFieldName);
    target.GetProperties().Refresh();
    IgnoreErrors([&] {
        Properties& source = pfldRef.GetProperties();
        for (std::int32_t i = 0; i < source.Count(); ++i) {
            const auto property = source.Item(i);
            // The name chose the target field; copying it would rename a
            // field cloned under another name.
            if (utf8::EqualsIgnoreCase(property->Name(), "Name")) continue;
            IgnoreErrors([&] {
                CopyProperty(target.GetProperties(), *property, [&] {
                    return target.CreateProperty(property->Name(), property->Type(), property->Value());
                });
            });
        }
    });
}

void CJetEngineOps::PropsCloneFields(TableDef& ptdSource, TableDef& ptdTarget) {
    for (const auto& field : ptdSource.Fields()) PropsCloneOneField(*field, ptdTarget);
}

void CJetEngineOps::PropsCloneTable(TableDef& ptdSource, TableDef& ptdTarget) {
    Properties& source = ptdSource.GetProperties();
    for (std::int32_t i = 0; i < source.Count(); ++i) {
        const auto property = source.Item(i);
        // Only the system's own table properties travel with a table.
        if (!utf8::ToUpper(property->Name()).starts_with("VORN")) continue;
        IgnoreErrors([&] {
            CopyProperty(ptdTarget.GetProperties(), *property, [&] {
                return ptdTarget.CreateProperty(property->Name(), property->Type(), property->Value());
            });
        });
    }
}

bool CJetEngineOps::TableCloneFnB(Database& pdbSource, std::string_view psSourceName, Database& pdbNew,
                                  std::string_view psNewName) {
    // True until the work is done: a caller that sees true knows the clone
    // stopped halfway.
    bool unfinished = true;
    const std::string newName(psNewName.empty() ? psSourceName : psNewName);
    auto source = pdbSource.TableDefs().Item(psSourceName);
    auto design = pdbNew.CreateTableDef(newName);
    for (const auto& field : source->Fields()) (void)FieldCloneFnB(*field, *design);
    YieldToHost();
    pdbNew.TableDefs().Append(design);
    // The appended table as the database has it now; indexes go on after
    // the field properties and before the table's own properties.
    auto target = pdbNew.TableDefs().Item(newName);
    PropsCloneFields(*source, *target);
    IndexesCloneAll(*source, *target);
    PropsCloneTable(*source, *target);
    unfinished = false;
    return unfinished;
}

// ---- Indexes and the main key ------------------------------------------------------

void CJetEngineOps::IndexCreate(std::string_view psFields, std::string_view psName, TableDef& ptdTarget,
                                bool pbPrimary, bool pbNonUnique, bool pbDescending, bool pbIgnoreNulls) {
    if (psName.empty()) return;
    auto index = ptdTarget.CreateIndex(std::string(psName));
    // A primary key is unique whatever the caller says.
    index->SetUnique(!(pbNonUnique && !pbPrimary));
    index->SetPrimary(pbPrimary);
    index->SetIgnoreNulls(pbIgnoreNulls);
    const std::vector<std::string> names = jetops::SplitOn(psFields, ",");
    for (std::size_t i = 0; i < names.size(); ++i) {
        auto field = index->CreateField(Ax().RemoveBracketsFnS(utf8::Trim(names[i])));
        // Only the leaf key, the last field, may sort descending.
        if (pbDescending && i + 1 == names.size()) field->SetAttributes(dao::dbDescending);
        index->Fields().Append(field);
    }
    ptdTarget.Indexes().Append(index);
}

bool CJetEngineOps::IsZeroLevelFnB(TableDef& ptd, std::int32_t* plCount, std::int32_t* plIndex, bool pbLibTable) {
    const bool uniqueOnly = plCount != nullptr && *plCount < 0;
    std::int32_t count = 0;
    auto& indexes = ptd.Indexes();
    for (std::int32_t position = 0; position < indexes.Count(); ++position) {
        Index& index = *indexes.Item(position);
        if (uniqueOnly && !index.Unique()) continue;
        if (index.Fields().Count() <= count) continue;  // ties go to the earlier index
        if (!pbLibTable) {
            // A key on a counter, or with an unnamed field, identifies no row
            // of the user's data.
            bool usable = true;
            for (const auto& field : index.Fields()) {
                if (field->Name().empty() ||
                    (ptd.Fields().Item(field->Name())->Attributes() & dao::dbAutoIncrField) != 0) {
                    usable = false;
                    break;
                }
            }
            if (!usable) continue;
        }
        count = index.Fields().Count();
        if (plIndex != nullptr) *plIndex = position;
    }
    if (plCount != nullptr) *plCount = count;
    return count == 0;
}

std::string CJetEngineOps::MainIndexFieldsFnS(TableDef& ptd, std::int32_t* plCount, bool* pbUnique,
                                              std::int32_t* plIndex, bool pbLibTable) {
    std::int32_t count = plCount != nullptr ? *plCount : 0;
    std::int32_t position = plIndex != nullptr ? *plIndex : 0;
    const bool zeroLevel = IsZeroLevelFnB(ptd, &count, &position, pbLibTable);
    if (plCount != nullptr) *plCount = count;
    if (plIndex != nullptr) *plIndex = position;
    if (zeroLevel) return {};
    Index& index = *ptd.Indexes().Item(position);
    if (pbUnique != nullptr) *pbUnique = index.Unique();
    std::string fields;
    for (const auto& field : index.Fields()) fields += (fields.empty() ? "" : ",") + field->Name();
    return fields;
}

// ---- Schema changes ----------------------------------------------------------------

void CJetEngineOps::ChangeFieldType(Database& pdbTarget, std::string_view psTableName, std::string_view psFieldName,
                                    std::int32_t plType) {
    if (IsEnterpriseDBFnB(pdbTarget)) return;
    const auto field = pdbTarget.TableDefs().Item(psTableName)->Fields().Item(psFieldName);
    if (field->Type() == plType) return;
    pdbTarget.Execute("ALTER TABLE " + Bracketed(psTableName) + " ALTER COLUMN " + Bracketed(psFieldName) +
                      TypeString(plType));
}

void CJetEngineOps::DropFieldSql(Database& pdbCurr, std::string_view psTableName, std::string_view psFieldName) {
    try {
        if (!FieldExistFnB(*pdbCurr.TableDefs().Item(psTableName), psFieldName)) return;
        if (!IsEnterpriseDBFnB(pdbCurr)) {
            ExecuteSql("ALTER TABLE " + Bracketed(psTableName) + " DROP COLUMN " + Bracketed(psFieldName), pdbCurr);
            return;
        }
        // On the server only the column's default goes; the column stays.
        std::shared_ptr<DalConnection> connection = TheDalSession().ConnectionFor(pdbCurr.Connect());
        if (!connection) {
            const std::string constraint = utf8::Replace(
                "DV_" + utf8::ToUpper(std::string(psTableName) + "_" + std::string(psFieldName)), " ", "_");
            ExecuteSql("ALTER TABLE " + Bracketed(psTableName) + " DROP CONSTRAINT " + constraint, pdbCurr);
            return;
        }
        IgnoreErrors([&] {
            connection->DropColumnDefault(psTableName, psFieldName);
            connection->Close();
        });
    } catch (...) {
        Err() = ErrorRecord::FromCurrentException();
        jetops::LogFailure("CJetEngineOps.DropFieldSql");
        throw;
    }
}

void CJetEngineOps::DropTableSql(Database& pdbCurr, std::string_view psTableName) {
    // Refreshed before and after, so that collections other code holds stay
    // true to the database.
    pdbCurr.TableDefs().Refresh();
    ExecuteSql("DROP TABLE " + Bracketed(psTableName), pdbCurr);
    pdbCurr.TableDefs().Refresh();
    pdbCurr.Relations().Refresh();
}

void CJetEngineOps::AttachTable(Workspace& pdbMgr, Database& pdbTarget, std::string_view psAttachDbName,
                                std::string_view psSourceTable, std::string_view psNewTable, std::string* psConnect) {
    if (TabledefExistFnB(pdbTarget, psNewTable)) return;
    const std::string sourceTable = Ax().RemoveBracketsFnS(psSourceTable);
    auto link = pdbTarget.CreateTableDef();
    link->SetName(Ax().RemoveBracketsFnS(psNewTable));
    link->SetSourceTableName(sourceTable);
    std::string connect = psConnect != nullptr ? *psConnect : std::string();
    if (connect.empty()) {
        connect = ";DATABASE=" + std::string(psAttachDbName) + ";";
        if (psConnect != nullptr) *psConnect = connect;
    }
    link->SetConnect(connect);
    link->SetAttributes(dao::dbAttachSavePWD);
    if (TryStep([&] { pdbTarget.TableDefs().Append(link); })) return;
    if (Err().number == errnum::kJetInputTableNotFound) {
        // The source is itself attached: link to what it links to.
        IgnoreErrors([&] {
            auto attachedDb = pdbMgr.Databases().Item(psAttachDbName);
            auto attached = attachedDb->TableDefs().Item(sourceTable);
            link->SetSourceTableName(attached->SourceTableName());
            link->SetConnect(attached->Connect());
            pdbTarget.TableDefs().Append(link);
        });
    }
    // Any other failure leaves the table unattached, without a report.
    Err().Clear();
}

void CJetEngineOps::RemoveAttachedTables(Database& pdbCurr, std::string_view psTempTables) {
    constexpr std::int32_t kAttachedMask = dao::dbAttachedTable | dao::dbAttachedODBC;
    auto& tables = pdbCurr.TableDefs();
    // A table attached in this session shows its attached bit only when
    // read anew.
    tables.Refresh();
    // From the last to the first: deleting while walking needs that order.
    for (std::int32_t i = tables.Count() - 1; i >= 0; --i) {
        const auto table = tables.Item(i);
        if ((table->Attributes() & kAttachedMask) != 0) {
            tables.Delete(table->Name());
        } else if (Ax().StringInCommaListFnB(psTempTables, table->Name())) {
            DropTableSql(pdbCurr, table->Name());
        }
    }
}

}  // namespace vorn
