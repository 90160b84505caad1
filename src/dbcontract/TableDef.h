#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "dbcontract/CatalogInfo.h"
#include "dbcontract/DaoCollection.h"
#include "dbcontract/DatabaseBackend.h"
#include "dbcontract/Field.h"
#include "dbcontract/Index.h"
#include "dbcontract/Properties.h"
#include "dbcontract/Recordset.h"

namespace vorn {

// A table's design. Made by Database::CreateTableDef, it is a design until
// it is appended to TableDefs; from then on it is live: appending or
// deleting fields and indexes, renaming, and setting properties change the
// table in the database at once.
class TableDef {
public:
    explicit TableDef(std::string name = {}, std::int32_t attributes = 0, std::string sourceTableName = {},
                      std::string connect = {});
    // A live table as the engine has it.
    TableDef(const TableInfo& info, std::weak_ptr<DatabaseBackend> backend);
    TableDef(const TableDef&) = delete;
    TableDef& operator=(const TableDef&) = delete;

    const std::string& Name() const { return info_.name; }
    void SetName(const std::string& name);
    std::int32_t Attributes() const { return info_.attributes; }
    void SetAttributes(std::int32_t attributes);
    const std::string& Connect() const { return info_.connect; }
    void SetConnect(const std::string& connect);
    const std::string& SourceTableName() const { return info_.sourceTableName; }
    void SetSourceTableName(const std::string& name);
    const std::string& ValidationRule() const { return info_.validationRule; }
    const std::string& ValidationText() const { return info_.validationText; }
    double DateCreated() const { return info_.dateCreated; }
    double LastUpdated() const { return info_.lastUpdated; }
    // The rows of the table; -1 for an attached table, as Jet answers.
    std::int32_t RecordCount();
    bool Updatable() const;

    DaoCollection<Field>& Fields() { return fields_; }
    DaoCollection<Index>& Indexes() { return indexes_; }
    Properties& GetProperties() { return properties_; }

    std::shared_ptr<Field> CreateField(const std::string& name = {}, std::int16_t type = 10, std::int32_t size = 0);
    std::shared_ptr<Index> CreateIndex(const std::string& name = {});
    std::shared_ptr<Property> CreateProperty(const std::string& name = {}, std::int16_t type = 10,
                                             const Variant& value = {});

    // Opens the table's rows: dbOpenTable by default, dbOpenDynaset for an
    // attached table (which can't be opened as a table).
    std::unique_ptr<Recordset> OpenRecordset(std::int32_t type = 0, std::int32_t options = 0);

    // The design as the engine takes it.
    TableInfo Info() const;
    bool IsLive() const { return !backend_.expired(); }
    // Makes the design live after the engine created the table.
    void BindLive(std::weak_ptr<DatabaseBackend> backend);
    // Takes the design the engine stored, for a table whose design comes
    // from elsewhere (an attached table: its fields and attributes are its
    // source's).
    void TakeStoredDesign(const TableInfo& stored);

private:
    std::shared_ptr<DatabaseBackend> Backend() const;
    void BindField(const std::shared_ptr<Field>& field);
    void AttachPropertyStores();
    void MakeBuiltIns();
    void SetFieldsAndIndexes(const TableInfo& info);

    TableInfo info_;
    std::weak_ptr<DatabaseBackend> backend_;
    DaoCollection<Field> fields_;
    DaoCollection<Index> indexes_;
    Properties properties_;
};

}  // namespace vorn
