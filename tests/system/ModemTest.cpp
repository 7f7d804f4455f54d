// A call through the simulated modem, whose lines the `modemlines` library shows to the port.

#include <cstdlib>

#include "tests/support/SystemTest.h"

namespace cronvel::test {
namespace {

class ModemTest : public SystemTest {
 protected:
  ModemTest() { setenv("CRONVEL_TEST_MODEM_LINES", mFolder.path("lines").c_str(), 1); }
  ~ModemTest() override { unsetenv("CRONVEL_TEST_MODEM_LINES"); }
};

TEST_F(ModemTest, ACallFromEndToEnd) {
  const SimulatedTerminal terminal(
      "--modem --modem-delay 200 --terminals 1,2 --cards 5 --days 7 "
      "--modem-lines " +
      mFolder.path("lines") + journalOption());
  useLine(terminal.announced("modem line: "));
  mHasty.TelNum(u"02155501");
  mHasty.DeviceNum(2);
  ASSERT_EQ(mHasty.Dial(), 0);
  EXPECT_EQ(journal("dial").at(0)["number"], "02155501");
  EXPECT_TRUE(mHasty.TestConnection(u""));
  EXPECT_EQ(mHasty.GetDataBuff(file("all.Hex")), Variant(std::int16_t{0}));
  EXPECT_GT(mHasty.NumOfRecs(), 0);

  EXPECT_TRUE(mHasty.Hangup());
  EXPECT_TRUE(waitUntil([&] { return journal("dtr-fell").size() == 1; }));
  EXPECT_TRUE(waitUntil([&] { return journal("hang-up").size() == 1; }));
  EXPECT_FALSE(mHasty.Hangup());
  ASSERT_EQ(mHasty.Dial(), 0);
  EXPECT_TRUE(mHasty.TestConnection(u""));
}

}  // namespace
}  // namespace cronvel::test
