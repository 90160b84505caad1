// CAx0: the members that ask the operating system: the user's name, new
// identifiers, the locale's decimal mark, the desktop's document opener and
// a pattern search in a file.

#include <fcntl.h>
#include <langinfo.h>
#include <locale.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>

#include "foundation/CAx0.h"
#include "foundation/CDoTrace.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

extern char** environ;

namespace vorn {
namespace {

constexpr const char* kExtractMember = "CAx0.ExtractSegmentFromFileFnS";

// A path as the system stores it may use "\" between folders.
std::string NativePath(std::string_view path) {
    std::string native(path);
    std::replace(native.begin(), native.end(), '\\', '/');
    return native;
}

std::string EnvironmentValue(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

// 16 random bytes from the kernel, or from the library's source when the
// device cannot be read.
std::array<std::uint8_t, 16> RandomBytes() {
    std::array<std::uint8_t, 16> bytes{};
    std::ifstream device("/dev/urandom", std::ios::binary);
    if (device.read(reinterpret_cast<char*>(bytes.data()), bytes.size())) return bytes;
    std::random_device source;
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(source());
    return bytes;
}

// Launch results of the desktop's document launch: above 32 is success.
constexpr int kLaunchOutOfResources = 0;
constexpr int kLaunchFileNotFound = 2;
constexpr int kLaunchPathNotFound = 3;
constexpr int kLaunchStarted = 42;

// Starts the desktop's opener on `target` in `folder` and does not wait for
// it: a short-lived shell puts it in the background, so no child is left for
// this process to collect.
int LaunchOpener(const std::string& target, const std::string& folder) {
    static const char* const kScript =
        "command -v xdg-open >/dev/null 2>&1 || exit 127\n"
        "if [ -n \"$2\" ]; then cd \"$2\" || exit 3; fi\n"
        "xdg-open \"$1\" </dev/null >/dev/null 2>&1 &\n";
    std::array<const char*, 7> argv = {"sh", "-c", kScript, "sh", target.c_str(), folder.c_str(), nullptr};
    pid_t child = 0;
    if (posix_spawn(&child, "/bin/sh", nullptr, nullptr, const_cast<char* const*>(argv.data()),
                    environ) != 0) {
        return kLaunchOutOfResources;
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return kLaunchOutOfResources;
    }
    if (!WIFEXITED(status)) return kLaunchOutOfResources;
    switch (WEXITSTATUS(status)) {
        case 0: return kLaunchStarted;
        case 3: return kLaunchPathNotFound;
        default: return kLaunchFileNotFound;
    }
}

// A file read in windows for a pattern search, closed when it goes.
class FileWindow {
public:
    explicit FileWindow(const std::string& path) : in_(path, std::ios::binary) {
        if (!in_) {
            std::error_code ignored;
            const bool exists = std::filesystem::exists(path, ignored);
            const std::int32_t number = exists ? errnum::kPathFileAccessError : errnum::kFileNotFound;
            throw VornError(number, "", VornError::RuntimeDescription(number));
        }
        in_.seekg(0, std::ios::end);
        size_ = static_cast<std::int64_t>(in_.tellg());
    }

    std::int64_t Size() const { return size_; }

    // The bytes from 1-based `position`, at most `count` of them.
    std::string Read(std::int64_t position, std::int64_t count) {
        const std::int64_t available = std::clamp<std::int64_t>(size_ - position + 1, 0, count);
        std::string bytes(static_cast<std::size_t>(available), '\0');
        in_.clear();
        in_.seekg(position - 1);
        if (!in_.read(bytes.data(), available)) {
            throw VornError(errnum::kPathFileAccessError, "",
                            VornError::RuntimeDescription(errnum::kPathFileAccessError));
        }
        return bytes;
    }

    // The 1-based position of `pattern` at or behind `start`, ignoring case;
    // 0 when absent; -1 for an empty pattern, a file shorter than the
    // pattern, or a start past the end. Windows of 4,096 bytes (more for a
    // long pattern) overlap by the pattern's length, so a match across two
    // windows is found in the second.
    std::int64_t Find(std::string_view pattern, std::int64_t start) {
        const auto patternLen = static_cast<std::int64_t>(pattern.size());
        if (pattern.empty() || size_ < patternLen || start > size_) return -1;
        const std::string folded = utf8::ToUpper(pattern);
        const std::int64_t window = std::max<std::int64_t>(4096, 2 * patternLen);
        for (std::int64_t at = start;; at += window - patternLen) {
            // Folding keeps byte lengths, so offsets in the folded window hold.
            const std::string bytes = utf8::ToUpper(Read(at, window));
            const std::size_t found = bytes.find(folded);
            if (found != std::string::npos) return at + static_cast<std::int64_t>(found);
            if (at + window > size_) return 0;
        }
    }

private:
    std::ifstream in_;
    std::int64_t size_ = 0;
};

}  // namespace

std::string CAx0::UserNameFnS() const {
    std::string name;
    std::array<char, 4096> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
        found->pw_name != nullptr) {
        name = found->pw_name;
    }
    if (name.empty()) name = EnvironmentValue("USER");
    // The name was read into a buffer of 100 characters: a longer one did
    // not fit and read as nothing.
    if (utf8::Length(name) > 99) return {};
    return name.substr(0, name.find('\0'));
}

std::string CAx0::UUIDFnS() const {
    std::array<std::uint8_t, 16> bytes = RandomBytes();
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4: random
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // the standard variant
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02X", static_cast<unsigned>(bytes[i]));
        text += digits.data();
    }
    return text;
}

