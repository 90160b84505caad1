#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dbcontract/CatalogInfo.h"
#include "runtime/Variant.h"

namespace vorn {

// An engine's rows behind a recordset: a cursor that reads forward, can
// start again, and, when the rows come from one table that may be changed,
// inserts, updates and deletes rows by key. A key is the engine's own bytes
// (the row id of a file engine, the primary key of a server table); the
// recordset hands it out as a bookmark and never looks inside.
class RowSource {
public:
    using RowKey = std::string;
    // One value per column; nullopt means "not given" (the column's default
    // on insert, unchanged on update).
    using Changes = std::vector<std::optional<Variant>>;

    virtual ~RowSource() = default;
    RowSource() = default;
    RowSource(const RowSource&) = delete;
    RowSource& operator=(const RowSource&) = delete;

    // The columns, in order.
    virtual const std::vector<FieldInfo>& Columns() const = 0;

    // Reads the next row into `row` (one value per column). False at the end.
    virtual bool Next(std::vector<Variant>& row) = 0;

    // Goes back to before the first row; the rows are read again, so changes
    // made meanwhile show.
    virtual void Restart() = 0;

    // The number of rows when it is known without reading them all (a table
    // opened whole); nullopt otherwise.
    virtual std::optional<std::int64_t> KnownCount() = 0;

    // True when rows may be inserted, updated and deleted.
    virtual bool Updatable() const = 0;

    // The key of the row Next read last. REQUIRES: Updatable().
    virtual RowKey CurrentKey() const = 0;

    // Inserts a row; returns its key. Fails with the engine's numbers:
    // 3022 duplicate in a unique index, 3314 a required field is Null,
    // 3315 a zero-length text where none is allowed, 3201 no parent row.
    virtual RowKey Insert(const Changes& values) = 0;

    // Changes the given columns of the row of `key`.
    virtual void Update(const RowKey& key, const Changes& changes) = 0;

    virtual void Delete(const RowKey& key) = 0;

    // Reads the row of `key` (as it is now) into `row`; false when it is gone.
    virtual bool Read(const RowKey& key, std::vector<Variant>& row) = 0;
};

}  // namespace vorn
