// docs/interface.md tells hosts what every member does: it has to say what the tests' tables say,
// and nothing that the type library declares may be missing.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include "tests/support/Commands.h"

namespace cronvel::test {
namespace {

std::string source(const std::string& name) { return std::string(CRONVEL_SOURCE) + "/" + name; }

std::string readWhole(const std::string& name) {
  std::ifstream file(source(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string commandRows() {
  std::string rows;
  for (const Command& command : commands()) rows += pageRow(command);
  return rows;
}

TEST(InterfacePage, ItsTableOfTheCommandsIsTheTests) {
  std::string page = readWhole("docs/interface.md");
  const std::size_t start = page.find("|---|---|---|---|---|---|\n") + 26;
  const std::size_t length = page.find("\n\n", start) + 1 - start;
  if (std::getenv("CRONVEL_WRITE_PAGE") != nullptr) {
    page.replace(start, length, commandRows());
    std::ofstream(source("docs/interface.md"), std::ios::binary) << page;
  } else {
    EXPECT_EQ(page.substr(start, length), commandRows())
        << "Run with CRONVEL_WRITE_PAGE=1 to write the table into docs/interface.md:\n"
        << commandRows();
  }
}

TEST(InterfacePage, EveryDeclaredMemberAndEventIsInIt) {
  const std::string page = readWhole("docs/interface.md");
  const std::string idl = readWhole("activex/Cronvel.idl");
  std::set<std::string> rows;
  for (const Command& command : commands()) rows.insert(command.call.member);
  for (const Property& property : properties()) {
    rows.insert(property.get.member);
    EXPECT_NE(page.find("| `" + property.get.member + "` | " + (property.persisted ? "yes" : "no") +
                        " | " + property.atFirst),
              std::string::npos)
        << property.get.member;
  }
  const std::regex declaration("(HRESULT|void) (\\w+)\\((\\[in, out\\] BSTR\\* sRemoteHost)?");
  std::set<std::string> declared;
  for (std::sregex_iterator i(idl.begin(), idl.end(), declaration), end; i != end; ++i) {
    const std::string name = (*i)[2];
    declared.insert(name);
    EXPECT_NE(page.find("`" + name), std::string::npos) << "docs/interface.md lacks " << name;
    const bool isCommand = (*i)[3].matched && name != "SetMonitoringOffGroup";
    EXPECT_TRUE(!isCommand || rows.contains(name)) << "tests/support/Commands.cpp lacks " << name;
  }
  for (const std::string& name : rows) EXPECT_TRUE(declared.contains(name)) << name;
}

}  // namespace
}  // namespace cronvel::test
