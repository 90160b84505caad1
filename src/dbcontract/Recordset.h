#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "dbcontract/DaoCollection.h"
#include "dbcontract/DatabaseBackend.h"
#include "dbcontract/Field.h"
#include "dbcontract/Properties.h"
#include "dbcontract/RowSource.h"

namespace vorn {

// Rows of a table or a query, with a current row, as the data access objects
// had them. Opening positions on the first row (EOF when there is none).
// RecordCount answers as Jet did: for a table opened whole the exact count;
// otherwise the rows reached so far (so 1 right after opening a non-empty
// result) until MoveLast has reached the end. Changes go through AddNew or
// Edit, then Update; the current row stays where it was after an AddNew.
class Recordset {
public:
    // Opens more rows for OpenRecordset after a Filter or Sort.
    using Opener = std::function<std::unique_ptr<RowSource>(const RowRequest&)>;

    // `database` is the engine the rows come from: once it is closed, the
    // rows are released and every use fails with 3420.
    Recordset(RowRequest request, std::unique_ptr<RowSource> rows, Opener opener,
              std::weak_ptr<DatabaseBackend> database);
    ~Recordset();
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;

    // The source: the table name, or the statement.
    const std::string& Name() const { return request_.source; }
    std::int32_t Type() const { return request_.type; }
    bool Updatable() const;

    // EOF, renamed since the C library takes that name for a macro.
    bool Eof() const { return eof_; }
    bool BOF() const { return bof_; }
    std::int32_t RecordCount() const;

    DaoCollection<Field>& Fields() { return fields_; }
    // The field of `name` (ignoring case); 3265 when none.
    Field& operator[](std::string_view name) { return *fields_.Item(name); }
    Field& operator[](std::int32_t index) { return *fields_.Item(index); }

    // 3021 when there are no rows.
    void MoveFirst();
    void MoveLast();
    // 3021 when there is no current row (at EOF).
    void MoveNext();

    // 0 none, 1 Edit, 2 AddNew: the runtime's EditMode numbers.
    std::int32_t EditMode() const { return editMode_; }
    void AddNew();
    void Edit();
    // Writes the pending AddNew or Edit; 3020 without one.
    void Update();
    void CancelUpdate();
    // Deletes the current row.
    void Delete();

    // The current row's bookmark, and the row of a bookmark.
    Variant Bookmark() const;
    void SetBookmark(const Variant& bookmark);
    // The bookmark of the row added or changed last.
    Variant LastModified() const;

    const std::string& Filter() const { return request_.filter; }
    void SetFilter(const std::string& filter) { request_.filter = filter; }
    const std::string& Sort() const { return request_.sort; }
    void SetSort(const std::string& sort) { request_.sort = sort; }
    // A new recordset over the same source with the present Filter and Sort.
    std::unique_ptr<Recordset> OpenRecordset(std::int32_t type = 0, std::int32_t options = 0);

    Properties& GetProperties() { return properties_; }

    // Releases the rows. Any later use fails with 3420, as after the
    // database is closed.
    void Close();
    bool IsOpen() const { return rows_ != nullptr; }

private:
    RowSource& Rows();
    const RowSource& Rows() const;
    bool Fetch();
    // Goes back to before the first row.
    void RestartRows();
    void RefuseReadOnly() const;
    void RequireCurrentRow() const;
    Variant ValueAt(std::size_t column) const;
    void SetValueAt(std::size_t column, const Variant& value);
    void BindFields();

    RowRequest request_;
    std::unique_ptr<RowSource> rows_;
    Opener opener_;
    std::weak_ptr<DatabaseBackend> database_;
    DaoCollection<Field> fields_;
    Properties properties_;

    std::vector<Variant> row_;
    RowSource::RowKey key_;
    bool hasRow_ = false;
    bool eof_ = true;
    bool bof_ = true;
    bool deleted_ = false;
    std::int64_t position_ = -1;  // 0-based ordinal of the current row
    std::int64_t reached_ = 0;    // rows reached so far
    bool countComplete_ = false;  // MoveLast has reached the end
    std::int64_t added_ = 0;      // rows added through this recordset
    // Rows deleted through it: they stay among those reached, whose count
    // is the furthest position read, so they are taken off it.
    std::int64_t removed_ = 0;

    std::int32_t editMode_ = 0;
    RowSource::Changes pending_;
    RowSource::RowKey lastModified_;
};

}  // namespace vorn
