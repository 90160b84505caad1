// File kinds, names and paths, relative paths, unique and serial names.
#include <chrono>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <string>

#include "foundation/CFile.h"
#include "runtime/Conversions.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kXBasePrefix = "DBase IV;";
// The shortest path from which a trailing "/" may go: longer than the root
// "/" (elsewhere "C:\" with its 3 characters, hence the classic 4).
constexpr std::int64_t kShortestStrippablePath = 2;
constexpr std::int64_t kUniqueNameLength = 8;
constexpr std::int64_t kUniquePrefixLength = 3;
constexpr std::int64_t kUniquePathDigits = 6;
constexpr std::int64_t kSerialNameLimit = 256;

bool EndsWithIgnoreCase(std::string_view text, std::string_view ending) {
    return utf8::EqualsIgnoreCase(utf8::Right(text, utf8::Length(ending)), ending);
}

std::string CurrentFolder() {
    std::error_code ec;
    const fs::path current = fs::current_path(ec);
    return ec ? std::string() : current.string();
}

// Seconds since local midnight, with the fraction of the current second.
double LocalSecondsSinceMidnight() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t whole = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&whole, &local);
    const auto fraction = now - std::chrono::system_clock::from_time_t(whole);
    return local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec +
           std::chrono::duration<double>(fraction).count();
}

}  // namespace

std::string CFile::Slashed(std::string_view path) {
    std::string out;
    out.reserve(path.size());
    for (const char c : path) {
        const char slash = c == '\\' ? '/' : c;
        if (slash == '/' && !out.empty() && out.back() == '/') continue;
        out += slash;
    }
    return out;
}

std::pair<std::string, std::string> CFile::SplitAtLastSlash(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) return {std::string(), path};
    return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

// ---- File kinds --------------------------------------------------------------

bool CFile::IsProjectFilenameFnB(std::string_view psFileSpec) const {
    return EndsWithIgnoreCase(psFileSpec, ".vpj");
}

bool CFile::IsDataTemplateFnB(std::string_view psFileSpec) const {
    return EndsWithIgnoreCase(psFileSpec, ".vdt");
}

bool CFile::IsLibraryFilenameFnB(std::string_view psFileSpec) const {
    return EndsWithIgnoreCase(psFileSpec, ".vlb");
}

bool CFile::IsSetupFileFnB(std::string_view psFileSpec) const {
    return utf8::EqualsIgnoreCase(SplitAtLastSlash(Slashed(psFileSpec)).second, "setup.vsh");
}

bool CFile::IsTextFileTypeFnB(std::string_view psFileSpec) const {
    const std::string extension = "." + utf8::Right(psFileSpec, 3);
    for (const std::string_view known : {".csv", ".ags", ".txt"}) {
        if (utf8::EqualsIgnoreCase(extension, known)) return true;
    }
    return false;
}

bool CFile::IsXBaseConnectFnB(std::string_view psFileSpec) const {
    return utf8::EqualsIgnoreCase(utf8::Left(psFileSpec, utf8::Length(kXBasePrefix)), kXBasePrefix);
}

bool CFile::IsVersion4FileFnB(const DatabaseProbe& pdbTest) const {
    float version = 0;
    try {
        if (pdbTest.version) version = CSng(Variant(pdbTest.version()));
    } catch (...) {
        version = 0;  // an unreadable version is no version
    }
    return version > 0 && version < 3;
}

// ---- Names and paths ---------------------------------------------------------

std::string CFile::FileExentionFnS(std::string_view psFileName, std::string* psNameOnly) const {
    const std::int64_t dot = utf8::InStrRev(psFileName, ".");
    // The position was held in 16 bits.
    if (dot > 32767) throw VornError::Overflow("CFile.FileExentionFnS");
    if (dot == 0) {
        if (psNameOnly != nullptr) *psNameOnly = std::string(psFileName);
        return {};
    }
    if (psNameOnly != nullptr) *psNameOnly = utf8::Left(psFileName, dot - 1);
    return utf8::Mid(psFileName, dot + 1);
}

std::string CFile::FileNameOnlyFnS(std::string_view psFileName, std::string* psExtension) const {
    std::string nameOnly;
    const std::string extension = FileExentionFnS(psFileName, &nameOnly);
    if (psExtension != nullptr) *psExtension = extension;
    return nameOnly;
}

std::string CFile::FileNameExtractFnS(std::string_view psFullName, std::string* psPath) const {
    std::string full = Slashed(psFullName);
    // A dBase "file" is its folder: pass over the closing "/" so that the
    // folder's own name is the result.
    const bool xBaseFolder = IsXBaseConnectFnB(full) && full.ends_with('/');
    if (xBaseFolder) full.pop_back();
    auto [path, name] = SplitAtLastSlash(full);
    if (psPath != nullptr) *psPath = path;
    return name;
}

std::string CFile::PathAppendBackslashFnS(std::string_view psPath, bool pbRemoveBackslash) const {
    std::string path = Slashed(psPath);
    if (path.empty()) return path;
    if (pbRemoveBackslash) {
        if (path.ends_with('/') && utf8::Length(path) >= kShortestStrippablePath) path.pop_back();
    } else if (!path.ends_with('/')) {
        path += '/';
    }
    return path;
}

std::string CFile::DriveFromPathFnS(std::string_view /*psPath*/) const { return {}; }

bool CFile::PathFullBuildFnB(std::string& psPath) const {
    std::string path = Slashed(utf8::Trim(psPath));
    if (path.empty()) {
        path = PathAppendBackslashFnS(CurrentFolder());
    } else if (!path.starts_with('/')) {
        path = PathAppendBackslashFnS(CurrentFolder()) + path;
    }
    psPath = path;
    return PathValidFnB(psPath);
}