bool CAx0::NativeDecimalSeperatorIsNotUS() const {
    // A locale object of its own: the process locale stays as it is.
    const locale_t user = newlocale(LC_NUMERIC_MASK, "", static_cast<locale_t>(nullptr));
    if (user == static_cast<locale_t>(nullptr)) return false;
    const char* radix = nl_langinfo_l(RADIXCHAR, user);
    const bool notUs = radix != nullptr && *radix != '\0' && std::string_view(radix) != ".";
    freelocale(user);
    return notUs;
}

void CAx0::ShellExecuteEnc(std::int64_t /*phWndForm*/, std::string_view psFile,
                           std::string_view /*psParameters*/, std::string_view psDirectory,
                           std::int32_t /*plShowCmd*/, std::string_view /*psOperation*/) const {
    if (psFile.empty()) return;
    const bool isAddress = psFile.find("http") != std::string_view::npos ||
                           psFile.find("www") != std::string_view::npos;
    const std::string file = isAddress ? std::string(psFile) : NativePath(psFile);
    std::error_code ignored;
    // A launch that cannot happen is silent by design: the caller goes on.
    if (!isAddress && !std::filesystem::exists(file, ignored)) return;
    if (EnvironmentValue("DISPLAY").empty() && EnvironmentValue("WAYLAND_DISPLAY").empty()) return;
    // The opener takes the name as one argument, so no quotes are needed; its
    // result is dropped for the same reason as above.
    LaunchOpener(file, NativePath(psDirectory));
}

std::string CAx0::ExtractSegmentFromFileFnS(std::int32_t plPsFile, std::string_view psFileName,
                                            std::string_view psSrhStrg,
                                            std::string_view psEndStrg) const {
    try {
        if (plPsFile < 1) throw VornError::InvalidArgument("");
        FileWindow file(NativePath(psFileName));
        const std::int64_t start = file.Find(psSrhStrg, plPsFile);
        if (start <= 0) return {};
        std::int64_t end = file.Find(psEndStrg, start + static_cast<std::int64_t>(psSrhStrg.size()));
        if (end < 0) return {};
        if (end == 0) end = file.Size() + 1;
        // Through the first character of the end pattern, all of its bytes.
        std::size_t firstCharBytes = 0;
        if (!psEndStrg.empty()) utf8::CodePointAt(psEndStrg, firstCharBytes);
        const std::int64_t last =
            std::min<std::int64_t>(end + static_cast<std::int64_t>(firstCharBytes) - 1, file.Size());
        return file.Read(start, last - start + 1);
    } catch (...) {
        RaiseThroughChain(kExtractMember);
    }
}

}  // namespace vorn
