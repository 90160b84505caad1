// The key sets of tables: read from the index VORNINDEX of a project file, or
// from the server's schema for an enterprise database.
#include "model/CVornIndex.h"

#include <string>
#include <vector>

#include "dbcontract/DalSession.h"
#include "dbcontract/DaoConstants.h"
#include "foundation/CAx0.h"
#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "model/CJetEngineOps.h"
#include "model/KeySetText.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/ErrorRecord.h"
#include "runtime/SessionSlot.h"
#include "runtime/UserInterface.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr std::int32_t kOptionMask = 0x7FFF;

bool Has(std::int32_t option, KeyFieldOption bit) { return (option & bit & kOptionMask) != 0; }

std::string JoinArray(const VArray& items) {
    std::string joined;
    for (std::int32_t i = items.LBound(); i <= items.UBound(); ++i) {
        if (i > items.LBound()) joined += ",";
        joined += items[i].AsText();
    }
    return joined;
}

std::string FieldNamesOf(Index& index) {
    std::string joined;
    for (const auto& field : index.Fields()) {
        if (!joined.empty()) joined += ",";
        joined += field->Name();
    }
    return joined;
}

// VORNINDEX, or vORNProject_UID where a table of an enterprise database has
// no VORNINDEX. A table with neither fails with 3265.
std::shared_ptr<Index> KeyIndexOf(TableDef& table) {
    if (auto index = table.Indexes().Find(CVornIndex::kIndexName)) return index;
    return table.Indexes().Item(CVornIndex::kProjectIndexName);
}

}  // namespace

CVornIndex::~CVornIndex() { RecordClassEnd("CVornIndex"); }

CVornIndex& TheIndex() { return SessionSlot<CVornIndex>::Get(); }

void CVornIndex::ConnectionSet(Database* pdbSource) {
    JetOps().ConnectionClose(connection_);
    if (pdbSource != nullptr && JetOps().IsEnterpriseDBFnB(*pdbSource)) {
        connection_ = TheDalSession().ConnectionFor(pdbSource->Connect());
    }
}

DalConnection& CVornIndex::Connection() const {
    if (!connection_) throw VornError::ObjectNotSet("CVornIndex");
    return *connection_;
}

bool CVornIndex::IndexExistFnB(TableDef& ptdSource, std::string_view psIndexName) {
    bool exists = false;
    if (TryStep([&] { exists = !ptdSource.Indexes().Item(psIndexName)->Name().empty(); })) {
        return exists;
    }
    const ErrorRecord error = Err();
    Err().Clear();
    if (error.number == errnum::kJetItemNotFound) return false;
    if (error.number == errnum::kOutOfMemory) return true;
    MessageBoxRequest box;
    box.title = "CVornIndex.IndexExistFnB";
    box.text = TextStr().TextStringGetFnS(4103) + " '" + ptdSource.Name() + "', " +
               TextStr().TextStringGetFnS(5399) + " '" + std::string(psIndexName) + "'\r\n" +
               std::to_string(error.number) + " " + error.source + ": " + error.description;
    box.icon = MsgIcon::kExclamation;
    Ui().MessageBox(box);
    return false;
}

std::string CVornIndex::VornIndexFieldsFnS(TableDef& ptdSource, std::int32_t& piOptInLevelOut,
                                           Database* pdbDatabase, std::string_view psTable,
                                           std::string_view psSep, std::int16_t piOmitFilterKeys) {
    bool enterprise = connection_ != nullptr;
    bool openedHere = false;
    if (pdbDatabase != nullptr) {
        enterprise = JetOps().IsEnterpriseDBFnB(*pdbDatabase);
        if (enterprise && !connection_) {
            connection_ = TheDalSession().ConnectionFor(pdbDatabase->Connect());
            openedHere = connection_ != nullptr;
        }
    }
    const std::int32_t option = piOptInLevelOut & kOptionMask;
    piOptInLevelOut = 0;

    std::string list;
    std::int32_t level = 0;
    const bool done = TryStep([&] {
        list = KeyListOf(ptdSource, option, level, enterprise, psTable, psSep, piOmitFilterKeys);
    });
    Err().Clear();
    // A connection opened here stays cached when the table has no key or
    // the call failed, so the next call without a database still reads the
    // server.
    if (!done || level < 0) return {};
    if (openedHere) JetOps().ConnectionClose(connection_);
    piOptInLevelOut = level;
    return list;
}

