#pragma once

#include <functional>
#include <memory>
#include <string>

#include "dbcontract/CatalogInfo.h"
#include "dbcontract/DaoCollection.h"
#include "dbcontract/Field.h"
#include "dbcontract/Properties.h"

namespace vorn {

// An index of a table: its flags and its fields in key order, each field
// with its sort sense in Attributes (dbDescending). Once appended to a
// table's Indexes, its design is fixed (3219 on a change).
class Index {
public:
    explicit Index(std::string name = {});
    // A live index, read from the engine.
    explicit Index(const IndexInfo& info);
    Index(const Index&) = delete;
    Index& operator=(const Index&) = delete;

    const std::string& Name() const { return info_.name; }
    void SetName(const std::string& name);
    bool Primary() const { return info_.primary; }
    void SetPrimary(bool primary);
    bool Unique() const { return info_.unique; }
    void SetUnique(bool unique);
    bool IgnoreNulls() const { return info_.ignoreNulls; }
    void SetIgnoreNulls(bool ignoreNulls);
    bool Required() const { return info_.required; }
    void SetRequired(bool required);
    bool Foreign() const { return info_.foreign; }
    bool Clustered() const { return info_.clustered; }

    DaoCollection<Field>& Fields() { return fields_; }
    // A field for this index: a name and, in Attributes, its sort sense.
    std::shared_ptr<Field> CreateField(const std::string& name = {});

    Properties& GetProperties() { return properties_; }

    // The design as the engine takes it: the fields in their present order.
    IndexInfo Info() const;
    // Fixes the design: the index has been appended.
    void MarkAppended();
    bool IsAppended() const { return appended_; }

private:
    void RefuseWhenAppended() const;
    void MakeBuiltIns();

    IndexInfo info_;
    bool appended_ = false;
    DaoCollection<Field> fields_;
    Properties properties_;
};

}  // namespace vorn
