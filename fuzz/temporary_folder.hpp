// A folder for what nobody keeps.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace fuzz {

/// As far as it can be: a process that has too many files open lists none.
inline void clearFolder(const std::filesystem::path& path) {
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(path, ignored)) {
    std::filesystem::remove_all(entry.path(), ignored);
  }
}

class TemporaryFolder {
 public:
  explicit TemporaryFolder(const std::string& prefix) {
    std::string name = (std::filesystem::temp_directory_path() / (prefix + "-XXXXXX")).string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make " + name);
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] std::string path() const { return path_.string(); }
  void clear() const { clearFolder(path_); }

 private:
  std::filesystem::path path_;
};

}  // namespace fuzz
