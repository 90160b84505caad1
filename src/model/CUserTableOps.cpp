#include "model/CUserTableOps.h"

#include <array>
#include <string>

#include "foundation/CAx0.h"
#include "foundation/CDoTrace.h"
#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "model/CJetEngineOps.h"
#include "model/CVornIndex.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorRecord.h"
#include "runtime/SessionSlot.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

// dbSystemObject: never a data table.
constexpr std::uint32_t kSystemMask = 0x80000002u;
// dbSystemObject, dbAttachedTable, dbAttachedODBC, dbAttachExclusive,
// dbAttachSavePWD: never a table of the user.
constexpr std::uint32_t kNotUserMask = 0xE0030002u;
// The drawing pages' caption in the text table.
constexpr std::int32_t kPageAliasText = 5184;
// A link of a link of ... is looked for this deep.
constexpr int kLinkDepth = 5;
constexpr std::string_view kLinkEnd = "LINK";

struct FixedAlias {
    std::string_view stored;
    std::string_view alias;
};
constexpr std::array<FixedAlias, 3> kFixedAliases = {{
    {"\x7FUSERSYSDATA", "User System Data"},
    {"\x7FTEXTMACRO", "Text Macros"},
    {"\x7F"
     "FIELDUNITS",
     "Field Units"},
}};

bool Meets(std::int32_t attributes, std::uint32_t mask) {
    return (static_cast<std::uint32_t>(attributes) & mask) != 0;
}

bool IsHidden(std::string_view name) {
    return !name.empty() && name.front() == CUserTableOps::kHiddenMark;
}

}  // namespace

CUserTableOps::~CUserTableOps() { RecordClassEnd("CUserTableOps"); }

CUserTableOps& UserTab() { return SessionSlot<CUserTableOps>::Get(); }

std::string CUserTableOps::AliasTableFnS(std::string_view psAlias) const {
    for (const FixedAlias& fixed : kFixedAliases) {
        if (utf8::EqualsIgnoreCase(psAlias, fixed.alias)) return std::string(fixed.stored);
    }
    if (utf8::EqualsIgnoreCase(psAlias, TextStr().TextStringGetFnS(kPageAliasText))) {
        return "[" + std::string(kPageTable) + "]";
    }
    return std::string(psAlias);
}

std::string CUserTableOps::TableAliasFnS(std::string_view psTable) const {
    for (const FixedAlias& fixed : kFixedAliases) {
        if (utf8::EqualsIgnoreCase(psTable, fixed.stored)) return std::string(fixed.alias);
    }
    return std::string(psTable);
}

bool CUserTableOps::IsAliasedFnB(std::string_view psName) const {
    return TableAliasFnS(psName) != AliasTableFnS(psName);
}

bool CUserTableOps::VornDataTableFnB(TableDef& ptdCurr, std::string& psName) const {
    if (Meets(ptdCurr.Attributes(), kSystemMask)) return false;
    psName = ptdCurr.Name();
    return !IsHidden(psName);
}

bool CUserTableOps::VornUserTableFnB(
    TableDef& ptdCurr, std::string* psName, std::int16_t piCriterion,
    Collection<std::shared_ptr<TableDef>>* poEnterpriseTables) const {
    std::string name;
    const bool user = [&] {
        if (Meets(ptdCurr.Attributes(), kNotUserMask)) return false;
        // Owner prefixes of enterprise names vanish.
        name = JetOps().EntBaseTableNameFnS(ptdCurr.Name());
        if (IsHidden(name)) return piCriterion == 1 && IsAliasedFnB(name);
        if (piCriterion == 1) return true;
        // A count that cannot be read counts as having indexes.
        std::int32_t indexes = 1;
        IgnoreErrors([&] {
            indexes = poEnterpriseTables != nullptr
                          ? poEnterpriseTables->Item(name)->Indexes().Count()
                          : ptdCurr.Indexes().Count();
        });
        if (indexes < 1 || !JetOps().FieldExistFnB(ptdCurr, "VornRecID")) return false;
        return piCriterion >= 0;
    }();
    if (psName != nullptr) *psName = name;
    return user;
}

