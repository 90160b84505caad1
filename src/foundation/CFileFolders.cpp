// Folder lists, the platform's settings folders, the double-byte check and
// file versions.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/CAx0.h"
#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/ErrorRecord.h"
#include "runtime/SessionSlot.h"
#include "runtime/UserInterface.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;

// Platform folder numbers that the host asks for.
constexpr std::int32_t kFolderHome = 5;
constexpr std::int32_t kFolderSettings = 26;
constexpr std::int32_t kFolderLocalData = 28;

constexpr std::int16_t kConvertedFieldType = 11;
// The number under which a database that needs converting is refused.
constexpr std::int32_t kNotConverted = -2147221500;

std::string Text(std::int32_t id, const std::vector<std::string>& replacements = {}) {
    return TextStr().TextStringGetFnS(id, replacements);
}

// An environment folder; relative values do not count.
std::string AbsoluteFromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    if (value == nullptr || *value != '/') return {};
    return value;
}

std::vector<std::string> SplitAtBar(std::string_view text) {
    std::vector<std::string> parts;
    for (;;) {
        const auto bar = text.find('|');
        parts.emplace_back(text.substr(0, bar));
        if (bar == std::string_view::npos) return parts;
        text.remove_prefix(bar + 1);
    }
}

}  // namespace

// ---- Lists -------------------------------------------------------------------

std::int32_t CFile::FilesInFolderFnL(std::string_view psFolder, VArray& psFilesV,
                                     std::string_view psFileExt) const {
    const std::vector<std::string> names =
        MatchingFiles(PathAppendBackslashFnS(psFolder), psFileExt);
    const auto count = static_cast<std::int32_t>(names.size());
    psFilesV.ReDim(0, count - 1);
    for (std::int32_t i = 0; i < count; ++i)
        psFilesV.At(i) = Variant(names[static_cast<std::size_t>(i)]);
    return count;
}

