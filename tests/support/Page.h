#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace cronvel::test {

inline std::string readPage(const std::string& name) {
  std::ifstream file(CRONVEL_SOURCE "/" + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The rows of the page's first table of so many columns are these, or become them with
/// CRONVEL_WRITE_PAGE=1.
inline void expectTable(const std::string& name, int columns, const std::string& rows) {
  std::string rule = "|";
  while (columns-- > 0) rule += "---|";
  std::string page = readPage(name);
  const std::size_t start = page.find(rule + "\n") + rule.size() + 1;
  const std::size_t length = page.find("\n\n", start) + 1 - start;
  if (std::getenv("CRONVEL_WRITE_PAGE") == nullptr) {
    EXPECT_EQ(page.substr(start, length), rows) << "CRONVEL_WRITE_PAGE=1 writes " << name;
  } else {
    page.replace(start, length, rows);
    std::ofstream(CRONVEL_SOURCE "/" + name, std::ios::binary) << page;
  }
}

}  // namespace cronvel::test