bool CUserTableOps::HasVornTableDefsFnB(Database& pdbDatabase) const {
    bool project = false;
    if (JetOps().TabledefExistFnB(pdbDatabase, "POINT")) {
        project = JetOps().TabledefExistFnB(pdbDatabase, "PROJECT") &&
                  TheIndex().VornIndexIsUniqueFnB(*pdbDatabase.TableDefs().Item("POINT"));
    }
    // A drawing file holds the page table alone.
    return project || JetOps().TabledefExistFnB(pdbDatabase, kPageTable);
}

std::int16_t CUserTableOps::UserTablesCountFnI(Database& pdbDatabase) const {
    std::int16_t count = 0;
    for (const auto& table : pdbDatabase.TableDefs()) {
        if (VornUserTableFnB(*table, nullptr, 32767)) ++count;
    }
    return count;
}

bool CUserTableOps::TableInGroupFnB(TableDef& ptdCurr, std::string_view psGroup) const {
    const auto inGroup = [&](std::string_view property) {
        bool same = false;
        IgnoreErrors([&] {
            const std::string group = CStr(ptdCurr.GetProperties().Item(property)->Value());
            same = utf8::EqualsIgnoreCase(utf8::Trim(group), psGroup);
        });
        return same;
    };
    return inGroup("vornGroupName") || inGroup("vornGroupParent");
}

std::string CUserTableOps::ChildTableByRelFnS(Database& pdbSearch, std::string_view psParent,
                                              std::int32_t& plIndex) const {
    const std::string parent = utf8::ToUpper(psParent);
    const std::int32_t start = plIndex;
    plIndex = 0;
    auto& relations = pdbSearch.Relations();
    for (std::int32_t position = start < 0 ? 0 : start; position < relations.Count(); ++position) {
        const auto relation = relations.Item(position);
        if (utf8::EqualsIgnoreCase(relation->Table(), parent)) {
            plIndex = position + 1;
            return relation->ForeignTable();
        }
    }
    return {};
}

bool CUserTableOps::IsLinkTableNameFnB(std::string_view psTable) const {
    return IsHidden(psTable) && utf8::EqualsIgnoreCase(utf8::Right(psTable, 4), kLinkEnd);
}

std::string CUserTableOps::LinkTableNameFnS(std::string_view psTable) const {
    const std::string mark = IsHidden(psTable) ? std::string() : std::string(1, kHiddenMark);
    return mark + utf8::ToUpper(psTable) + std::string(kLinkEnd);
}

bool CUserTableOps::LinkExistsFnB(Database& pdbSource) const {
    for (const auto& table : pdbSource.TableDefs()) {
        if (IsLinkTableNameFnB(table->Name())) return true;
    }
    return false;
}

bool CUserTableOps::LinkTableExistsFnB(std::string_view psTable, Database& pdbCurr,
                                       std::string& psLink) const {
    static constexpr std::string_view kSource = "CUserTableOps.LinkTableExistsFnB";
    try {
        std::string name(psTable);
        for (int depth = 0; depth < kLinkDepth; ++depth) {
            name = LinkTableNameFnS(name);
            if (JetOps().TabledefExistFnB(pdbCurr, name)) {
                psLink = name;
                return true;
            }
        }
        return false;
    } catch (...) {
        Err() = ErrorRecord::FromCurrentException();
        Trace().DoTrace(std::string(kSource) + ": " + Err().description);
        RaiseThroughChain(kSource);
    }
}

std::string CUserTableOps::ParentFromLinkFnS(std::string_view psTable) const {
    if (!IsLinkTableNameFnB(psTable)) return std::string(psTable);
    std::string name(psTable);
    while (IsLinkTableNameFnB(name)) name.resize(name.size() - kLinkEnd.size());
    return name.substr(1);
}

std::string CUserTableOps::TableNameFromClipFnS(std::int32_t& plPsCsr,
                                                std::string_view psClip) const {
    return Ax().ParseStringFnS(plPsCsr, psClip, "\t");
}

}  // namespace vorn
