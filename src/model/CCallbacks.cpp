#include "model/CCallbacks.h"

#include "dbcontract/DaoConstants.h"
#include "foundation/CAx0.h"
#include "model/CUserTableOps.h"
#include "runtime/ErrorRecord.h"
#include "runtime/SessionSlot.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {

CCallbacks& Callbacks() { return SessionSlot<CCallbacks>::Get(); }

std::string CCallbacks::VornNowDate() const { return Ax().VornNowDate(); }

std::shared_ptr<Relation> CCallbacks::ParentRelationFnO(TableDef& /*ptdChild*/,
                                                        Database& /*pdbSource*/,
                                                        int /*piFlags*/) const {
    throw VornError::ObjectNotSet("CCallbacks.ParentNameFnS");
}

std::string CCallbacks::ParentNameFnS(std::string_view psChildTable, Database& pdbSource,
                                      Variant* pvRelParam) const {
    if (psChildTable.empty()) return {};
    const std::string child = utf8::ToUpper(psChildTable);
    std::string parent;
    // A missing table, a table without a parent, and the unwired lookup all
    // leave the parent unknown.
    TryStep([&] {
        const auto table = pdbSource.TableDefs().Item(child);
        const auto relation = ParentRelationFnO(*table, pdbSource, 0);
        parent = utf8::ToUpper(relation->Table());
        if (pvRelParam == nullptr) return;
        if (pvRelParam->IsText()) {
            *pvRelParam = relation->Name();
        } else if (pvRelParam->IsBoolean()) {
            *pvRelParam = (relation->Attributes() & dao::dbRelationUnique) != 0;
        }
    });
    parent = UserTab().ParentFromLinkFnS(parent);
    Err().Clear();
    return parent;
}

}  // namespace vorn
