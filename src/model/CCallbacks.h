#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "dbcontract/Database.h"
#include "dbcontract/Relation.h"
#include "dbcontract/TableDef.h"
#include "runtime/Variant.h"

namespace vorn {

// Two small services the host calls back into. Stateless; one instance
// serves the process (Callbacks()).
class CCallbacks {
  public:
    CCallbacks() = default;
    CCallbacks(const CCallbacks&) = delete;
    CCallbacks& operator=(const CCallbacks&) = delete;

    // The present date and time in the host's date form (Ax's VornFullDateFnS).
    std::string VornNowDate() const;

    // The parent table of `psChildTable`, passed through ParentFromLinkFnS.
    // The relation lookup behind it is never wired, so the answer is "" for
    // every table and `pvRelParam` is left as it was; hosts rely on that
    // answer. Never raises, and leaves no error behind.
    std::string ParentNameFnS(std::string_view psChildTable, Database& pdbSource,
                              Variant* pvRelParam = nullptr) const;

  private:
    // The relation finder the parent lookup was meant to call. Nothing ever
    // sets it: the call fails as a call through an unset object does (91).
    std::shared_ptr<Relation> ParentRelationFnO(TableDef& ptdChild, Database& pdbSource,
                                                int piFlags) const;
};

// The session's callbacks.
CCallbacks& Callbacks();

}  // namespace vorn
