#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "dbcontract/CatalogInfo.h"
#include "runtime/Variant.h"

namespace vorn {

// Where the records of a Jet file go as they are read: the design first
// (every table with its properties), then the rows table by table, then the
// relations, the saved queries and the database's properties, and End.
// The reading side runs in a child process and writes the records to a pipe;
// the parent reads them back and hands them to the sink that writes the copy.
class JetRecordSink {
public:
    virtual ~JetRecordSink() = default;
    JetRecordSink() = default;
    JetRecordSink(const JetRecordSink&) = delete;
    JetRecordSink& operator=(const JetRecordSink&) = delete;

    // A table with its fields and indexes; `storedRows` is the count the
    // table's definition holds (for progress; the rows themselves decide).
    virtual void Table(const TableInfo& table, std::int64_t storedRows) = 0;
    // A stored property of the database, a table or a field.
    virtual void Property(const PropertyOwnerKey& owner, const PropertyInfo& property) = 0;
    // The rows of one table follow, one value per field in field order.
    virtual void BeginRows(const std::string& table) = 0;
    virtual void Row(const std::vector<Variant>& values) = 0;
    virtual void EndRows() = 0;
    virtual void Relation(const RelationInfo& relation) = 0;
    virtual void Query(const QueryInfo& query) = 0;
    // Something that could not be read, by name; the reading goes on.
    virtual void Warning(const std::string& text) = 0;
    // The file cannot be read: the data engine's number and the reason.
    // Nothing follows.
    virtual void Failure(std::int32_t number, const std::string& text) = 0;
    // Everything was read.
    virtual void End() = 0;
};

}  // namespace vorn
