#include "support/TestSupport.h"

#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <algorithm>

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

std::vector<std::string> ScreenLines(std::string_view bytes) {
    std::vector<std::string> lines(1);
    std::size_t column = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::string& line = lines.back();
        if (bytes[i] == '\r') {
            column = 0;
        } else if (bytes[i] == '\n') {
            lines.emplace_back();
            column = 0;
        } else if (bytes.substr(i, 3) == "\033[K") {
            line.resize(std::min(column, line.size()));
            i += 2;
        } else {
            line.resize(std::max(line.size(), column + 1), ' ');
            line[column++] = bytes[i];
        }
    }
    std::erase_if(lines, [](const std::string& l) { return l.empty(); });
    return lines;
}

}  // namespace vorn::testing
