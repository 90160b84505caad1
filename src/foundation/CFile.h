#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "runtime/VArray.h"
#include "runtime/Variant.h"

namespace vorn {

// What the double-byte check reads of a project database. The database
// engine lies above this layer, so the layer that opens the database fills
// this in (the file's name, its format version, the type of a field) and
// passes it on.
struct DatabaseProbe {
    // The database file's path; tells the kind of file in messages.
    std::string name;
    // The format version as its text ("4.0"); a throw counts as no version.
    std::function<std::string()> version;
    // The DAO type code of `field` of `table`; throws VornError 3265 when
    // the table or the field is not there.
    std::function<std::int16_t(std::string_view table, std::string_view field)> fieldType;
};

// The system's folder settings and its file and path services. The host
// sets the path properties after the start; the object reads no
// configuration of its own except the one-line file "pth.vsy" beside the
// program, which names the system and user files folders as
// "<system folder>|<user folder>".
//
// Paths use "/" and folder properties end in "/". Members answer with a
// value rather than a failure unless a member says otherwise.
//
// Path rules of this platform: names keep their case; a "\" in a path given
// to a member is read as "/", and "//" as "/"; there are no drive letters,
// so where a rule spares the root ("C:\" elsewhere) it spares "/". Paths
// that members build use "/". A directory search ("*" and "?" wild cards,
// "*.*" matching every name) sees files only, never hidden ones (a name
// that begins with "."), and matches letters ignoring case; a name without
// wild cards is looked up exactly.
class CFile {
public:
    // `classNamePrefix` stands before each class name in the class
    // termination log ("<prefix>.<class>"); a build may set it.
    explicit CFile(std::string classNamePrefix = {});
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    // ---- Plain properties ----------------------------------------------------
    // Read and write; nothing is validated on set.

    // The program's folder; by default the folder of the running program.
    const std::string& AppPath() const { return appPath_; }
    void AppPath(std::string value) { appPath_ = std::move(value); }

    // The product's data folder; by default the user's data folder for the
    // product ($XDG_DATA_HOME/vorn/, else ~/.local/share/vorn/), so that
    // nothing is created in the current folder by surprise.
    const std::string& RootPath() const { return rootPath_; }
    void RootPath(std::string value) { rootPath_ = std::move(value); }

    // Folders the host sets after the start, and its user and mode.
    const std::string& DataTmplPath() const { return dataTmplPath_; }
    void DataTmplPath(std::string value) { dataTmplPath_ = std::move(value); }
    const std::string& DrawingPath() const { return drawingPath_; }
    void DrawingPath(std::string value) { drawingPath_ = std::move(value); }
    const std::string& ProjectPath() const { return projectPath_; }
    void ProjectPath(std::string value) { projectPath_ = std::move(value); }
    const std::string& ScriptsPath() const { return scriptsPath_; }
    void ScriptsPath(std::string value) { scriptsPath_ = std::move(value); }
    const std::string& SetupPath() const { return setupPath_; }
    void SetupPath(std::string value) { setupPath_ = std::move(value); }
    const std::string& WorkPath() const { return workPath_; }
    void WorkPath(std::string value) { workPath_ = std::move(value); }
    const std::string& UserName() const { return userName_; }
    void UserName(std::string value) { userName_ = std::move(value); }
    bool ServerMode() const { return serverMode_; }
    void ServerMode(bool value) { serverMode_ = value; }

    // ---- Write-only properties -----------------------------------------------

    // The characters in front of the host's own file extensions ("v").
    void ExtensionPrefix(std::string value) { extensionPrefix_ = std::move(value); }
    // Stores ExtensionPrefix + `value` as the extension of temporary files:
    // set the prefix first.
    void ExtensionTemporary(std::string_view value) {
        extensionTemporary_ = extensionPrefix_ + std::string(value);
    }

    // The clock of UniqueFnS and UniquePathFnS: seconds since local midnight,
    // with fractions. Tests set it; by default the system clock.
    void SecondsSinceMidnightSource(std::function<double()> clock) { clock_ = std::move(clock); }

