#pragma once

#include <string>
#include <string_view>

#include "dbcontract/Database.h"

namespace vorn {

// Checks that record links still lead to a row. A member of the host's
// string services in name (Ax), it lives with the data model because it
// asks the database and the key sets, which the foundation below may not
// reach.
//
// `psRecordLinkData` holds one link a line ("TABLE!key text", lines joined
// by line ends); the key text is the row's key fields (kfoAllFields) joined
// by commas, on an enterprise database followed by "," and the host's
// current project number. For each line whose table is missing or whose row
// is not found, `psMesg` gets a line end, the line, ": " and the reason.
// Returns true when any link failed; empty link data is false. A statement
// that fails raises.
bool RecordLinkCheckFailedFnB(Database& pdbCurr, std::string_view psRecordLinkData, std::string& psMesg);

}  // namespace vorn
