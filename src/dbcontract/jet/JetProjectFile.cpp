#include "dbcontract/jet/JetProjectFile.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <unistd.h>

#include "dbcontract/jet/JetCopyWriter.h"
#include "dbcontract/jet/JetFileHeader.h"
#include "dbcontract/jet/JetSourceDatabase.h"
#include "dbcontract/jet/JetWireReader.h"
#include "dbcontract/jet/MdbExtractor.h"
#include "dbcontract/sqlite/SqliteProjectFile.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/UserInterface.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;
constexpr const char* kSource = "DAO.DBEngine";
// Attached files may attach others; a ring of them must end somewhere.
constexpr int kMaxAttachDepth = 4;
thread_local int attachDepth = 0;

[[noreturn]] void Fail(std::int32_t number, const std::string& text) { throw VornError(number, kSource, text); }

std::string FullPath(const std::string& path) {
    std::error_code error;
    const fs::path absolute = fs::absolute(path, error);
    return error ? path : absolute.lexically_normal().string();
}

// The first page of a file (or all of a shorter file).
std::vector<std::uint8_t> FirstPage(const std::string& path, std::size_t bytes) {
    std::ifstream in(path, std::ios::binary);
    if (!in) Fail(errnum::kJetCannotOpenFile, "The file '" + path + "' cannot be opened: " + std::strerror(errno) + ".");
    std::vector<std::uint8_t> page(bytes);
    in.read(reinterpret_cast<char*>(page.data()), static_cast<std::streamsize>(page.size()));
    page.resize(static_cast<std::size_t>(in.gcount()));
    return page;
}

std::string PasswordHelp() {
    return std::string("Give the password in the environment variable ") + JetProjectFile::kPasswordVariable +
           ", or open the file from a terminal to be asked for it.";
}

// Jet opens a file with a database password only when given that password.
void CheckPassword(const std::string& path, const JetFileHeader& header, const JetOpenOptions& options) {
    if (header.Password().empty()) return;
    std::optional<std::string> given = options.password;
    if (!given) {
        if (const char* variable = std::getenv(JetProjectFile::kPasswordVariable)) given = variable;
    }
    if (!given) given = Ui().AskSecret("Password of the database '" + path + "': ");
    if (!given || given->empty()) {
        Fail(errnum::kJetNotValidPassword,
             "The database '" + path + "' is protected by a password, and none was given. " + PasswordHelp());
    }
    // Jet compares database passwords exactly, case included.
    if (*given != header.Password()) {
        Fail(errnum::kJetNotValidPassword,
             "Not a valid password for the database '" + path + "'. " + PasswordHelp());
    }
}

// Checks what can be checked without reading the file through libmdb.
JetFileHeader CheckSource(const std::string& path, const JetOpenOptions& options) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) Fail(errnum::kJetFileNotFound, "Could not find file '" + path + "'.");
    const auto size = fs::file_size(path, error);
    const auto page = FirstPage(path, 4096);
    if (!JetFileHeader::HasSignature(page)) {
        Fail(errnum::kJetUnrecognizedFormat,
             "Unrecognized database format '" + path + "': it is not a project file of any known kind.");
    }
    const auto header = JetFileHeader::Parse(page);
    if (!header) {
        Fail(errnum::kJetUnrecognizedFormat,
             "Unrecognized database format '" + path + "': its header names an unknown version of the format.");
    }
    // Jet files are whole pages, at least the header page and the catalog's.
    if (error || size < 2 * header->PageSize() || size % header->PageSize() != 0) {
        Fail(errnum::kJetDatabaseDamaged, "The database '" + path + "' is damaged: it is cut short (" +
                                              std::to_string(size) + " bytes, not a whole number of " +
                                              std::to_string(header->PageSize()) + "-byte pages).");
    }
    if (header->IsEncrypted()) {
        Fail(errnum::kJetNotValidPassword,
             "The database '" + path + "' is encrypted with a password, and encrypted files cannot be read here. "
             "Remove the encryption in the program that made it (keeping the data), then open it again.");
    }
    CheckPassword(path, *header, options);
    return *header;
}