    // ---- File kinds ----------------------------------------------------------
    // Told by the name alone, ignoring case; the file need not exist.

    bool IsProjectFilenameFnB(std::string_view psFileSpec) const;  // ".vpj"
    bool IsDataTemplateFnB(std::string_view psFileSpec) const;     // ".vdt"
    bool IsLibraryFilenameFnB(std::string_view psFileSpec) const;  // ".vlb"
    // The part behind the last "/" is "setup.vsh".
    bool IsSetupFileFnB(std::string_view psFileSpec) const;
    // "." + the last three characters is ".csv", ".ags" or ".txt"; so a name
    // that merely ends in "txt" counts too.
    bool IsTextFileTypeFnB(std::string_view psFileSpec) const;
    // A connect string "DBase IV;..." (a dBase folder).
    bool IsXBaseConnectFnB(std::string_view psFileSpec) const;
    // The database is of the oldest format: its version read as a number is
    // above 0 and below 3. A version that cannot be read counts as 0.
    bool IsVersion4FileFnB(const DatabaseProbe& pdbTest) const;

    // ---- Names and paths -----------------------------------------------------

    // The extension behind the last "." (without it), "" when there is no
    // ".". `psNameOnly` receives the text before the "." (the whole input
    // without one). A "." past position 32,767 fails with VornError 6.
    std::string FileExentionFnS(std::string_view psFileName,
                                std::string* psNameOnly = nullptr) const;
    // The text before the last "." (the whole input without one);
    // `psExtension` receives the extension as FileExentionFnS gives it.
    std::string FileNameOnlyFnS(std::string_view psFileName,
                                std::string* psExtension = nullptr) const;
    // The part behind the last "/"; `psPath` receives the part through it.
    // A "DBase IV;" string that ends in "/" names a folder: the split is at
    // the "/" before, and the result is the folder's name without "/".
    std::string FileNameExtractFnS(std::string_view psFullName,
                                   std::string* psPath = nullptr) const;
    // Adds a missing trailing "/"; with `pbRemoveBackslash` removes one
    // instead, except from the root "/". "" stays "".
    std::string PathAppendBackslashFnS(std::string_view psPath,
                                       bool pbRemoveBackslash = false) const;
    // There are no drives: always "".
    std::string DriveFromPathFnS(std::string_view psPath) const;
    // A relative path is taken from the current folder ("" is the current
    // folder); then PathValidFnB. Case is kept.
    bool PathFullBuildFnB(std::string& psPath) const;
    // True when the path names an existing folder; the path then ends in
    // "/". False, the path untouched, for one ending in "/." or "/.."; for
    // any other false answer the path has lost its trailing "/".
    bool PathValidFnB(std::string& psPath) const;
    // A source file in or under the reference file's folder as
    // "./sub/name"; any other source unchanged. Compared exactly.
    std::string RelativePathFromFullPathFnS(std::string_view psReferenceFile,
                                            std::string_view psSourceFile) const;
    // A source "./..." becomes the reference file's folder + the rest; any
    // other source, "../" included, is returned unchanged.
    std::string RelativePathToFullPathFnS(std::string_view psReferenceFile,
                                          std::string_view psSourceFile) const;
    // The long form of an existing path: "." and ".." steps resolved by
    // their text (links are not followed), "//" folded, a trailing "/" kept;
    // a path that does not exist is returned as given.
    std::string ConvertShortPathNameFnS(std::string_view psFileSpec) const;
    // The folder of a "DBase IV;<folder>[;]" string, ending in "/" (without
    // it, root excepted, when `pbNameProperty`); anything else unchanged.
    std::string XBaseFileSpecFnS(std::string_view psFileSpec, bool pbNameProperty = false) const;
    // A file name in `psPath` that does not exist yet, of 8 characters: the
    // first 3 characters of the prefix, then the tail of a counter that
    // starts at the hundredths of seconds since midnight. An empty `psExt`
    // means the temporary extension; one of 1 or 2 characters gets
    // ExtensionPrefix in front; a "." is added when it holds none.
    std::string UniqueFnS(std::string_view psPath, std::string_view psPrefix,
                          std::string_view psExt) const;
    // A folder name that does not exist yet: path + prefix + 6 digits + "/".
    std::string UniquePathFnS(std::string_view psPath, std::string_view psPrefix) const;
    // Prepares numbered names for `piNumPages` files from a model name:
    // "<folder>/<name up to its first .><digits><extension from its last .>",
    // the digits as wide as the number of pages has digits.
    void SerialFilenamesPrep(std::string_view psFullNameOrg, std::int16_t piNumPages);
    // The name of page `piPageNum`. Its digits overwrite the right end of a
    // buffer that keeps the digits of earlier calls, so pages must come in
    // rising order. A number wider than the prepared width fails with 5.
    std::string SerialFilenameGetFnS(std::int16_t piPageNum);