std::string CVornIndex::VornIndexFieldsFnS(TableDef& ptdSource, KeyFieldOption option,
                                           Database* pdbDatabase) {
    std::int32_t level = option;
    return VornIndexFieldsFnS(ptdSource, level, pdbDatabase);
}

// Gives the list and its level; level -1 when the table has no key.
std::string CVornIndex::KeyListOf(TableDef& ptdSource, std::int32_t option, std::int32_t& level,
                                  bool enterprise, std::string_view psTable, std::string_view psSep,
                                  std::int16_t piOmitFilterKeys) {
    const std::string baseName = JetOps().EntBaseTableNameFnS(ptdSource.Name());
    const bool hasIndex = IndexExistFnB(ptdSource, kIndexName);
    std::string list;
    if (!hasIndex) {
        // An owner prefix ("dbo.PROJECT") also marks a table of the server.
        const bool serverTable = enterprise || baseName != ptdSource.Name();
        if (!serverTable || baseName != "PROJECT" ||
            !JetOps().FieldExistFnB(ptdSource, "vORNProjectID")) {
            level = -1;
            return {};
        }
        list = "vORNProjectID";
        level = 1;
    } else {
        level = ptdSource.Indexes().Item(kIndexName)->Fields().Count();
        const auto index = ptdSource.Indexes().Item(kIndexName);
        level = index->Fields().Count();
        list = enterprise ? JoinArray(Connection().IndexColumns(baseName, kIndexName))
                          : FieldNamesOf(*index);
    }
    if (level < 1) return list;

    if (option == 0 || Has(option, kfoStandardKeys) || Has(option, kfoStandardKeepLevel)) {
        std::string standard = VornKeyFieldsSubsetFnS(list, kfoStandardKeys);
        if (!standard.empty()) list = std::move(standard);
        if (!Has(option, kfoStandardKeepLevel)) level = keyset::CommaCount(list) + 1;
    }
    if (!Has(option, kfoSortOrder) && !Has(option, kfoBracketed)) {
        // The plain forms keep their commas: the separator is for the sort form.
        if (Has(option, kfoAfterLeaf)) list = VornKeyFieldsSubsetFnS(list, kfoAfterLeaf);
        return list;
    }
    list = Ax().AddBracketsToListFnS(list);
    if (!Has(option, kfoSortOrder)) {
        return psTable.empty() ? list
                               : utf8::Replace(list, "[", Ax().AddBracketsFnS(psTable) + ".[");
    }
    return SortForm(ptdSource, std::move(list), option, enterprise, hasIndex, psTable, psSep,
                    piOmitFilterKeys);
}

std::string CVornIndex::SortForm(TableDef& ptdSource, std::string list, std::int32_t option,
                                 bool enterprise, bool hasIndex, std::string_view psTable,
                                 std::string_view psSep, std::int16_t piOmitFilterKeys) {
    const std::int16_t leafColumn = LeafKeyColFnI(list);
    std::int32_t leaf = leafColumn - 1;
    const std::string leafName = keyset::Split(list)[static_cast<std::size_t>(leaf)];
    const bool descending = LeafIsDescending(ptdSource, leafName, leafColumn, enterprise, hasIndex);
    if (Has(option, kfoFromLeaf)) {
        // A leaf that stands first leaves the list as it is.
        const std::size_t at = list.find("," + leafName);
        if (at != std::string::npos) list = list.substr(at + 1);
        leaf = 0;
    }
    const std::vector<std::string> plain = keyset::Split(list);
    const std::string qualified =
        psTable.empty() ? list : utf8::Replace(list, "[", Ax().AddBracketsFnS(psTable) + ".[");
    std::vector<std::string> entries = keyset::Split(qualified);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (static_cast<std::int32_t>(i) >= piOmitFilterKeys &&
            JetOps().DaoDataTypeFromODBC(*ptdSource.Fields().Item(plain[i])) == dao::dbText) {
            entries[i] = SortExpressionFnS(entries[i], &ptdSource, nullptr, {}, false, false);
        }
        if (descending && static_cast<std::int32_t>(i) == leaf) entries[i] += " DESC";
    }
    return keyset::Join(entries, psSep);
}

