#include "dbcontract/IdaoEngine.h"

#include "dbcontract/ConnectionTarget.h"
#include "dbcontract/ProviderRules.h"

namespace vorn {

std::shared_ptr<IdaoDatabase> IdaoEngine::OpenDatabase(std::string_view, std::int32_t,
                                                       bool readOnly, std::string_view connect) {
    const auto semicolon = connect.find(';');
    const std::string_view tag = connect.substr(0, semicolon);
    const std::int16_t code = ProviderFromTag(tag);
    if (semicolon == std::string_view::npos || code == 0) {
        throw ServerFailure("IdaoEngine", "The connect string names no known provider: '" +
                                              std::string(tag) +
                                              "' (SQLSERVER, MSORACLE, MYSQL, SQLITE).");
    }
    const std::string_view rest = connect.substr(semicolon + 1);
    std::shared_ptr<ServerConnection> connection =
        OpenServerConnection(ParseConnectText(code, rest));
    auto backend =
        std::make_unique<EnterpriseBackend>(std::move(connection), std::string(connect), readOnly);
    return std::make_shared<IdaoDatabase>(std::move(backend));
}

}  // namespace vorn