    // ---- Tests ---------------------------------------------------------------

    // A directory search of the name finds a file (see the path rules):
    // wild cards match, folders and hidden files are not seen. A name
    // ending in "/" asks whether the folder holds a file. "" is false.
    bool ExistFnB(std::string_view psFile) const;
    // The path is an existing folder; any failure is false.
    bool DirExistsFnB(std::string_view psPath) const;
    // The path lies on a network mount (NFS, CIFS, SMB), judged by its
    // nearest existing folder.
    bool FileIsRemoteFnB(std::string_view psFileSpec) const;
    bool PathIsOnNetworkFnB(std::string_view psFileSpec) const;
    // The path is a folder (PathValidFnB, which adjusts it) in which a new
    // file can be made and deleted again; found by trying it.
    bool PathWritableFnB(std::string& psPath) const;
    // The same, answering false on any failure.
    bool IsFolderWriteEnabledFnB(std::string_view psPath) const;
    // A missing file, or one that opens for appending.
    bool FileOkToAppendFnB(std::string_view psFileName) const;

    // ---- File operations -----------------------------------------------------
    // Members answering a number give 0 for success, else the error number
    // (53 file not found, 70 permission denied, 75 path/file access error,
    // 76 path not found). None of them raises.

    // Copies the file over `psDest`. True on success (Err() stays clear).
    bool FileCopyFnB(std::string_view psSource, std::string_view psDest) const;
    // Moves a file or folder: a rename, or a copy and a delete across file
    // systems. An existing destination is not replaced. TRUE ON FAILURE.
    bool FileMoveFnB(std::string_view psSource, std::string_view psDest) const;
    // Makes the file empty, creating it when missing.
    std::int32_t FileCreateFnL(std::string_view psFileName) const;
    // Deletes the file, or every file that a wild card name matches (none
    // matching is 53). "" does nothing and gives 0.
    std::int32_t FileKillAnyFnL(std::string_view psFileName) const;
    // Deletes the file as FileKillAnyFnL does; the other arguments are
    // accepted for the host's sake and change nothing.
    std::int32_t FileKillVornFnL(std::string_view psFileName, bool pbShowMsg = false,
                                 bool pbKillProject = false, std::string_view psSource = {}) const;
    // Removes an empty folder.
    std::int32_t FolderKillFnL(std::string_view psFolderName) const;
    // Deletes the folder with everything in it, hidden and read-only files
    // included; links are removed, never followed. TRUE ON FAILURE, and true
    // for a folder that does not exist.
    bool DelTreeFnB(std::string_view psTargetFolder) const;
    // Makes the folder and its missing parents: Variant true when the folder
    // exists afterwards, false on a failure.
    Variant MkDirRecursive(std::string_view psFolderPath) const;
    // Asks the user (yes/no, titled `psCaption`) whether to make the folder
    // `psFullPath`, which must end in "/"; on yes makes it folder by folder.
    // `plErrNum` is -1 when the user said no, and on yes takes the number of
    // each failure (an existing folder is no failure); it is not reset, so
    // the caller starts it at 0.
    void DirCreate(std::string_view psFullPath, std::string_view psCaption,
                   std::int32_t& plErrNum) const;
    // Keeps two generations of automatic backups: ".bak1" moves to ".bak2"
    // (replacing it), then the file is copied over ".bak1". Raises a failure
    // with "CFile.FileBackup" in its source.
    void FileBackupAutomatic(std::string_view psFileSpec) const;
    // Finds a free backup name: the 3 characters behind the last "." become
    // "org" (fewer when the extension is shorter; with no "." the first 3
    // characters), then while the name exists its last character becomes
    // 1, 2, ... 9. `pbBackOrgExisted` tells that the "org" name existed;
    // `psNameOnlyFinal` receives the file part of a numbered name (untouched
    // when the "org" name is free). Nothing is written. TRUE ON FAILURE:
    // every name up to 9 exists (the name is then the 9th).
    bool FileBackupNumberedFailedFnB(std::string& psNameFull, bool& pbBackOrgExisted,
                                     std::string& psNameOnlyFinal) const;
    // Rewrites `psFileName` (of `plLenFile` bytes) into a new file in
    // `psWorkPath` with every `psCharSrh` replaced by CR LF, reading
    // `piLenBuffSeqInputFile` bytes at a time (a search text split between
    // two buffers stays). `psFileTemp` and `psFileName` become the new
    // file's name. Raises when a file cannot be read or written (53, 75), 5
    // for a buffer size below 1.
    void CreateCrLfFile(std::string_view psWorkPath, std::int16_t piLenBuffSeqInputFile,
                        std::string_view psCharSrh, std::int32_t plLenFile, std::string& psFileName,
                        std::string& psFileTemp) const;