bool CFile::PathValidFnB(std::string& psPath) const {
    // "//" has been folded to "/" here, so the doubled separator that makes
    // a path invalid elsewhere cannot occur.
    std::string path = Slashed(psPath);
    if (path.ends_with("/.") || path.ends_with("/..")) return false;
    path = PathAppendBackslashFnS(path, true);
    psPath = path;
    std::error_code ec;
    if (path.empty() || !fs::is_directory(path, ec)) return false;
    psPath = PathAppendBackslashFnS(path);
    return true;
}

std::string CFile::RelativePathFromFullPathFnS(std::string_view psReferenceFile,
                                               std::string_view psSourceFile) const {
    std::string referenceFolder;
    std::string sourceFolder;
    FileNameExtractFnS(psReferenceFile, &referenceFolder);
    const std::string sourceName = FileNameExtractFnS(psSourceFile, &sourceFolder);
    if (referenceFolder.empty() || sourceFolder.empty() ||
        !sourceFolder.starts_with(referenceFolder)) {
        return std::string(psSourceFile);
    }
    // From the reference folder's closing "/" on: "./sub/name".
    return "." + sourceFolder.substr(referenceFolder.size() - 1) + sourceName;
}

std::string CFile::RelativePathToFullPathFnS(std::string_view psReferenceFile,
                                             std::string_view psSourceFile) const {
    const std::string source = Slashed(psSourceFile);
    if (!source.starts_with("./")) return std::string(psSourceFile);
    std::string referenceFolder;
    FileNameExtractFnS(psReferenceFile, &referenceFolder);
    return referenceFolder + source.substr(2);
}

std::string CFile::ConvertShortPathNameFnS(std::string_view psFileSpec) const {
    const std::string path = Slashed(psFileSpec);
    std::error_code ec;
    if (path.empty() || !fs::exists(path, ec)) return std::string(psFileSpec);
    std::string longForm = fs::path(path).lexically_normal().string();
    if (path.ends_with('/') && !longForm.ends_with('/')) longForm += '/';
    return longForm;
}

std::string CFile::XBaseFileSpecFnS(std::string_view psFileSpec, bool pbNameProperty) const {
    if (!IsXBaseConnectFnB(psFileSpec)) return std::string(psFileSpec);
    std::string folder = utf8::Mid(psFileSpec, utf8::Length(kXBasePrefix) + 1);
    if (folder.ends_with(';')) folder.pop_back();
    return PathAppendBackslashFnS(folder, pbNameProperty);
}

std::int32_t CFile::UniqueCounterStart() const {
    const double seconds = clock_ ? clock_() : LocalSecondsSinceMidnight();
    return static_cast<std::int32_t>(std::nearbyint(seconds * 100));
}

std::string CFile::UniqueFnS(std::string_view psPath, std::string_view psPrefix,
                             std::string_view psExt) const {
    const std::string prefix = utf8::Left(psPrefix, kUniquePrefixLength);
    const std::string folder = PathAppendBackslashFnS(psPath);
    std::string extension = psExt.empty() ? extensionTemporary_ : std::string(psExt);
    const std::int64_t extensionLength = utf8::Length(extension);
    if (extensionLength == 1 || extensionLength == 2) extension = extensionPrefix_ + extension;
    if (extension.find('.') == std::string::npos) extension = "." + extension;

    const std::int64_t digits = kUniqueNameLength - utf8::Length(prefix);
    std::int32_t counter = UniqueCounterStart();
    std::string candidate;
    do {
        const std::string stem = prefix + utf8::Right(std::to_string(counter), digits);
        candidate = folder + utf8::Left(stem, kUniqueNameLength) + extension;
        ++counter;
    } while (ExistFnB(candidate));
    return candidate;
}

std::string CFile::UniquePathFnS(std::string_view psPath, std::string_view psPrefix) const {
    std::string base = Slashed(psPath);
    if (!base.empty() && !base.ends_with('/')) base += '/';
    base += psPrefix;
    std::int32_t counter = UniqueCounterStart();
    std::string candidate;
    std::string probe;
    do {
        const std::string digits = std::string(kUniquePathDigits, '0') + std::to_string(counter);
        candidate = base + utf8::Right(digits, kUniquePathDigits) + "/";
        ++counter;
        probe = candidate;
    } while (PathValidFnB(probe));
    return candidate;
}

void CFile::SerialFilenamesPrep(std::string_view psFullNameOrg, std::int16_t piNumPages) {
    serialWidth_ = static_cast<std::int16_t>(std::to_string(piNumPages).size());
    serialDigits_.assign(static_cast<std::size_t>(serialWidth_), '0');
    auto [folder, fileName] = SplitAtLastSlash(Slashed(psFullNameOrg));
    serialFolder_ = folder;
    serialName_ = fileName.substr(0, fileName.find('.'));
    const auto lastDot = fileName.rfind('.');
    serialExtension_ = lastDot == std::string::npos ? std::string() : fileName.substr(lastDot);
    if (utf8::Length(serialName_) + serialWidth_ > kSerialNameLimit) {
        serialName_ = utf8::Left(serialName_, kSerialNameLimit - serialWidth_);
    }
}

std::string CFile::SerialFilenameGetFnS(std::int16_t piPageNum) {
    const std::string number = std::to_string(piPageNum);
    // The digits are written over the buffer's right end; a number wider
    // than the buffer would have to start before it.
    if (number.size() > serialDigits_.size())
        throw VornError::InvalidArgument("CFile.SerialFilenameGetFnS");
    serialDigits_.replace(serialDigits_.size() - number.size(), number.size(), number);
    return serialFolder_ + serialName_ + serialDigits_ + serialExtension_;
}

}  // namespace vorn
