#pragma once

#include <memory>
#include <string>

#include "dbcontract/CatalogInfo.h"
#include "dbcontract/DaoCollection.h"
#include "dbcontract/Field.h"
#include "dbcontract/Properties.h"

namespace vorn {

// A relation between a parent table (`Table`) and a child table
// (`ForeignTable`), with its field pairs: each field's Name is the parent's
// field and its ForeignName the child's. Fixed once appended.
class Relation {
public:
    Relation(std::string name = {}, std::string table = {}, std::string foreignTable = {},
             std::int32_t attributes = 0);
    explicit Relation(const RelationInfo& info);
    Relation(const Relation&) = delete;
    Relation& operator=(const Relation&) = delete;

    const std::string& Name() const { return info_.name; }
    void SetName(const std::string& name);
    const std::string& Table() const { return info_.table; }
    void SetTable(const std::string& table);
    const std::string& ForeignTable() const { return info_.foreignTable; }
    void SetForeignTable(const std::string& table);
    std::int32_t Attributes() const { return info_.attributes; }
    void SetAttributes(std::int32_t attributes);

    DaoCollection<Field>& Fields() { return fields_; }
    std::shared_ptr<Field> CreateField(const std::string& name = {});

    Properties& GetProperties() { return properties_; }

    RelationInfo Info() const;
    void MarkAppended();
    bool IsAppended() const { return appended_; }

private:
    void RefuseWhenAppended() const;
    void MakeBuiltIns();

    RelationInfo info_;
    bool appended_ = false;
    DaoCollection<Field> fields_;
    Properties properties_;
};

}  // namespace vorn
