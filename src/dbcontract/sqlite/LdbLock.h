#pragma once

#include <filesystem>

namespace vorn {

// The lock file of an open project file: "<name without its last
// extension>.ldb" beside it. Every process that has the project open holds
// a shared flock() on it; whoever wants to know whether the project is in
// use tries an exclusive, non-blocking flock() (IsHeld). The last one to
// close removes the file.
class LdbLock {
public:
    // The lock file's path for a project file.
    static std::filesystem::path NameFor(const std::filesystem::path& projectFile);

    // True when some process (this one included) holds a lock on the lock
    // file; false when it is free or missing.
    static bool IsHeld(const std::filesystem::path& lockFile);

    // Creates the lock file if needed and takes a shared lock on it. Raises
    // 3051 when it cannot.
    explicit LdbLock(const std::filesystem::path& projectFile);
    ~LdbLock();
    LdbLock(const LdbLock&) = delete;
    LdbLock& operator=(const LdbLock&) = delete;

    const std::filesystem::path& Path() const noexcept { return path_; }

    // Drops the lock, and the file when no one else holds it.
    void Release() noexcept;

private:
    std::filesystem::path path_;
    int fd_ = -1;
};

}  // namespace vorn
