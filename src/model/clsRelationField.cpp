#include "model/clsRelationField.h"

#include "foundation/CFile.h"

namespace vorn {

clsRelationField::~clsRelationField() { RecordClassEnd("clsRelationField"); }

}  // namespace vorn
