#pragma once

#include <cstdint>
#include <string>

#include "dbcontract/jet/JetRecordSink.h"

namespace vorn {

// Reads a whole Jet or ACE file through libmdb and hands what it finds to a
// sink: every table with its fields, indexes and properties, then the rows,
// then the relations, the saved queries and the database's properties.
//
// libmdb is trusted for the file's structure (pages, table definitions,
// where each row and each field lies) and for nothing else: the catalog,
// the property blocks, the relations and every value are decoded here from
// the stored bytes. libmdb crashes and loops on some damaged files and prints
// as it goes, so this runs in a child process (see RunInChild).
class MdbExtractor {
public:
    // `path` names the file; the header was checked before.
    MdbExtractor(std::string path, JetRecordSink& sink) : path_(std::move(path)), sink_(sink) {}

    // Reads everything and ends with the sink's End, or with its Failure
    // when the file cannot be read at all (3049). A table, a value or a
    // property that cannot be read is named in a Warning and the reading goes
    // on.
    void Run();

    // The child's work: reads `path` and writes the records to `fd`.
    // Returns the child's exit code.
    static int RunInChild(const std::string& path, int fd);

private:
    std::string path_;
    JetRecordSink& sink_;
};

// The Connect of a table attached from another Jet file: its stored
// Connect followed by ";DATABASE=" and the file's path, with one ";"
// between them whether or not the stored Connect ends with one.
std::string LinkedTableConnect(const std::string& connect, const std::string& database);

}  // namespace vorn