// The failure of a reading child that ended without its last record.
[[noreturn]] void ChildFailed(const std::string& path, JetChildProcess& child, const JetOpenOptions& options) {
    const auto outcome = child.Finish();
    const std::string start = "The database '" + path + "' is damaged and cannot be read: ";
    if (outcome == JetChildProcess::Outcome::kTimedOut) {
        Fail(errnum::kJetDatabaseDamaged, start + "reading it did not finish within " +
                                              std::to_string(options.limits.idleTimeout.count() / 1000.0).substr(0, 5) +
                                              " seconds.");
    }
    const bool memory = child.Output().find("failed to allocate") != std::string::npos ||
                        child.Output().find("out of memory") != std::string::npos;
    if (memory) {
        Fail(errnum::kJetDatabaseDamaged, start + "reading it needed more than the " +
                                              std::to_string(options.limits.memoryBytes >> 20) + " MB of memory allowed.");
    }
    if (outcome == JetChildProcess::Outcome::kCrashed) {
        Fail(errnum::kJetDatabaseDamaged,
             start + "the reader failed on it (signal " + std::to_string(child.Signal()) + ").");
    }
    Fail(errnum::kJetDatabaseDamaged, start + "the reader stopped before the end (code " +
                                          std::to_string(child.ExitCode()) + ").");
}

// Runs the reading child and hands its records to `sink`; a child that ends
// without its last record is a damaged file.
void RunReader(const std::string& path, JetRecordSink& sink, const JetOpenOptions& options) {
    JetChildProcess child([&path](int fd) { return MdbExtractor::RunInChild(path, fd); }, options.limits);
    JetWireReader reader([&child](std::span<std::uint8_t> buffer) { return child.Read(buffer); });
    if (!reader.Run(sink)) ChildFailed(path, child, options);
    child.Finish();
}

struct ReadResult {
    std::vector<std::string> warnings;
    JetCopyWriter::Design design;
};

ReadResult ReadInto(const std::string& path, DatabaseBackend& target, JetCopyWriter::Mode mode,
                    const JetOpenOptions& options) {
    JetCopyWriter writer(path, target, mode, options.progress);
    target.BeginTrans();
    try {
        RunReader(path, writer, options);
        target.CommitTrans();
    } catch (...) {
        try {
            target.Rollback();
        } catch (const VornError&) {
            // The first failure is the one to tell.
        }
        throw;
    }
    return {writer.Warnings(), writer.Designed()};
}

// Hands records on, raising a failure as the copy writer does.
class RaisingSink : public JetRecordSink {
public:
    RaisingSink(const std::string& path, JetRecordSink& sink) : path_(path), sink_(sink) {}
    void Table(const TableInfo& table, std::int64_t storedRows) override { sink_.Table(table, storedRows); }
    void Property(const PropertyOwnerKey& owner, const PropertyInfo& property) override { sink_.Property(owner, property); }
    void BeginRows(const std::string& table) override { sink_.BeginRows(table); }
    void Row(const std::vector<Variant>& values) override { sink_.Row(values); }
    void EndRows() override { sink_.EndRows(); }
    void Relation(const RelationInfo& relation) override { sink_.Relation(relation); }
    void Query(const QueryInfo& query) override { sink_.Query(query); }
    void Warning(const std::string& text) override { sink_.Warning(text); }
    void End() override { sink_.End(); }
    void Failure(std::int32_t number, const std::string& text) override {
        // Worded as the copy writer words them.
        if (number == errnum::kJetDatabaseDamaged) {
            Fail(number, "The database '" + path_ + "' is damaged and cannot be read: " + text + ".");
        }
        Fail(number, "The database '" + path_ + "' cannot be read: " + text + ".");
    }

private:
    const std::string& path_;
    JetRecordSink& sink_;
};

constexpr const char* kFolderPrefix = "vorn-jet-";
constexpr const char* kOwnerFile = "owner.pid";

// Removes the private folders of processes that ended without closing
// their copies (killed, or crashed): each folder names its process.
void SweepAbandonedFolders() {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(fs::temp_directory_path(), error)) {
        if (!entry.path().filename().string().starts_with(kFolderPrefix)) continue;
        std::ifstream owner(entry.path() / kOwnerFile);
        long pid = 0;
        if (!(owner >> pid) || pid <= 0) continue;
        if (kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH) {
            std::error_code ignored;  // another process may sweep it at the same time
            fs::remove_all(entry.path(), ignored);
        }
    }
}

// A fresh folder that only this user can enter, marked with this process.
fs::path PrivateFolder() {
    SweepAbandonedFolders();
    std::string pattern = (fs::temp_directory_path() / (std::string(kFolderPrefix) + "XXXXXX")).string();
    if (mkdtemp(pattern.data()) == nullptr) {
        Fail(errnum::kJetCannotOpenFile, std::string("Cannot make a temporary folder: ") + std::strerror(errno) + ".");
    }
    std::ofstream(fs::path(pattern) / kOwnerFile) << getpid() << "\n";
    return pattern;
}