    // ---- Lists ---------------------------------------------------------------

    // The names (without folder) of the files in the folder that match the
    // pattern, sorted ignoring case, into `psFilesV` from index 0 (0 to -1
    // for none). Answers their number.
    std::int32_t FilesInFolderFnL(std::string_view psFolder, VArray& psFilesV,
                                  std::string_view psFileExt = "*.*") const;
    // When element `plListIndex` holds "*", it is a file pattern: its first
    // match takes its place and further matches follow it, `plListIndex`
    // ends at the last of them, and the whole list is sorted by upper-cased
    // text. Anything else, no match or a failure, leaves the list alone.
    void FileListFromFolder(VArray& psFileListV, std::int32_t& plListIndex) const;
    // A "caption|pattern|caption|pattern" filter with each caption resolved
    // as a text id where it is one (CTextString::TextStringCheck) and shown
    // as "caption (pattern)".
    std::string FileDialogFilterCaptionFnS(std::string_view psFilter) const;

    // ---- Settings folders ----------------------------------------------------

    // Entry `plStorageLocationIndex` of the first line of AppPath + "pth.vsy",
    // split at "|" (0: system files folder, 1: user files folder); RootPath
    // when the file is missing or the entry is out of range.
    std::string FetchWritableStorageLocationFnS(std::int32_t plStorageLocationIndex) const;

    // The system files folder: entry 0 of "pth.vsy", else RootPath.
    std::string SysPropsGetSystemFilesFolderFnS() const;

    // The folder of the system settings: "settings/" in the system files
    // folder when that folder exists, else in RootPath; made when missing
    // (a failure to make it is not reported).
    std::string SysPropsGetSystemSettingsFolderFnS() const;

    // The user files folder: entry 1 of "pth.vsy", else RootPath.
    std::string SysPropsGetUserFilesFolderFnS() const;

    // A platform folder by number, without a trailing "/": 28 the user's data
    // folder ($XDG_DATA_HOME, else ~/.local/share), 26 the user's settings
    // folder ($XDG_CONFIG_HOME, else ~/.config), 5 the home folder ($HOME);
    // "" for any other number or when it is unknown. `phCaller` is unused.
    std::string GetSpecialFolderFnS(std::int32_t plCSIDL, std::int64_t phCaller = 0) const;

    // The user's own settings folder, "<data folder>/Tessmar/vORN/", made
    // when missing. When it cannot be made the user is told (text 5593 with
    // SetupPath, title 3801) and the answer is "".
    std::string UserSpecificSettingsFolderFnS() const;

