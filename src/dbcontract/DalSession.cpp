#include "dbcontract/DalSession.h"

#include "dbcontract/ConnectionTarget.h"
#include "dbcontract/ProviderRules.h"
#include "runtime/SessionSlot.h"

namespace vorn {

std::shared_ptr<DalConnection> DalSession::ConnectionFor(std::string_view connect) const {
    auto connection = std::make_shared<DalConnection>();
    const auto semicolon = connect.find(';');
    const std::int16_t tagged =
        semicolon == std::string_view::npos ? 0 : ProviderFromTag(connect.substr(0, semicolon));
    if (tagged != 0) {
        // The IDAO form carries the connection's own connect string.
        connection->SetProviderType(tagged);
        connection->SetConnectString(std::string(connect.substr(semicolon + 1)));
        return connection;
    }
    const auto target = EnterpriseTargetOf(connect);
    if (!target) return nullptr;
    connection->SetProviderType(target->provider);
    connection->SetConnectString(
        target->user.empty()
            ? connection->BuildConnectString(target->server, target->database)
            : connection->BuildConnectString(target->server, target->database, target->user, target->password));
    return connection;
}

DalSession& TheDalSession() { return SessionSlot<DalSession>::Get(); }

}  // namespace vorn
