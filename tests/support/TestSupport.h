#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/VornError.h"

namespace vorn::testing {

// A fresh folder under the system temp folder, removed with everything in it
// when the object goes out of scope.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

// The source tree's root (tests run with VORN_SOURCE_DIR set by CTest).
std::filesystem::path SourceDir();

// The number of the failure that `step` raises, 0 when it raises none.
inline int FailureNumber(const std::function<void()>& step) {
    try {
        step();
    } catch (const VornError& e) {
        return e.Number();
    }
    return 0;
}

// Reads a whole file as bytes; empty when it cannot be read.
std::string ReadFile(const std::filesystem::path& path);

// Writes a whole file, replacing it.
void WriteFile(const std::filesystem::path& path, std::string_view bytes);

// The non-empty lines a person sees once `bytes` reached a terminal: carriage
// return, erase to the end of the line ("\033[K") and line feed honoured.
std::vector<std::string> ScreenLines(std::string_view bytes);

}  // namespace vorn::testing
