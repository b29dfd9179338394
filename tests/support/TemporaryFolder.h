#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace jumplark::testing {

/// An empty folder that is removed with all that is in it.
class TemporaryFolder {
 public:
  TemporaryFolder() : path_((std::filesystem::temp_directory_path() / "jumplark-test-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) {
      throw std::runtime_error("there is no room for " + path_);
    }
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }

  const std::string& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return std::filesystem::path(path_) / name; }

 private:
  std::string path_;
};

/// Writes a whole file, and the folders above it where they are missing.
inline void writeFile(const std::filesystem::path& file, const std::string& text) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << text;
}

/// The whole text of a file; empty when there is none.
inline std::string readFile(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace jumplark::testing