void CFile::FileListFromFolder(VArray& psFileListV, std::int32_t& plListIndex) const {
    try {
        const std::string item = CStr(psFileListV.At(plListIndex));
        if (item.find('*') == std::string::npos) return;
        const auto [folder, pattern] = SplitAtLastSlash(Slashed(item));
        const std::vector<std::string> matches = MatchingFiles(folder, pattern);
        if (matches.empty()) return;

        std::vector<Variant> items(psFileListV.Items());
        const std::int32_t lower = psFileListV.LBound();
        const auto at = items.begin() + (plListIndex - lower);
        *at = Variant(folder + matches.front());
        std::vector<Variant> more;
        for (std::size_t i = 1; i < matches.size(); ++i) more.emplace_back(folder + matches[i]);
        items.insert(at + 1, more.begin(), more.end());
        plListIndex += static_cast<std::int32_t>(more.size());

        // The list is sorted from element 0 on, by upper-cased text.
        const std::size_t sortFrom = lower < 0 ? static_cast<std::size_t>(-lower) : 0;
        std::vector<std::pair<std::string, Variant>> keyed;
        for (std::size_t i = sortFrom; i < items.size(); ++i)
            keyed.emplace_back(utf8::ToUpper(CStr(items[i])), items[i]);
        std::stable_sort(keyed.begin(), keyed.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        for (std::size_t i = 0; i < keyed.size(); ++i) items[sortFrom + i] = keyed[i].second;
        psFileListV = VArray::FromItems(std::move(items), lower);
    } catch (...) {
        Err().Clear();
    }
}

std::string CFile::FileDialogFilterCaptionFnS(std::string_view psFilter) const {
    if (psFilter.empty()) return {};
    std::vector<std::string> parts = SplitAtBar(psFilter);
    for (std::size_t i = 0; i < parts.size(); i += 2) {
        TextStr().TextStringCheck(parts[i]);
        const std::string pattern = i + 1 < parts.size() ? parts[i + 1] : std::string();
        parts[i] += " (" + pattern + ")";
    }
    std::string joined;
    for (std::size_t i = 0; i < parts.size(); ++i) joined += (i == 0 ? "" : "|") + parts[i];
    return joined;
}

// ---- Settings folders --------------------------------------------------------

std::string CFile::SysPropsGetUserFilesFolderFnS() const {
    return FetchWritableStorageLocationFnS(1);
}

std::string CFile::GetSpecialFolderFnS(std::int32_t plCSIDL, std::int64_t /*phCaller*/) const {
    const std::string home = AbsoluteFromEnvironment("HOME");
    std::string folder;
    if (plCSIDL == kFolderHome) {
        folder = home;
    } else if (plCSIDL == kFolderLocalData) {
        folder = AbsoluteFromEnvironment("XDG_DATA_HOME");
        if (folder.empty() && !home.empty()) folder = home + "/.local/share";
    } else if (plCSIDL == kFolderSettings) {
        folder = AbsoluteFromEnvironment("XDG_CONFIG_HOME");
        if (folder.empty() && !home.empty()) folder = home + "/.config";
    }
    return PathAppendBackslashFnS(folder, true);
}

std::string CFile::UserSpecificSettingsFolderFnS() const {
    const std::string data = GetSpecialFolderFnS(kFolderLocalData);
    // Without a data folder the name would fall to the root.
    if (!data.empty()) {
        const std::string folder = PathAppendBackslashFnS(data) + "Tessmar/vORN/";
        if (DirExistsFnB(folder) || MkDirRecursive(folder).AsBoolean()) return folder;
    }
    Ui().MessageBox(MessageBoxRequest{Text(5593, {setupPath_}), Text(3801), MsgIcon::kInformation,
                                      MsgButtons::kOk, 1, "5593"});
    return {};
}

// ---- Others ------------------------------------------------------------------

void CFile::DoubleByteConversionCheck(const DatabaseProbe& pdbSource, std::string_view psTableName,
                                      std::string_view psFieldName,
                                      std::optional<std::string> psDesc) const {
    static constexpr const char* kSource = "CFile.DoubleByteConversionCheck";
    if (!SessionSlot<CAx0>::IsMade() || !Ax().DoubleByte()) return;
    const auto refuse = [](const std::string& description) {
        return VornError(kNotConverted, kSource, Text(4806, {description}) + "\r\n\r\n");
    };
    if (IsVersion4FileFnB(pdbSource)) throw refuse(Text(4396));

    if (!pdbSource.fieldType) throw VornError::ObjectNotSet(kSource);
    try {
        if (pdbSource.fieldType(psTableName, psFieldName) == kConvertedFieldType) return;
    } catch (const VornError& error) {
        if (error.Number() == errnum::kJetItemNotFound) return;  // nothing there to convert
        throw;
    }

    const std::string& name = pdbSource.name;
    std::string description;
    if (IsLibraryFilenameFnB(name)) {
        description = Text(4803);
    } else if (IsProjectFilenameFnB(name) || IsDataTemplateFnB(name)) {
        description = Text(4804);
    } else if (IsSetupFileFnB(name)) {
        description = Text(4512);
    } else {
        description = psDesc ? *psDesc : Text(4805);
    }
    throw refuse(description);
}

void CFile::FileVersion(std::string_view psFile, std::int16_t& piMajor, std::int16_t& piMinor,
                        std::int16_t& piBuild, std::int16_t& piPrivate) const {
    std::error_code ec;
    const std::string file = Slashed(psFile);
    const bool program = !file.empty() && fs::equivalent(file, "/proc/self/exe", ec) && !ec;
    piMajor = program ? kProgramVersionMajor : 0;
    piMinor = program ? kProgramVersionMinor : 0;
    piBuild = program ? kProgramVersionBuild : 0;
    piPrivate = program ? kProgramVersionPrivate : 0;
}

void CFile::ProductVersion(std::string_view psFile, std::int16_t& piMajor, std::int16_t& piMinor,
                           std::int16_t& piBuild, std::int16_t& piPrivate) const {
    FileVersion(psFile, piMajor, piMinor, piBuild, piPrivate);
}

}  // namespace vorn
