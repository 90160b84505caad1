#include "dbcontract/DaoCollection.h"

namespace vorn {

std::string_view UnbracketedName(std::string_view name) {
    if (name.size() >= 2 && name.front() == '[' && name.back() == ']') return name.substr(1, name.size() - 2);
    return name;
}

}  // namespace vorn
