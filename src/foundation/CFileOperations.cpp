// Directory searches, the tests of files and folders, and the file and
// folder operations.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/ErrorRecord.h"
#include "runtime/UserInterface.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kEveryName = "*.*";

// File system types of network mounts, as statfs reports them.
constexpr long kNfsMagic = 0x6969;
constexpr long kSmbMagic = 0x517B;
constexpr long kCifsMagic = static_cast<long>(0xFF534D42);
constexpr long kSmb2Magic = static_cast<long>(0xFE534D42);

bool HasWildCards(std::string_view name) {
    return name.find_first_of("*?") != std::string_view::npos;
}

// "*" any run of characters, "?" one character; letters ignoring case.
bool MatchesPattern(std::u32string_view name, std::u32string_view pattern) {
    if (pattern.empty()) return name.empty();
    if (pattern.front() == U'*') {
        for (std::size_t skip = 0; skip <= name.size(); ++skip) {
            if (MatchesPattern(name.substr(skip), pattern.substr(1))) return true;
        }
        return false;
    }
    if (name.empty()) return false;
    if (pattern.front() != U'?' && pattern.front() != name.front()) return false;
    return MatchesPattern(name.substr(1), pattern.substr(1));
}

bool IsHidden(std::string_view name) { return name.starts_with('.'); }

std::string FolderToSearch(const std::string& folder) {
    return folder.empty() ? std::string(".") : folder;
}

// The nearest existing folder of a path (the path itself when it exists).
fs::path NearestExisting(const std::string& path) {
    std::error_code ec;
    fs::path at = fs::absolute(path.empty() ? std::string(".") : path, ec);
    while (!fs::exists(at, ec) && at.has_relative_path()) at = at.parent_path();
    return at;
}

bool OnNetworkMount(const std::string& path) {
    struct statfs info {};
    if (statfs(NearestExisting(path).c_str(), &info) != 0) return false;
    const long type = static_cast<long>(info.f_type);
    return type == kNfsMagic || type == kSmbMagic || type == kCifsMagic || type == kSmb2Magic;
}

std::string Text(std::int32_t id) { return TextStr().TextStringGetFnS(id); }

// Every `from` replaced by `to`, byte by byte: the buffer may end inside a
// character.
std::string ReplaceBytes(const std::string& text, std::string_view from, std::string_view to) {
    std::string out;
    std::size_t at = 0;
    for (auto found = text.find(from); found != std::string::npos; found = text.find(from, at)) {
        out.append(text, at, found - at).append(to);
        at = found + from.size();
    }
    return out.append(text, at);
}

VornError FileFailure(std::int32_t number, const char* source) {
    return VornError(number, source, VornError::RuntimeDescription(number));
}

std::int32_t NumberOf(const std::error_code& error, std::int32_t fallback) {
    switch (error.value()) {
        case 0:
            return errnum::kNone;
        case ENOENT:
            return errnum::kFileNotFound;
        case ENOTDIR:
            return errnum::kPathNotFound;
        case EEXIST:
            return errnum::kFileAlreadyExists;
        case EACCES:
        case EPERM:
        case EROFS:
        case EBUSY:
        case ETXTBSY:
            return errnum::kPermissionDenied;
        default:
            return fallback;
    }
}

std::int32_t LastErrorNumber(std::int32_t fallback) {
    return NumberOf(std::error_code(errno, std::generic_category()), fallback);
}

}  // namespace

std::int32_t CFile::ErrorNumberOf(const std::error_code& error, std::int32_t fallback) {
    return NumberOf(error, fallback);
}

std::vector<std::string> CFile::MatchingFiles(const std::string& folder, std::string_view pattern) {
    const bool everyName = pattern == kEveryName;
    const std::u32string wanted = utf8::ToU32(utf8::ToUpper(pattern));
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(FolderToSearch(folder), ec), end; !ec && it != end;
         it.increment(ec)) {
        const std::string name = it->path().filename().string();
        std::error_code typeError;
        if (IsHidden(name) || it->is_directory(typeError)) continue;
        if (everyName || MatchesPattern(utf8::ToU32(utf8::ToUpper(name)), wanted))
            names.push_back(name);
    }
    std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
        const int order = utf8::CompareIgnoreCase(a, b);
        return order != 0 ? order < 0 : a < b;
    });
    return names;
}

// ---- Tests -------------------------------------------------------------------

bool CFile::ExistFnB(std::string_view psFile) const {
    if (psFile.empty()) return false;
    auto [folder, name] = SplitAtLastSlash(Slashed(psFile));
    // A folder alone is searched for any file in it.
    if (name.empty()) name = "*";
    if (HasWildCards(name)) return !MatchingFiles(folder, name).empty();
    std::error_code ec;
    const fs::file_status status = fs::status(folder + name, ec);
    return !IsHidden(name) && fs::exists(status) && !fs::is_directory(status);
}

