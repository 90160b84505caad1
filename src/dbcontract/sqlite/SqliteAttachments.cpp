#include "dbcontract/sqlite/SqliteAttachments.h"

#include <filesystem>

#include "dbcontract/sqlite/LdbLock.h"
#include "dbcontract/sqlite/SqliteCatalog.h"
#include "dbcontract/sqlite/SqliteDdl.h"
#include "dbcontract/sqlite/SqliteErrors.h"
#include "dbcontract/sqlite/SqliteHandle.h"
#include "dbcontract/sqlite/SqliteProjectFile.h"
#include "dbcontract/sqlite/SqliteStatement.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"

namespace vorn {

struct SqliteAttachments::Entry {
    std::string file;  // absolute
    std::string alias;
    std::unique_ptr<LdbLock> lock;
    bool forStatement = false;  // detached after the statement that named it
};

namespace {

// A path as an SQLite URI, so that "mode=ro" can go with it.
std::string FileUri(const std::string& path, bool readOnly) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string uri = "file:";
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '%' || c == '?' || c == '#' || byte < 0x21 || byte >= 0x7F) {
            uri += '%';
            uri += kHex[byte >> 4];
            uri += kHex[byte & 15];
        } else {
            uri += c;
        }
    }
    return readOnly ? uri + "?mode=ro" : uri;
}

}  // namespace

SqliteAttachments::SqliteAttachments(const SqliteHandle& db, bool readOnly)
    : db_(db), readOnly_(readOnly) {}

SqliteAttachments::~SqliteAttachments() { Close(); }

std::optional<std::string> SqliteAttachments::DatabaseOf(std::string_view connect) {
    const std::string upper = utf8::ToUpper(connect);
    const auto start = upper.find(";DATABASE=");
    if (start == std::string::npos || upper.find("ODBC") == 0) return std::nullopt;
    const auto begin = start + 10;
    const auto end = connect.find(';', begin);
    auto file =
        std::string(connect.substr(begin, end == std::string_view::npos ? end : end - begin));
    if (file.empty()) return std::nullopt;
    return file;
}

std::string SqliteAttachments::Attach(const std::string& file) {
    return Find(file, false).alias;
}

std::string SqliteAttachments::AttachForStatement(const std::string& file) {
    return Find(file, true).alias;
}

// The entry of a file, attaching it first. A file that is kept attached
// stays so even when a statement names it.
SqliteAttachments::Entry& SqliteAttachments::Find(const std::string& file, bool forStatement) {
    const auto absolute = std::filesystem::absolute(file).lexically_normal().string();
    for (const auto& entry : entries_) {
        if (entry->file != absolute) continue;
        entry->forStatement = entry->forStatement && forStatement;
        return *entry;
    }
    if (!std::filesystem::exists(absolute)) {
        throw SqliteErrors::Jet(errnum::kJetFileNotFound, "Could not find file '" + file + "'.");
    }
    if (!SqliteProjectFile::LooksLikeProjectFile(absolute)) {
        throw SqliteErrors::Jet(errnum::kJetUnrecognizedFormat,
                                "Unrecognized database format '" + file + "'.");
    }
    auto entry = std::make_unique<Entry>();
    entry->file = absolute;
    entry->alias = "vornattach" + std::to_string(++aliasesMade_);
    entry->forStatement = forStatement;
    SqliteStatement attach(db_, "ATTACH DATABASE ?1 AS " + SqliteDdl::Quote(entry->alias));
    attach.BindText(1, FileUri(absolute, readOnly_)).Run();
    try {
        entry->lock = std::make_unique<LdbLock>(absolute);
    } catch (const VornError&) {
        // A folder we cannot write to still lets the file be read.
    }
    entries_.push_back(std::move(entry));
    return *entries_.back();
}

void SqliteAttachments::ReleaseStatementFiles() noexcept {
    std::erase_if(entries_, [this](const std::unique_ptr<Entry>& entry) {
        if (!entry->forStatement) return false;
        try {
            db_.Exec("DETACH DATABASE " + SqliteDdl::Quote(entry->alias));
            return true;
        } catch (const VornError&) {
            return false;  // in use by the open transaction: detached later
        }
    });
}

void SqliteAttachments::Show(const TableInfo& table) {
    const auto file = DatabaseOf(table.connect);
    if (!file) return;
    try {
        const auto alias = Attach(*file);
        db_.Exec("CREATE TEMP VIEW IF NOT EXISTS " + SqliteDdl::Quote(table.name) +
                 " AS SELECT * FROM " + SqliteDdl::Qualified(alias, table.sourceTableName));
    } catch (const VornError&) {
        // A missing file fails when its rows are opened, as the engine did.
    }
}

void SqliteAttachments::Hide(std::string_view localName) {
    db_.Exec("DROP VIEW IF EXISTS temp." + SqliteDdl::Quote(localName));
}

void SqliteAttachments::Close() noexcept {
    for (const auto& entry : entries_) {
        try {
            db_.Exec("DETACH DATABASE " + SqliteDdl::Quote(entry->alias));
        } catch (const VornError&) {
            // The connection is closing anyway.
        }
    }
    entries_.clear();
}

}  // namespace vorn
