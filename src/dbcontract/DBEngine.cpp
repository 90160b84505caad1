#include "dbcontract/DBEngine.h"

#include <filesystem>
#include <unistd.h>

#include "dbcontract/ConnectionTarget.h"
#include "dbcontract/EnterpriseBackend.h"
#include "dbcontract/jet/JetProjectFile.h"
#include "dbcontract/sqlite/SqliteProjectFile.h"
#include "runtime/ErrorNumbers.h"

namespace vorn {
namespace {

// 3024 unless `name` is a file.
void RequireFile(const std::string& name) {
    std::error_code ec;
    if (std::filesystem::is_directory(name, ec)) {
        throw VornError(errnum::kJetFileNotFound, "DAO.DBEngine",
                        "Could not find file '" + name + "': it is a folder, not a database file.");
    }
    if (!std::filesystem::is_regular_file(name, ec)) {
        throw VornError(errnum::kJetFileNotFound, "DAO.DBEngine", "Could not find file '" + name + "'.");
    }
    // Checked before the format: a file that cannot be read has none.
    if (access(name.c_str(), R_OK) != 0) {
        throw VornError(errnum::kJetCannotOpenFile, "DAO.DBEngine",
                        "Could not open the file '" + name + "': you have no permission to read it.");
    }
}

std::unique_ptr<DatabaseBackend> OpenBackend(const std::string& name, bool readOnly) {
    RequireFile(name);
    if (SqliteProjectFile::LooksLikeProjectFile(name)) return SqliteProjectFile::Open(name, readOnly);
    // A Jet or ACE file is always served read only, as a copy.
    if (JetProjectFile::LooksLikeJet(name)) return JetProjectFile::Open(name);
    throw VornError(errnum::kJetUnrecognizedFormat, "DAO.DBEngine",
                    "Unrecognized database format '" + name + "'.");
}

}  // namespace

Workspace& DBEngine::Workspaces(std::int32_t index) {
    if (index != 0) {
        throw VornError(errnum::kJetItemNotFound, "DAO.DBEngine", "Item not found in this collection.");
    }
    return workspace_;
}

std::shared_ptr<Database> DBEngine::OpenDatabase(const std::string& name, std::int32_t, bool readOnly,
                                                 const std::string& connect) {
    return WithDaoErrors([&] {
        if (!connect.empty()) {
            const std::optional<ServerTarget> target = EnterpriseTargetOf(connect);
            if (!target) {
                throw VornError(errnum::kJetOperationNotSupported, "DAO.DBEngine",
                                "Opening a database through this connect string is not supported: " + connect);
            }
            auto database = std::make_shared<Database>(std::make_unique<EnterpriseBackend>(
                OpenServerConnection(*target), connect, readOnly, EnterpriseBackend::Sql::Jet));
            workspace_.Add(database);
            return database;
        }
        auto database = std::make_shared<Database>(OpenBackend(name, readOnly));
        workspace_.Add(database);
        return database;
    });
}

std::shared_ptr<Database> DBEngine::CreateDatabase(const std::string& name, const std::string& locale, std::int32_t) {
    return WithDaoErrors([&] {
        auto database = std::make_shared<Database>(SqliteProjectFile::Create(name, locale));
        workspace_.Add(database);
        return database;
    });
}

void DBEngine::CompactDatabase(const std::string& source, const std::string& destination, const std::string&,
                               std::int32_t) {
    CompactDatabase(source, destination, JetOpenOptions{});
}

void DBEngine::CompactDatabase(const std::string& source, const std::string& destination,
                               const JetOpenOptions& how) {
    WithDaoErrors([&] {
        RequireFile(source);
        if (!JetProjectFile::LooksLikeJet(source)) return SqliteProjectFile::Compact(source, destination);
        JetProjectFile::ReportWarnings(source, JetProjectFile::Convert(source, destination, false, how), how);
    });
}

DBEngine& DaoEngine() {
    static DBEngine engine;
    return engine;
}

}  // namespace vorn
