// A directory of a test's own, removed with all that is in it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace em_pni::test {

class CTempDirectory {
  public:
    explicit CTempDirectory(const std::string& parent = "/tmp")
        : path_(::mkdtemp((parent + "/em_pni_test.XXXXXX").data())) {}
    ~CTempDirectory() { std::filesystem::remove_all(path_); }
    CTempDirectory(const CTempDirectory&) = delete;
    CTempDirectory& operator=(const CTempDirectory&) = delete;

    [[nodiscard]] const std::string& Path() const { return path_; }
    [[nodiscard]] std::string File(const std::string& name) const { return path_ + "/" + name; }
    // Writes a file, making the folders it needs; returns its path.
    std::string Write(const std::string& name, const std::string& content) const {
        std::filesystem::create_directories(std::filesystem::path(File(name)).parent_path());
        std::ofstream(File(name), std::ios::binary) << content;
        return File(name);
    }

  private:
    std::string path_;
};

inline std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

}  // namespace em_pni::test