bool CFile::DirExistsFnB(std::string_view psPath) const {
    std::error_code ec;
    const std::string path = Slashed(psPath);
    return !path.empty() && fs::is_directory(path, ec);
}

bool CFile::FileIsRemoteFnB(std::string_view psFileSpec) const {
    return OnNetworkMount(Slashed(psFileSpec));
}

bool CFile::PathIsOnNetworkFnB(std::string_view psFileSpec) const {
    return OnNetworkMount(Slashed(psFileSpec));
}

bool CFile::PathWritableFnB(std::string& psPath) const {
    if (!PathValidFnB(psPath)) return false;
    const std::string probe = UniqueFnS(psPath, "PWF", extensionTemporary_);
    if (FileCreateFnL(probe) != 0) return false;
    return FileKillAnyFnL(probe) == 0;
}

bool CFile::IsFolderWriteEnabledFnB(std::string_view psPath) const {
    try {
        std::string path(psPath);
        if (!PathValidFnB(path)) return false;
        const std::string probe = UniqueFnS(path, "TMP", ".TMP");
        if (FileCreateFnL(probe) != 0) return false;
        return FileKillAnyFnL(probe) == 0;
    } catch (...) {
        return false;
    }
}

bool CFile::FileOkToAppendFnB(std::string_view psFileName) const {
    if (!ExistFnB(psFileName)) return true;
    const int handle = ::open(Slashed(psFileName).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (handle < 0) return false;
    ::close(handle);
    return true;
}

// ---- File operations ---------------------------------------------------------

bool CFile::FileCopyFnB(std::string_view psSource, std::string_view psDest) const {
    std::error_code ec;
    fs::copy_file(Slashed(psSource), Slashed(psDest), fs::copy_options::overwrite_existing, ec);
    if (ec) Err().Clear();
    return !ec;
}

bool CFile::FileMoveFnB(std::string_view psSource, std::string_view psDest) const {
    const std::string source = Slashed(psSource);
    const std::string dest = Slashed(psDest);
    std::error_code ec;
    // A rename would replace the destination silently; a move never does.
    if (fs::exists(fs::symlink_status(dest, ec))) return true;
    fs::rename(source, dest, ec);
    if (!ec) return false;
    if (ec.value() != EXDEV) return true;
    // Another file system: copy, then delete the original.
    ec.clear();
    if (fs::is_directory(fs::symlink_status(source, ec))) {
        fs::copy(source, dest, fs::copy_options::recursive | fs::copy_options::copy_symlinks, ec);
        if (!ec) fs::remove_all(source, ec);
    } else {
        fs::copy_file(source, dest, ec);
        if (!ec) fs::remove(source, ec);
    }
    return static_cast<bool>(ec);
}

std::int32_t CFile::FileCreateFnL(std::string_view psFileName) const {
    const int handle =
        ::open(Slashed(psFileName).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (handle >= 0) {
        ::close(handle);
        return errnum::kNone;
    }
    // A missing folder is a path not found, not a missing file.
    if (errno == ENOENT) return errnum::kPathNotFound;
    return LastErrorNumber(errnum::kPathFileAccessError);
}

std::int32_t CFile::FileKillAnyFnL(std::string_view psFileName) const {
    if (psFileName.empty()) return errnum::kNone;
    return FileKillVornFnL(psFileName);
}

std::int32_t CFile::FileKillVornFnL(std::string_view psFileName, bool /*pbShowMsg*/,
                                    bool /*pbKillProject*/, std::string_view /*psSource*/) const {
    const auto [folder, name] = SplitAtLastSlash(Slashed(psFileName));
    std::vector<std::string> victims;
    if (HasWildCards(name)) {
        for (const std::string& match : MatchingFiles(folder, name))
            victims.push_back(folder + match);
    } else {
        std::error_code ec;
        // A folder is no file to delete.
        if (!name.empty() && !fs::is_directory(fs::symlink_status(folder + name, ec)))
            victims.push_back(folder + name);
    }
    if (victims.empty()) return errnum::kFileNotFound;
    for (const std::string& victim : victims) {
        if (::unlink(victim.c_str()) != 0) return LastErrorNumber(errnum::kPathFileAccessError);
    }
    return errnum::kNone;
}

std::int32_t CFile::FolderKillFnL(std::string_view psFolderName) const {
    if (::rmdir(Slashed(psFolderName).c_str()) == 0) return errnum::kNone;
    if (errno == ENOENT || errno == ENOTDIR) return errnum::kPathNotFound;
    return errnum::kPathFileAccessError;
}

bool CFile::DelTreeFnB(std::string_view psTargetFolder) const {
    const std::string folder = PathAppendBackslashFnS(psTargetFolder);
    std::error_code ec;
    // Only a real folder: a link to one is not followed into.
    if (folder.empty() ||
        !fs::is_directory(fs::symlink_status(PathAppendBackslashFnS(folder, true), ec))) {
        return true;
    }
    // Deleting inside a folder needs the folder to be writable.
    fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add, ec);

    std::vector<fs::path> files;
    std::vector<fs::path> folders;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        std::error_code typeError;
        (it->is_directory(typeError) && !it->is_symlink(typeError) ? folders : files)
            .push_back(it->path());
    }
    bool failed = static_cast<bool>(ec);
    for (const fs::path& file : files) {
        std::error_code fileError;
        if (!fs::is_symlink(fs::symlink_status(file, fileError))) {
            fs::permissions(file, fs::perms::owner_write, fs::perm_options::add, fileError);
        }
        failed |= ::unlink(file.c_str()) != 0;
    }
    for (const fs::path& sub : folders) failed |= DelTreeFnB(sub.string());
    failed |= FolderKillFnL(PathAppendBackslashFnS(folder, true)) != 0;
    return failed;
}