    // ---- Others --------------------------------------------------------------

    // The version of the program itself.
    static constexpr std::int16_t kProgramVersionMajor = 0;
    static constexpr std::int16_t kProgramVersionMinor = 1;
    static constexpr std::int16_t kProgramVersionBuild = 0;
    static constexpr std::int16_t kProgramVersionPrivate = 0;

    // When the host runs with a double-byte character set (Ax().DoubleByte),
    // refuses a database whose text field `psFieldName` of `psTableName` has
    // not been converted (its type is not 11): raises -2147221500 with text
    // 4806 naming the file's kind (`psDesc` for an unknown kind, when
    // given). A database of the oldest format is refused always. A missing
    // table or field passes. It never answers: it passes or raises.
    void DoubleByteConversionCheck(const DatabaseProbe& pdbSource, std::string_view psTableName,
                                   std::string_view psFieldName,
                                   std::optional<std::string> psDesc = std::nullopt) const;

    // The version of a file: the program's own version for the running
    // program, 0.0.0.0 for any other file. ProductVersion answers the same.
    void FileVersion(std::string_view psFile, std::int16_t& piMajor, std::int16_t& piMinor,
                     std::int16_t& piBuild, std::int16_t& piPrivate) const;
    void ProductVersion(std::string_view psFile, std::int16_t& piMajor, std::int16_t& piMinor,
                        std::int16_t& piBuild, std::int16_t& piPrivate) const;

    // ---- Class termination log -----------------------------------------------
    // A host that wants to see which classes end, and how often, prepares a
    // file and switches the log on; each class then reports its end here.

    // Switches the log on or off and names its file (write only).
    void ClassTerminationLogFile(bool pbRunTerminateLog, std::string path);

    // Counts one end of `className` in the log file as the line
    // "<prefix>.<className> - <count>". Does nothing when the log is off or
    // its file does not exist: a file that the host did not prepare is
    // never created. Names match exactly, case included.
    // Throws VornError for a line without " - " (9), a count that is no
    // number (13), or a file that cannot be read or written (75).
    void ClassTerminated(std::string_view className) const;

private:
    std::string appPath_;
    std::string rootPath_;
    std::string classNamePrefix_;
    bool runTerminateLog_ = false;
    std::string terminateLogPath_;

    // ---- Shared by the sources of this class ----

    // The path with "\" read as "/" and "//" folded to "/".
    static std::string Slashed(std::string_view path);
    // A path split at its last "/": the part through it, and the rest.
    static std::pair<std::string, std::string> SplitAtLastSlash(const std::string& path);
    // The names of the files in `folder` (a directory search: no folders, no
    // hidden names) that match `pattern`, sorted ignoring case.
    static std::vector<std::string> MatchingFiles(const std::string& folder,
                                                  std::string_view pattern);
    // The runtime's error number for a failed file operation; `fallback`
    // for a failure that has no closer number.
    static std::int32_t ErrorNumberOf(const std::error_code& error, std::int32_t fallback);
    // The centiseconds since midnight, the start of a unique-name counter.
    std::int32_t UniqueCounterStart() const;

    std::string dataTmplPath_;
    std::string drawingPath_;
    std::string projectPath_;
    std::string scriptsPath_;
    std::string setupPath_;
    std::string workPath_;
    std::string userName_;
    bool serverMode_ = false;
    std::string extensionPrefix_;
    std::string extensionTemporary_;
    std::function<double()> clock_;

    // Serial file names, as SerialFilenamesPrep leaves them.
    std::string serialFolder_;
    std::string serialName_;
    std::string serialExtension_;
    std::string serialDigits_;
    std::int16_t serialWidth_ = 0;
};

// The session's file services.
CFile& File();

// Records the end of an instance of `className` in the class termination
// log of the session's File object, if there is one. For destructors: a
// failure is swallowed, since a destructor must not throw.
void RecordClassEnd(std::string_view className) noexcept;

}  // namespace vorn
