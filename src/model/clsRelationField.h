#pragma once

#include <string>

namespace vorn {

// One field pair of a relation: the field of the parent table and the
// matching field of the child table.
class clsRelationField {
  public:
    clsRelationField() = default;
    ~clsRelationField();
    clsRelationField(const clsRelationField&) = default;
    clsRelationField& operator=(const clsRelationField&) = default;

    std::string Name;         // the parent's field
    std::string ForeignName;  // the child's field
};

}  // namespace vorn
