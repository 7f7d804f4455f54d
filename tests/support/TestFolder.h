#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>

namespace cronvel::test {

/// A folder of the test's own, gone with it.
class TestFolder {
 public:
  TestFolder() { std::filesystem::create_directory(mPath); }
  ~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  std::filesystem::path operator/(const std::string& name) const { return mPath / name; }
  std::string path(const std::string& name) const { return (mPath / name).string(); }
  void write(const std::string& name, const std::string& content) const {
    std::ofstream(mPath / name, std::ios::binary) << content;
  }
  /// Empty where the file is missing.
  std::string read(const std::string& name) const {
    std::ifstream input(mPath / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(input), {}};
  }
  const std::filesystem::path& path() const { return mPath; }
  bool has(const std::string& name) const { return std::filesystem::exists(mPath / name); }

 private:
  std::filesystem::path mPath = std::filesystem::temp_directory_path() /
                                ("cronvel-test-" + std::to_string(std::random_device{}()));
};

/// Bytes from hexadecimal pairs: "ED 12 34".
inline std::string fromHex(const std::string& hex) {
  std::istringstream pairs(hex);
  std::string bytes;
  for (std::string pair; pairs >> pair;) bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
  return bytes;
}

}  // namespace cronvel::test
