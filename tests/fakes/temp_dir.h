#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace brisel::testing {

// A fresh folder under the system's temporary folder, removed with everything in it.
class TempDir {
public:
    TempDir() : path_(::mkdtemp((std::filesystem::temp_directory_path() / "brisel-test-XXXXXX").string().data())) {}
    ~TempDir() { std::error_code ignored; std::filesystem::remove_all(path_, ignored); }
    TempDir(const TempDir&) = delete;  // one owner removes the folder; the const path forbids assignment

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    const std::filesystem::path path_;
};

inline void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

}  // namespace brisel::testing
