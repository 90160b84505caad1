#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "dbcontract/DatabaseBackend.h"
#include "dbcontract/jet/JetRecordSink.h"
#include "runtime/VornError.h"

namespace vorn {

// Writes the records read from a Jet file into a project file of our own
// format, through the engine contract: each table as it comes (its foreign
// indexes are left to the relations, which make them), its properties, its
// rows through one insert cursor at a time, then the relations (after the
// rows, which they check), the queries and the database's properties. The
// caller holds the transaction. What the target refuses is kept as a warning
// naming the object, and the copy goes on.
//
// Jet lets a field become Required, or lose AllowZeroLength, or gain a
// validation rule, without checking the rows it already holds; a row that
// breaks such a rule is still copied, the rule being dropped from the copy
// of that field (and the design, kept whole here, still tells it).
class JetCopyWriter : public JetRecordSink {
public:
    enum class Mode {
        // A copy that serves the Jet file read only: attached tables and
        // Jet's system tables are kept in the design only where the target
        // cannot hold them.
        kServe,
        // A project file of our own: Jet's system tables are left out (it
        // has its own catalog), attached tables are attached when the
        // target can, and every rule that could not be kept is a warning.
        kConvert,
    };

    // The design as the Jet file describes it, for answers the copy cannot
    // give as Jet would.
    struct Design {
        std::vector<TableInfo> tables;        // every table, in the file's order
        std::set<std::string> copied;         // the tables that are in the copy
        std::vector<RelationInfo> relations;  // every relation between tables
        std::vector<QueryInfo> queries;
        // Properties of tables that are not in the copy: (table, field) -> list.
        std::map<std::pair<std::string, std::string>, std::vector<PropertyInfo>> heldProperties;
    };

    // Rows copied so far, of the stored total, and the table being copied.
    using Progress = std::function<void(const std::string& table, std::int64_t done, std::int64_t total)>;

    // `source` is the Jet file's path, named in failures. `target` must
    // outlive the writer.
    JetCopyWriter(std::string source, DatabaseBackend& target, Mode mode, Progress progress = {});
    ~JetCopyWriter() override;

    void Table(const TableInfo& table, std::int64_t storedRows) override;
    void Property(const PropertyOwnerKey& owner, const PropertyInfo& property) override;
    void BeginRows(const std::string& table) override;
    void Row(const std::vector<Variant>& values) override;
    void EndRows() override;
    void Relation(const RelationInfo& relation) override;
    void Query(const QueryInfo& query) override;
    void Warning(const std::string& text) override;
    // Raises the failure as a VornError naming the source file.
    void Failure(std::int32_t number, const std::string& text) override;
    void End() override { ended_ = true; }

    bool Ended() const { return ended_; }
    const std::vector<std::string>& Warnings() const { return warnings_; }
    const Design& Designed() const { return design_; }
    // Rows written, by table.
    const std::map<std::string, std::int64_t>& RowCounts() const { return rowCounts_; }

private:
    // Runs one write; a refusal of the target becomes a warning.
    bool Try(const std::string& what, const std::function<void()>& write);
    bool Copied(const std::string& table) const { return design_.copied.count(table) != 0; }
    const TableInfo* Designed(const std::string& table) const;
    void OpenRows();
    void EndTableRows();
    // Drops from the copy the rules of `rowsTable_` that `values` break.
    // False when there is none to drop.
    bool Relax(const std::vector<Variant>& values, const VornError& refusal);

    std::string source_;
    DatabaseBackend& target_;
    Mode mode_;
    Progress progress_;
    Design design_;
    std::set<std::string> leftOut_;  // tables left out on purpose
    std::map<std::string, std::int64_t> rowCounts_;
    std::vector<std::string> warnings_;
    std::unique_ptr<RowSource> rows_;
    std::string rowsTable_;
    TableInfo rowsDesign_;  // the copy's design of rowsTable_, rules dropped so far
    RowSource::Changes changes_;
    std::vector<std::size_t> valueOf_;  // for each column of the copy, its value's index
    std::int64_t refusedRows_ = 0;
    std::string firstRefusal_;
    std::int64_t done_ = 0;
    std::int64_t total_ = 0;
    bool ended_ = false;
};

}  // namespace vorn
