#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "dbcontract/DalRelation.h"
#include "dbcontract/Relation.h"
#include "model/clsRelationField.h"
#include "runtime/Collection.h"

namespace vorn {

// A cache of one relation, filled from a project file's Relation or from a
// foreign key of an enterprise database, so that callers read both alike.
class clsRelation {
  public:
    clsRelation() = default;
    ~clsRelation();
    clsRelation(const clsRelation&) = delete;
    clsRelation& operator=(const clsRelation&) = delete;

    // Copies name, tables, attributes and the field pairs in order. Fields
    // of an earlier load stay in front of the new ones.
    void LoadDAO(Relation& pRel);
    void LoadDAL(const DalRelation& proRel);

    std::int32_t Attributes() const { return attributes_; }
    std::int16_t FieldCount() const { return fieldCount_; }
    void FieldCount(std::int16_t count) { fieldCount_ = count; }
    // The pairs, from position 1.
    Collection<std::shared_ptr<clsRelationField>>& Fields() { return fields_; }
    // The child table.
    const std::string& ForeignTable() const { return foreignTable_; }
    const std::string& Name() const { return name_; }
    // The parent table; ParentTable and Table are one value.
    const std::string& ParentTable() const { return table_; }
    void ParentTable(std::string table) { table_ = std::move(table); }
    const std::string& Table() const { return table_; }
    // A name of the caller's own, unrelated to Name.
    const std::string& RelName() const { return relName_; }
    void RelName(std::string name) { relName_ = std::move(name); }

  private:
    void AddPair(const std::string& name, const std::string& foreignName);

    std::int32_t attributes_ = 0;
    std::int16_t fieldCount_ = 0;
    Collection<std::shared_ptr<clsRelationField>> fields_;
    std::string foreignTable_;
    std::string name_;
    std::string table_;
    std::string relName_;
};

}  // namespace vorn
