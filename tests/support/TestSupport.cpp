#include "support/TestSupport.h"

#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace vorn::testing {

TempFolder::TempFolder() {
    std::random_device rd;
    const auto base = std::filesystem::temp_directory_path();
    for (int attempt = 0; attempt < 100; ++attempt) {
        auto candidate = base / ("vorn-test-" + std::to_string(rd()));
        if (std::filesystem::create_directory(candidate)) {
            path_ = candidate;
            return;
        }
    }
    throw std::runtime_error("cannot make a temp folder under " + base.string());
}

TempFolder::~TempFolder() {
    std::error_code ignored;  // a test that failed half-way may leave odd files
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path SourceDir() {
    if (const char* dir = std::getenv("VORN_SOURCE_DIR")) return dir;
    return std::filesystem::current_path();
}

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

void WriteFile(const std::filesystem::path& path, std::string_view bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace vorn::testing
