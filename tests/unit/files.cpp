#include "tests/unit/files.hpp"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace h5test {

namespace {

/// The folder of this run, gone when the program ends.
class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "h5gate-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace

std::string temporaryPath(std::string_view name) {
  static const Folder folder;
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  std::string own = std::string(test->test_suite_name()) + "." + test->name();
  std::replace(own.begin(), own.end(), '/', '_');
  std::filesystem::create_directories(folder.path() / own);
  return (folder.path() / own / name).string();
}

Owned createFile(const std::string& path, const Argument& flags, const Argument& accessList) {
  return make("H5Fcreate", path, flags, kDefault, accessList);
}

Owned openFile(const std::string& path, const Argument& flags, const Argument& accessList) {
  return make("H5Fopen", path, flags, accessList);
}

std::string readBytes(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

void damage(const std::string& path, const std::string& bytes, std::size_t offset) {
  std::string whole = readBytes(path);
  const std::size_t place = whole.find(bytes);
  ASSERT_NE(place, std::string::npos);
  ASSERT_EQ(whole.find(bytes, place + 1), std::string::npos);
  whole[place + offset] ^= 1;
  writeBytes(path, whole);
}

}  // namespace h5test
