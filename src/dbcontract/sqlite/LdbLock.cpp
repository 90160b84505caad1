#include "dbcontract/sqlite/LdbLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "dbcontract/sqlite/SqliteErrors.h"
#include "runtime/ErrorNumbers.h"

namespace vorn {
namespace {

constexpr int kAttempts = 20;

// True when `fd` is still the file at `path`: a closing process may have
// removed the file between our open() and our lock.
bool SameFile(int fd, const std::filesystem::path& path) {
    struct stat opened {};
    struct stat named {};
    if (fstat(fd, &opened) != 0 || stat(path.c_str(), &named) != 0) return false;
    return opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

}  // namespace

std::filesystem::path LdbLock::NameFor(const std::filesystem::path& projectFile) {
    auto name = projectFile;
    return name.replace_extension(".ldb");
}

bool LdbLock::IsHeld(const std::filesystem::path& lockFile) {
    const int fd = open(lockFile.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool held = flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    close(fd);
    return held;
}

LdbLock::LdbLock(const std::filesystem::path& projectFile) : path_(NameFor(projectFile)) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        fd_ = open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (fd_ < 0) break;
        if (flock(fd_, LOCK_SH) == 0 && SameFile(fd_, path_)) return;
        close(fd_);
        fd_ = -1;
    }
    throw SqliteErrors::Jet(errnum::kJetCannotOpenFile, "Could not lock file '" + path_.string() +
                                                            "' (" + std::strerror(errno) + ").");
}

LdbLock::~LdbLock() { Release(); }

void LdbLock::Release() noexcept {
    if (fd_ < 0) return;
    // Trading our shared lock for an exclusive one succeeds only when no one
    // else holds the file; then it is ours to remove.
    if (flock(fd_, LOCK_EX | LOCK_NB) == 0 && SameFile(fd_, path_)) {
        unlink(path_.c_str());
    }
    close(fd_);
    fd_ = -1;
}

}  // namespace vorn
