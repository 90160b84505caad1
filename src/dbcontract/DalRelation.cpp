#include "dbcontract/DalRelation.h"

#include "runtime/VornError.h"

namespace vorn {

DalRelationField DalRelation::Field(std::int32_t index) const {
    if (index < 0 || index >= FieldCount()) throw VornError::SubscriptOutOfRange("DalRelation");
    const RelationFieldInfo& field = info_.fields[static_cast<std::size_t>(index)];
    return {field.name, field.foreignName};
}

}  // namespace vorn
