#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/Variant.h"

namespace vorn {

// What a server transaction made and wrote on MariaDB, so that Rollback can
// undo it. The server commits by itself before every DDL statement, so a
// plain ROLLBACK would keep the tables, indexes and foreign keys made since
// BeginTransaction and every row written before the last of them. The
// connection tells the journal what each statement made; Rollback runs the
// server's ROLLBACK and then UndoSteps, newest first: rows deleted by key,
// then foreign keys, indexes, columns, views and tables dropped.
//
// Rows inserted into a table the transaction made are not kept: dropping
// the table undoes them. Rows changed or deleted by UPDATE and DELETE, and
// objects dropped or renamed, cannot be restored; while no DDL follows them
// the server's ROLLBACK still undoes them, after a DDL they are reported by
// Losses.
class MariaDbRollbackJournal {
public:
    // A statement that undoes one thing, with its values.
    struct Step {
        std::string sql;
        std::vector<Variant> params;
    };

    void Start();
    void Clear();
    bool Recording() const { return recording_; }

    void TableCreated(std::string_view table);
    void ViewCreated(std::string_view view);
    void IndexCreated(std::string_view table, std::string_view index);
    void ForeignKeyCreated(std::string_view table, std::string_view name);
    void ColumnAdded(std::string_view table, std::string_view column);
    // One inserted row, found again by the values of `columns` (the key, or
    // every column of a table without one: then one such row is deleted).
    void RowInserted(std::string_view table, const std::vector<std::string>& columns, std::vector<Variant> values,
                     bool wholeRow = false);
    // Rows numbered first .. first + count - 1 by the table's counter.
    void RowsNumbered(std::string_view table, std::string_view counter, std::int64_t first, std::int64_t count);
    // Something the journal cannot undo: lost if a DDL statement commits it.
    void Unrecorded(std::string description);
    // A DDL statement is about to commit what came before it.
    void ImplicitCommit();

    // Whether the transaction made this table (names ignore case).
    bool Made(std::string_view table) const;

    // The statements that undo what DDL statements committed, newest first.
    std::vector<Step> UndoSteps() const;
    // What was committed and cannot be undone.
    const std::vector<std::string>& Losses() const { return losses_; }

private:
    void Add(std::string sql, std::vector<Variant> params = {});

    bool recording_ = false;
    std::vector<Step> steps_;
    // Rows inserted since the last DDL statement: the server's ROLLBACK
    // undoes them, and deleting them again by their values could take a
    // twin that was there before (a row without a key).
    std::vector<Step> pendingRows_;
    std::vector<std::string> madeTables_;
    std::vector<std::string> pending_;
    std::vector<std::string> losses_;
};

}  // namespace vorn
