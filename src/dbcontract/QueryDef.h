#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "dbcontract/DatabaseBackend.h"
#include "dbcontract/Properties.h"
#include "dbcontract/Recordset.h"

namespace vorn {

// A saved query: a name and its SQL. Appended to QueryDefs it is stored in
// the database; a temporary query (no name) only runs.
class QueryDef {
public:
    QueryDef(std::string name = {}, std::string sql = {});
    QueryDef(const QueryDef&) = delete;
    QueryDef& operator=(const QueryDef&) = delete;

    const std::string& Name() const { return name_; }
    void SetName(const std::string& name);
    const std::string& SQL() const { return sql_; }
    // Changing the SQL of a stored query stores it anew.
    void SetSQL(const std::string& sql);

    std::unique_ptr<Recordset> OpenRecordset(std::int32_t type = 0, std::int32_t options = 0);
    // Runs an action query; returns the rows it touched.
    std::int64_t Execute(std::int32_t options = 0);

    Properties& GetProperties() { return properties_; }

    void BindLive(std::weak_ptr<DatabaseBackend> backend, bool stored);
    bool IsStored() const { return stored_; }

private:
    std::shared_ptr<DatabaseBackend> Backend() const;
    void MakeBuiltIns();

    std::string name_;
    std::string sql_;
    std::weak_ptr<DatabaseBackend> backend_;
    bool stored_ = false;
    Properties properties_;
};

}  // namespace vorn
