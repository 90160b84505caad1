#include "foundation/CFile.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/SessionSlot.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kStorageFileName = "pth.vsy";
constexpr std::string_view kSettingsFolderName = "settings/";
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kCountSeparator = " - ";

std::string WithTrailingSlash(std::string folder) {
    if (!folder.empty() && folder.back() != '/') folder += '/';
    return folder;
}

// The folder of the running program, with its trailing "/".
std::string ProgramFolder() {
    std::error_code ec;
    const fs::path program = fs::read_symlink("/proc/self/exe", ec);
    if (ec) return {};
    return WithTrailingSlash(program.parent_path().string());
}

// The user's data folder for the product.
std::string UserDataFolder() {
    if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg != nullptr && *xdg != '\0') {
        return WithTrailingSlash(xdg) + "vorn/";
    }
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
        return WithTrailingSlash(home) + ".local/share/vorn/";
    }
    return {};
}

VornError FileAccessError(std::string_view source) {
    return VornError(errnum::kPathFileAccessError, std::string(source),
                     VornError::RuntimeDescription(errnum::kPathFileAccessError));
}

// The whole file as text; throws 75 when it cannot be read.
std::string ReadWholeFile(const fs::path& path, std::string_view source) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw FileAccessError(source);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// The first line of a file without its line end and byte-order mark; "" when
// the file cannot be read.
std::string FirstLine(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::string line;
    if (!in || !std::getline(in, line)) return {};
    if (line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
    if (line.ends_with('\r')) line.pop_back();
    return line;
}

std::vector<std::string> SplitAt(std::string_view text, std::string_view separator) {
    std::vector<std::string> parts;
    for (;;) {
        const auto at = text.find(separator);
        parts.emplace_back(text.substr(0, at));
        if (at == std::string_view::npos) return parts;
        text.remove_prefix(at + separator.size());
    }
}

bool FolderExists(const std::string& folder) {
    std::error_code ec;
    return !folder.empty() && fs::is_directory(folder, ec);
}

}  // namespace

CFile::CFile(std::string classNamePrefix)
    : appPath_(ProgramFolder()), rootPath_(UserDataFolder()), classNamePrefix_(std::move(classNamePrefix)) {}

std::string CFile::FetchWritableStorageLocationFnS(std::int32_t plStorageLocationIndex) const {
    const fs::path storageFile = appPath_ + std::string(kStorageFileName);
    std::error_code ec;
    if (fs::exists(storageFile, ec)) {
        const std::vector<std::string> entries = SplitAt(FirstLine(storageFile), "|");
        if (plStorageLocationIndex >= 0 && static_cast<std::size_t>(plStorageLocationIndex) < entries.size()) {
            return entries[static_cast<std::size_t>(plStorageLocationIndex)];
        }
    }
    return rootPath_;
}

std::string CFile::SysPropsGetSystemFilesFolderFnS() const { return FetchWritableStorageLocationFnS(0); }

std::string CFile::SysPropsGetSystemSettingsFolderFnS() const {
    const std::string systemFolder = SysPropsGetSystemFilesFolderFnS();
    // The folder given may lack its closing "/"; the settings folder lies
    // inside it all the same.
    const std::string settings =
        WithTrailingSlash(FolderExists(systemFolder) ? systemFolder : rootPath_) + std::string(kSettingsFolderName);
    std::error_code ignored;  // an unwritable place still answers its name
    fs::create_directories(settings, ignored);
    return settings;
}

void CFile::ClassTerminationLogFile(bool pbRunTerminateLog, std::string path) {
    runTerminateLog_ = pbRunTerminateLog;
    terminateLogPath_ = std::move(path);
}

void CFile::ClassTerminated(std::string_view className) const {
    static constexpr std::string_view kSource = "CFile.ClassTerminated";
    std::error_code ec;
    if (!runTerminateLog_ || terminateLogPath_.empty() || !fs::exists(terminateLogPath_, ec)) return;

    struct Row {
        std::string name;
        std::int32_t count;
    };
    std::vector<Row> rows;
    const std::string text(utf8::Trim(ReadWholeFile(terminateLogPath_, kSource)));
    if (!text.empty()) {
        const std::vector<std::string> lines = SplitAt(std::string(kLineEnd) + text, kLineEnd);
        for (std::size_t i = 1; i < lines.size(); ++i) {
            const std::vector<std::string> parts = SplitAt(lines[i], kCountSeparator);
            if (parts.size() < 2) throw VornError::SubscriptOutOfRange(std::string(kSource));
            rows.push_back(Row{parts[0], CLng(Variant(parts[1]))});
        }
    }

    const std::string name = classNamePrefix_ + "." + std::string(className);
    bool found = false;
    for (Row& row : rows) {
        // Exact comparison: "CAx0" and "cax0" are two classes here.
        if (row.name == name) {
            ++row.count;
            found = true;
            break;
        }
    }
    if (!found) rows.push_back(Row{name, 1});

    std::string out;
    for (const Row& row : rows) {
        if (!out.empty()) out += kLineEnd;
        out += row.name + std::string(kCountSeparator) + std::to_string(row.count);
    }
    std::ofstream file(terminateLogPath_, std::ios::binary | std::ios::trunc);
    if (!file || !file.write(out.data(), static_cast<std::streamsize>(out.size()))) {
        throw FileAccessError(kSource);
    }
}

CFile& File() { return SessionSlot<CFile>::Get(); }

void RecordClassEnd(std::string_view className) noexcept {
    try {
        if (SessionSlot<CFile>::IsMade()) File().ClassTerminated(className);
    } catch (...) {
        // The end of an object must go on whatever the log says.
    }
}

}  // namespace vorn
