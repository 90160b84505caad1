#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace vorn {

// The system's folder settings and its file and path services. The host
// sets the path properties after the start; the object reads no
// configuration of its own except the one-line file "pth.vsy" beside the
// program, which names the system and user files folders as
// "<system folder>|<user folder>".
//
// Paths use "/" and folder properties end in "/". Members answer with a
// value rather than a failure unless a member says otherwise.
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
};

// The session's file services.
CFile& File();

// Records the end of an instance of `className` in the class termination
// log of the session's File object, if there is one. For destructors: a
// failure is swallowed, since a destructor must not throw.
void RecordClassEnd(std::string_view className) noexcept;

}  // namespace vorn
