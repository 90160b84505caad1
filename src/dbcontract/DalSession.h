#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "dbcontract/DalConnection.h"

namespace vorn {

// The session object of the enterprise connections: it tells whether a
// database is an enterprise one by giving a connection for it, and knows
// the project number the host is working on.
class DalSession {
  public:
    // A new DalConnection attached to the database of `connect`, the Connect
    // text of a Database: the IDAO form ("SQLSERVER; Server=...") or an ODBC
    // string whose driver names the provider; nullptr for a project file
    // (empty Connect, ";PWD=...") and any other text. Fails as
    // EnterpriseTargetOf for an ODBC string of an unknown driver. Each call
    // gives a connection of its own, which the caller closes.
    std::shared_ptr<DalConnection> ConnectionFor(std::string_view connect) const;

    std::int32_t CurrentProjectID() const { return currentProjectId_; }
    // Set by the host when it changes projects.
    void SetCurrentProjectID(std::int32_t id) { currentProjectId_ = id; }

  private:
    std::int32_t currentProjectId_ = 0;
};

// The session's DalSession. Named apart from the class, which takes the
// legacy global name.
DalSession& TheDalSession();

}  // namespace vorn
