#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "dbcontract/Database.h"

namespace vorn {

// Everything the host needs to show and edit one table, read in one step
// from a table of a project file: the design settings stored as the table's
// "vorn..." properties, and what follows from its key (VORNINDEX). A plain
// snapshot: every member is public, strings start "", numbers 0, booleans
// false, and nothing ties the members to each other.
class CTableDesignData {
  public:
    CTableDesignData() = default;
    ~CTableDesignData();
    CTableDesignData(const CTableDesignData&) = default;
    CTableDesignData& operator=(const CTableDesignData&) = default;

    // Fills the record from table `psTableName`. A property the table lacks,
    // or any read that fails, leaves its member as it was: a table need not
    // carry any of these properties. With IsOutputDataSource only the
    // caption, vornKeyIsCounter and the key members are read. Never raises.
    void LoadFromTabledef(Database& pdbSource, std::string_view psTableName);

    bool bAutoCreateImport = false;      // vornAutoCreateImport
    bool bAutoCreateInput = false;       // vornAutoCreateInput
    bool bDescending = false;            // the leaf key sorts descending
    bool bKeepDataInClone = false;       // vornKeepDataInClone
    bool bKeyIsCounter = false;          // vornKeyIsCounter
    bool bLookupKeyHide = false;         // vornLookupKeyHide
    bool bNoDisplay = false;             // vornNoDisplay
    bool bNonUnique = false;             // VORNINDEX is not unique
    bool bShowAllParentKeys = false;     // vornShowAllParentKeys
    bool bTablePreviewOnly = false;      // vornTablePreviewOnly
    bool bSystemTable = false;           // vornSystemTable
    bool bEditEntireTable = false;       // vornEditEntireTable
    std::int16_t iSplitterPosition = 0;  // vornSplitterPosition
    std::int32_t lColHeadingLines = 0;   // vornColHeadingLines, at least 1 when present
    std::int32_t lDisplayPs = 0;         // vornDisplayPs
    std::int32_t lLookupFieldCount = 0;  // vornLookupFieldCount
    std::int32_t lRowHeight = 0;         // vornViewRowHtTwips, in twips
    std::string sCaption;                // vornCaption; the text members are right-trimmed
    std::string sDesc;                   // vornDesc
    std::string sVornRulesProc;          // vornVornRulesProc
    std::string sGroupName;              // vornGroupName
    std::string sGroupParent;            // vornGroupParent
    std::string sHelpText;               // vornHelpText
    std::string sKeyset;                 // the key set, all fields
    std::string sKeysUnique;             // the same list, filled alike on purpose
    std::string sParentName;             // the parent table (Callbacks().ParentNameFnS)
    std::string sPointCategory;          // set by callers only
    std::string sPostProc;               // vornPostProc
    std::string sPreview;                // vornPreviewReport
    std::string sSplitScreenChild;       // vornSplitScreenChild
    std::string sWorkingName;            // the table name as given
    bool IsOutputDataSource = false;     // set by the caller: the short load
};

}  // namespace vorn