bool CVornIndex::LeafIsDescending(TableDef& ptdSource, const std::string& leafName,
                                  std::int16_t leafColumn, bool enterprise, bool hasIndex) {
    if (!hasIndex || leafColumn < 1) return false;
    const std::string column = Ax().RemoveBracketsFnS(leafName);
    if (enterprise) {
        // The server may not say; a failure of this one question counts as
        // ascending.
        bool descending = false;
        IgnoreErrors([&] {
            descending = Connection().IndexColumnDescending(
                JetOps().EntBaseTableNameFnS(ptdSource.Name()), kIndexName, column);
        });
        return descending;
    }
    const auto field = ptdSource.Indexes().Item(kIndexName)->Fields().Item(column);
    return (field->Attributes() & dao::dbDescending) != 0;
}

std::string CVornIndex::VornIndexAndLevelFnS(TableDef* ptdSource, std::int32_t& piKeyFieldCount,
                                             Database* pdbDatabase) {
    if (ptdSource == nullptr) return {};
    return VornIndexFieldsFnS(*ptdSource, piKeyFieldCount, pdbDatabase, {}, ",", 0);
}

std::int16_t CVornIndex::LeafKeyColFnI(TableDef& ptdSource) {
    return LeafKeyColFnI(VornIndexFieldsFnS(ptdSource, kfoAllFields));
}

std::string CVornIndex::KeysAddlUniqueFnS(TableDef& ptdSource, Database* pdbDatabase) {
    return KeysAddlUniqueFnS(VornIndexFieldsFnS(ptdSource, kfoAllFields, pdbDatabase));
}

bool CVornIndex::VornIndexIsUniqueFnB(TableDef& ptdSource) {
    bool unique = false;
    const bool read = TryStep([&] { unique = ptdSource.Indexes().Item(kIndexName)->Unique(); });
    if (!read && Err().number == errnum::kJetItemNotFound) {
        TryStep([&] { unique = ptdSource.Indexes().Item(kProjectIndexName)->Unique(); });
    }
    Err().Clear();
    return unique;
}

VArray CVornIndex::VornIndexFieldTypesVFnI(TableDef& ptdSource) {
    VArray types;
    std::shared_ptr<Index> index;
    if (!IgnoreErrors([&] { index = KeyIndexOf(ptdSource); })) return types;
    IgnoreErrors([&] {
        const std::int32_t count = index->Fields().Count();
        if (count < 1) return;
        types.ReDim(1, count);
        for (std::int32_t i = 0; i < count; ++i) {
            types[i + 1] = JetOps().DataTypeFnI(ptdSource, index->Fields().Item(i)->Name());
        }
    });
    return types;
}

std::string CVornIndex::VornIndexFieldTypesFnS(TableDef& ptdSource) {
    std::string codes;
    IgnoreErrors([&] {
        for (const auto& field : ptdSource.Indexes().Item(kIndexName)->Fields()) {
            if (!codes.empty()) codes += ",";
            codes += std::to_string(JetOps().DataTypeFnI(ptdSource, field->Name()));
        }
    });
    return codes;
}

VArray CVornIndex::VornIndexFieldsReqVFnB(TableDef& ptdSource, Database* pdbDatabase) {
    auto rows = ptdSource.OpenRecordset(dao::dbOpenDynaset, dao::dbSeeChanges);
    const std::vector<std::string> fields =
        keyset::Split(VornIndexFieldsFnS(ptdSource, kfoAllFields, pdbDatabase));
    VArray required;
    if (!fields.empty()) {
        required.ReDim(1, static_cast<std::int32_t>(fields.size()));
        for (std::size_t i = 0; i < fields.size(); ++i) {
            required[static_cast<std::int32_t>(i) + 1] = rows->Fields().Item(fields[i])->Required();
        }
    }
    rows->Close();
    return required;
}

bool CVornIndex::VornIndexAllowDupeFnB(TableDef& ptdSource) {
    if (!VornIndexIsUniqueFnB(ptdSource)) return true;
    const std::string list = VornIndexFieldsFnS(ptdSource, kfoAllFields);
    return LeafKeyColFnI(list) != keyset::CommaCount(list) + 1;
}

bool CVornIndex::HasExtendedKeysFnB(TableDef& ptdCurr) {
    return VornIndexFieldsFnS(ptdCurr, kfoStandardKeys) !=
           VornIndexFieldsFnS(ptdCurr, kfoAllFields);
}

bool CVornIndex::IsTextKeyFnB(TableDef& ptdCurr, std::string_view psFieldName) {
    bool text = false;
    IgnoreErrors([&] {
        const std::string name =
            ptdCurr.Indexes().Item(kIndexName)->Fields().Item(psFieldName)->Name();
        text = JetOps().DataTypeFnI(ptdCurr, name) == dao::dbText;
    });
    return text;
}

}  // namespace vorn
