#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "dbcontract/CatalogInfo.h"

namespace vorn {

// One field pair of a DalRelation.
struct DalRelationField {
    std::string name;         // the parent's field
    std::string foreignName;  // the child's field
    const std::string& Name() const { return name; }
    const std::string& ForeignName() const { return foreignName; }
};

// A foreign key of an enterprise database, read as a relation is read:
// Table is the parent, ForeignTable the child, Attributes carry the cascade
// bits (256 update, 4096 delete), Fields the pairs in key order.
class DalRelation {
  public:
    DalRelation() = default;
    explicit DalRelation(RelationInfo info) : info_(std::move(info)) {}

    const std::string& Name() const { return info_.name; }
    const std::string& Table() const { return info_.table; }
    const std::string& ForeignTable() const { return info_.foreignTable; }
    std::int32_t Attributes() const { return info_.attributes; }
    std::int32_t FieldCount() const { return static_cast<std::int32_t>(info_.fields.size()); }
    // The pair at `index` (0-based); 9 outside the fields.
    DalRelationField Field(std::int32_t index) const;

  private:
    RelationInfo info_;
};

}  // namespace vorn
