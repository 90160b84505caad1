#include "dbcontract/DalSession.h"

#include "dbcontract/ProviderRules.h"
#include "runtime/SessionSlot.h"

namespace vorn {

std::shared_ptr<DalConnection> DalSession::ConnectionFor(std::string_view connect) const {
    const auto semicolon = connect.find(';');
    if (semicolon == std::string_view::npos) return nullptr;
    const std::int16_t code = ProviderFromTag(connect.substr(0, semicolon));
    if (code == 0) return nullptr;
    auto connection = std::make_shared<DalConnection>();
    connection->SetProviderType(code);
    connection->SetConnectString(std::string(connect.substr(semicolon + 1)));
    return connection;
}

DalSession& TheDalSession() { return SessionSlot<DalSession>::Get(); }

}  // namespace vorn