Variant CFile::MkDirRecursive(std::string_view psFolderPath) const {
    const std::string folder = PathAppendBackslashFnS(psFolderPath, true);
    std::error_code ec;
    // An empty path is the current folder.
    if (folder.empty() || fs::is_directory(folder, ec)) return Variant(true);
    const auto slash = folder.rfind('/');
    const std::string parent = slash == std::string::npos
                                   ? std::string()
                                   : folder.substr(0, std::max<std::size_t>(slash, 1));
    if (!MkDirRecursive(parent).AsBoolean()) return Variant(false);
    return Variant(fs::create_directory(folder, ec) || fs::is_directory(folder, ec));
}

void CFile::DirCreate(std::string_view psFullPath, std::string_view psCaption,
                      std::int32_t& plErrNum) const {
    const std::string question = std::string(psFullPath) + ": " + Text(4649) + " " + Text(4148);
    if (Ui().Ask(question, std::string(psCaption), MsgButtons::kYesNo, MsgIcon::kQuestion,
                 "4649") != MsgAnswer::kYes) {
        plErrNum = -1;
        return;
    }
    const std::string path = Slashed(psFullPath);
    // From the second character on: the root "/" is no folder to make.
    for (auto slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        const std::string folder = path.substr(0, slash);
        if (::mkdir(folder.c_str(), 0777) == 0) continue;
        plErrNum = (errno == ENOENT || errno == ENOTDIR) ? errnum::kPathNotFound
                                                         : errnum::kPathFileAccessError;
        std::error_code ec;
        if (plErrNum == errnum::kPathFileAccessError && fs::is_directory(folder, ec)) {
            plErrNum = errnum::kNone;  // it was there already
            continue;
        }
        return;
    }
}

void CFile::CreateCrLfFile(std::string_view psWorkPath, std::int16_t piLenBuffSeqInputFile,
                           std::string_view psCharSrh, std::int32_t plLenFile,
                           std::string& psFileName, std::string& psFileTemp) const {
    static constexpr const char* kSource = "CFile.CreateCrLfFile";
    if (piLenBuffSeqInputFile < 1) throw VornError::InvalidArgument(kSource);
    const std::string input = Slashed(psFileName);
    std::ifstream in(input, std::ios::binary);
    if (!in)
        throw FileFailure(ExistFnB(input) ? errnum::kPathFileAccessError : errnum::kFileNotFound,
                          kSource);
    psFileTemp = UniqueFnS(psWorkPath, "seq", "tm");
    std::ofstream out(psFileTemp, std::ios::binary | std::ios::trunc);
    if (!out) throw FileFailure(errnum::kPathFileAccessError, kSource);

    const std::int32_t bufferSize = piLenBuffSeqInputFile;
    const std::int32_t buffers = (plLenFile - 1) / bufferSize + 1;
    std::string buffer;
    for (std::int32_t i = 0; i < buffers; ++i) {
        // The last buffer takes what is left.
        const std::int32_t size =
            i + 1 < buffers ? bufferSize : std::max(plLenFile - i * bufferSize, 0);
        buffer.assign(static_cast<std::size_t>(size), '\0');
        in.read(buffer.data(), size);
        buffer.resize(static_cast<std::size_t>(in.gcount()));
        if (!psCharSrh.empty()) buffer = ReplaceBytes(buffer, psCharSrh, "\r\n");
        if (!out.write(buffer.data(), static_cast<std::streamsize>(buffer.size()))) {
            throw FileFailure(errnum::kPathFileAccessError, kSource);
        }
    }
    psFileName = psFileTemp;
}

}  // namespace vorn
