#include "tests/support/TestFolder.h"

#include <fstream>
#include <iterator>
#include <random>
#include <sstream>

namespace cronvel::test {

namespace fs = std::filesystem;

TestFolder::TestFolder()
    : mPath(fs::temp_directory_path() /
            ("cronvel-test-" + std::to_string(std::random_device{}()))) {
  fs::create_directory(mPath);
}

TestFolder::~TestFolder() {
  std::error_code ignored;
  fs::remove_all(mPath, ignored);
}

void TestFolder::write(const std::string& name, const std::string& content) const {
  std::ofstream(mPath / name, std::ios::binary) << content;
}

std::string TestFolder::read(const std::string& name) const {
  std::ifstream input(mPath / name, std::ios::binary);
  return {std::istreambuf_iterator<char>(input), {}};
}

std::string fromHex(const std::string& hex) {
  std::istringstream pairs(hex);
  std::string bytes;
  for (std::string pair; pairs >> pair;) bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
  return bytes;
}

}  // namespace cronvel::test
