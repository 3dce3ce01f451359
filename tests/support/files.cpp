#include "tests/support/files.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace test {

namespace fs = std::filesystem;

TempFolder::TempFolder() {
    std::random_device random;
    const auto base = fs::temp_directory_path();
    do {
        m_path = (base / ("tarvix-test-" + std::to_string(random()))).generic_string();
    } while (!fs::create_directory(m_path));
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::string bytesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::set<std::string> namesIn(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

} // namespace test
