#pragma once

#include <filesystem>
#include <string>

namespace cronvel::test {

/// A folder of the test's own, gone with it.
class TestFolder {
 public:
  TestFolder();
  ~TestFolder();
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  std::filesystem::path operator/(const std::string& name) const { return mPath / name; }
  std::string path(const std::string& name) const { return (mPath / name).string(); }
  void write(const std::string& name, const std::string& content) const;
  /// Empty where the file is missing.
  std::string read(const std::string& name) const;
  const std::filesystem::path& path() const { return mPath; }
  bool has(const std::string& name) const { return std::filesystem::exists(mPath / name); }

 private:
  std::filesystem::path mPath;
};

/// Bytes from hexadecimal pairs: "ED 12 34".
std::string fromHex(const std::string& hex);

}  // namespace cronvel::test
