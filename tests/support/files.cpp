#include "support/files.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace support {

std::string read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write_file(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

bool exists(const std::string& path) { return std::filesystem::exists(path); }

}  // namespace support
