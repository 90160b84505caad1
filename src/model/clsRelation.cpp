#include "model/clsRelation.h"

#include "foundation/CFile.h"

namespace vorn {

clsRelation::~clsRelation() {
    // The pairs go from the last to the first, as the collection helper of
    // the session clears every collection.
    while (fields_.Count() > 0) fields_.Remove(fields_.Count());
    RecordClassEnd("clsRelation");
}

void clsRelation::AddPair(const std::string& name, const std::string& foreignName) {
    auto pair = std::make_shared<clsRelationField>();
    pair->ForeignName = foreignName;
    pair->Name = name;
    fields_.Add(std::move(pair));
}

void clsRelation::LoadDAO(Relation& pRel) {
    table_ = pRel.Table();
    name_ = pRel.Name();
    foreignTable_ = pRel.ForeignTable();
    fieldCount_ = static_cast<std::int16_t>(pRel.Fields().Count());
    attributes_ = pRel.Attributes();
    for (const auto& field : pRel.Fields()) AddPair(field->Name(), field->ForeignName());
}

void clsRelation::LoadDAL(const DalRelation& proRel) {
    table_ = proRel.Table();
    name_ = proRel.Name();
    foreignTable_ = proRel.ForeignTable();
    fieldCount_ = static_cast<std::int16_t>(proRel.FieldCount());
    attributes_ = proRel.Attributes();
    for (std::int32_t i = 0; i < proRel.FieldCount(); ++i) {
        const DalRelationField pair = proRel.Field(i);
        AddPair(pair.Name(), pair.ForeignName());
    }
}

}  // namespace vorn
