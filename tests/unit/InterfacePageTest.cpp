// docs/interface.md tells hosts what every member does: it has to say what the tests' tables say,
// and nothing that the type library declares may be missing.

#include <regex>
#include <set>

#include "tests/support/Commands.h"
#include "tests/support/Page.h"

namespace cronvel::test {
namespace {

std::string commandRows() {
  std::string rows;
  for (const Command& command : commands()) rows += pageRow(command);
  return rows;
}

TEST(InterfacePage, ItsTableOfTheCommandsIsTheTests) {
  expectTable("docs/interface.md", 6, commandRows());
}

TEST(InterfacePage, EveryDeclaredMemberAndEventIsInIt) {
  const std::string page = readPage("docs/interface.md");
  const std::string idl = readPage("activex/Cronvel.idl");
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
