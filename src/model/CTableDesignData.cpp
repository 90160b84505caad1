#include "model/CTableDesignData.h"

#include <functional>
#include <memory>
#include <string>

#include "dbcontract/DaoConstants.h"
#include "foundation/CAx0.h"
#include "foundation/CFile.h"
#include "model/CCallbacks.h"
#include "model/CVornIndex.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorRecord.h"
#include "runtime/Utf8.h"

namespace vorn {
namespace {

// Runs one statement of the load; a failure skips it and the load goes on.
void Skippable(const std::function<void()>& statement) { IgnoreErrors(statement); }

}  // namespace

CTableDesignData::~CTableDesignData() { RecordClassEnd("CTableDesignData"); }

void CTableDesignData::LoadFromTabledef(Database& pdbSource, std::string_view psTableName) {
    std::shared_ptr<TableDef> table;
    Skippable([&] { table = pdbSource.TableDefs().Item(psTableName); });
    // 3270 (no such property) is the common failure of every read below.
    const auto value = [&](std::string_view property) {
        if (!table) throw VornError::ObjectNotSet("CTableDesignData.LoadFromTabledef");
        return table->GetProperties().Item(property)->Value();
    };
    const auto text = [&](std::string_view property) {
        return std::string(utf8::RTrim(CStr(value(property))));
    };

    Skippable([&] { sCaption = text("vornCaption"); });
    Skippable([&] { bKeyIsCounter = CBool(value("vornKeyIsCounter")); });
    if (!IsOutputDataSource) {
        Skippable([&] { bNoDisplay = CBool(value("vornNoDisplay")); });
        Skippable([&] { bTablePreviewOnly = CBool(value("vornTablePreviewOnly")); });
        Skippable([&] { bKeepDataInClone = Ax().CVBoolFnB(CStr(value("vornKeepDataInClone"))); });
        Skippable([&] { bShowAllParentKeys = CBool(value("vornShowAllParentKeys")); });
        Skippable([&] { bAutoCreateImport = CBool(value("vornAutoCreateImport")); });
        Skippable([&] { bAutoCreateInput = CBool(value("vornAutoCreateInput")); });
        Skippable([&] { bSystemTable = CBool(value("vornSystemTable")); });
        Skippable([&] { bEditEntireTable = CBool(value("vornEditEntireTable")); });
        Skippable(
            [&] { lColHeadingLines = Ax().MaxValFnI(CInt(value("vornColHeadingLines")), 1); });
        Skippable([&] { lDisplayPs = CLng(value("vornDisplayPs")); });
        Skippable([&] { lRowHeight = CLng(value("vornViewRowHtTwips")); });
        Skippable([&] { sDesc = text("vornDesc"); });
        Skippable([&] { sVornRulesProc = text("vornVornRulesProc"); });
        Skippable([&] { sGroupName = text("vornGroupName"); });
        Skippable([&] { sGroupParent = text("vornGroupParent"); });
        Skippable([&] { sHelpText = text("vornHelpText"); });
        Skippable([&] { sPostProc = text("vornPostProc"); });
        Skippable([&] { sPreview = text("vornPreviewReport"); });
        Skippable([&] { sSplitScreenChild = text("vornSplitScreenChild"); });
        Skippable([&] { iSplitterPosition = CInt(value("vornSplitterPosition")); });
        Skippable([&] { lLookupFieldCount = CLng(value("vornLookupFieldCount")); });
        Skippable([&] { bLookupKeyHide = CBool(value("vornLookupKeyHide")); });
    }
    sWorkingName = std::string(psTableName);
    if (!table) return;

    std::int32_t level = kfoAllFields;
    Skippable([&] { sKeyset = TheIndex().VornIndexAndLevelFnS(table.get(), level, &pdbSource); });
    if (level <= 0) return;
    Skippable([&] {
        const auto index = table->Indexes().Item(CVornIndex::kIndexName);
        bDescending = (index->Fields().Item(level - 1)->Attributes() & dao::dbDescending) != 0;
    });
    Skippable([&] {
        const bool unique = table->Indexes().Item(CVornIndex::kIndexName)->Unique();
        bNonUnique = !Ax().CVBoolFnB(CStr(Variant(unique)));
    });
    Skippable(
        [&] { sKeysUnique = TheIndex().VornIndexFieldsFnS(*table, kfoAllFields, &pdbSource); });
    Skippable([&] { sParentName = Callbacks().ParentNameFnS(psTableName, pdbSource); });
}

}  // namespace vorn