std::unique_ptr<DatabaseBackend> OpenAttached(const std::string& path) {
    if (attachDepth >= kMaxAttachDepth) {
        Fail(errnum::kJetCannotOpenFile, "The file '" + path + "' is attached through too many other files.");
    }
    ++attachDepth;
    struct Leave {
        ~Leave() { --attachDepth; }
    } leave;
    if (SqliteProjectFile::LooksLikeProjectFile(path)) return SqliteProjectFile::Open(path, true);
    return JetProjectFile::Open(path);
}

}  // namespace

bool JetProjectFile::LooksLikeJet(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::uint8_t start[JetFileHeader::kSignatureBytes] = {};
    if (!in.read(reinterpret_cast<char*>(start), sizeof start)) return false;
    return JetFileHeader::HasSignature(start);
}

std::unique_ptr<DatabaseBackend> JetProjectFile::Open(const std::string& path, const JetOpenOptions& options) {
    const std::string source = FullPath(path);
    const JetFileHeader header = CheckSource(source, options);
    const fs::path folder = PrivateFolder();
    const fs::path copyPath = folder / fs::path(source).filename();
    try {
        ReadResult read;
        {
            // A private copy: gone if the process dies.
            auto copy = SqliteProjectFile::CreateScratch(copyPath.string(), header.LocaleText());
            read = ReadInto(source, *copy, JetCopyWriter::Mode::kServe, options);
            copy->Close();
        }
        auto copy = SqliteProjectFile::Open(copyPath.string(), true);
        ReportWarnings(source, read.warnings, options);
        return std::make_unique<JetSourceDatabase>(std::move(copy), copyPath, folder, source, header.VersionText(),
                                                   std::move(read.design), OpenAttached);
    } catch (...) {
        std::error_code ignored;  // the copy is useless now
        fs::remove_all(folder, ignored);
        throw;
    }
}

void JetProjectFile::ReportWarnings(const std::string& path, const std::vector<std::string>& warnings,
                                    const JetOpenOptions& options) {
    if (warnings.empty()) return;
    if (options.warnings) {
        options.warnings(warnings);
        return;
    }
    std::string text = "Some of '" + path + "' could not be read or copied:";
    for (const std::string& warning : warnings) text += "\n- " + warning;
    Ui().MessageBox({text, "Reading a project file", MsgIcon::kExclamation, MsgButtons::kOk, 1, "jet-read-warnings"});
}

std::vector<std::string> JetProjectFile::Convert(const std::string& source, const std::string& target, bool replace,
                                                 const JetOpenOptions& options) {
    const std::string from = FullPath(source);
    const std::string to = FullPath(target);
    std::error_code error;
    if (fs::exists(to, error) && !replace) {
        Fail(errnum::kJetDatabaseExists, "The file '" + to + "' already exists; give --force to replace it.");
    }
    if (fs::equivalent(from, to, error)) Fail(errnum::kJetDatabaseExists, "The target '" + to + "' is the source.");
    const JetFileHeader header = CheckSource(from, options);
    // Written beside the target under another name and renamed at the end,
    // so that the target is whole or untouched.
    const fs::path partial = to + ".partial-" + std::to_string(getpid());
    fs::remove(partial, error);
    try {
        std::vector<std::string> warnings;
        {
            auto copy = SqliteProjectFile::CreateScratch(partial.string(), header.LocaleText());
            warnings = ReadInto(from, *copy, JetCopyWriter::Mode::kConvert, options).warnings;
            copy->Close();
        }
        SqliteProjectFile::SyncToDisk(partial.string());
        fs::rename(partial, to);
        return warnings;
    } catch (...) {
        fs::remove(partial, error);
        throw;
    }
}

void JetProjectFile::Read(const std::string& source, JetRecordSink& sink, const JetOpenOptions& options) {
    const std::string from = FullPath(source);
    CheckSource(from, options);
    RaisingSink raising(from, sink);
    RunReader(from, raising, options);
}

std::vector<std::string> JetProjectFile::CopyInto(const std::string& source, DatabaseBackend& target,
                                                  const JetOpenOptions& options) {
    const std::string from = FullPath(source);
    CheckSource(from, options);
    return ReadInto(from, target, JetCopyWriter::Mode::kConvert, options).warnings;
}

}  // namespace vorn
