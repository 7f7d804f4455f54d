#include <sstream>

#include "platform/system/FineTime.h"
#include "tests/support/Commands.h"
#include "tests/support/ControlTest.h"

namespace cronvel::test {
namespace {

using CronvelTest = ControlTest;

std::string valueOf(const Property& property, Cronvel& control) {
  const std::string value = property.get.run(control, {});
  return value.substr(value.find(' ') + 1);
}
/// What a property has that `call` sets.
std::string valueIn(const Call& call) {
  const std::string& literal = call.arguments[0].literal;
  return literal[0] == '"' ? literal.substr(1, literal.size() - 2) : literal;
}

TEST_F(CronvelTest, EveryPropertyIsKeptAndReportedByItsName) {
  for (const Property& property : properties()) {
    SCOPED_TRACE(property.get.member);
    const std::string first = valueOf(property, *control);
    EXPECT_EQ(first, valueIn(property.restore));
    container.changed.clear();
    std::string meanwhile;
    container.onChange = [&] { meanwhile = valueOf(property, *control); };
    property.put.run(*control, {});
    const std::string other = valueOf(property, *control);
    EXPECT_EQ(other, valueIn(property.put));
    EXPECT_EQ(meanwhile, other);  // the host reads the new value when it is told
    EXPECT_EQ(container.changed, std::vector{property.get.member});
    property.restore.run(*control, {});
    EXPECT_EQ(valueOf(property, *control), first);
    container.onChange = {};
  }
}

TEST_F(CronvelTest, InADesignerWhatTouchesTheDeviceIsRefused) {
  const std::string refused =
      "Set not permitted: this property can only be set while the program runs, not in a designer";
  container.userMode = false;
  for (const Property& property : properties()) {
    SCOPED_TRACE(property.get.member);
    container.changed.clear();
    const std::string first = valueOf(property, *control);
    EXPECT_EQ(messageOf([&] { property.put.run(*control, {}); }),
              property.setInDesignMode ? "" : refused);
    EXPECT_EQ(container.changed.size(), property.setInDesignMode ? 1U : 0U);
    EXPECT_EQ(valueOf(property, *control) == first, !property.setInDesignMode);
  }
  EXPECT_EQ(transcript().take(), "port 7");
}

TEST_F(CronvelTest, ThePersistedOnesSurviveATextFile) {
  const TestFolder folder;
  const auto save = [&] {
    PropertyBagFile bag;
    control->WriteProperties(bag);
    bag.save(folder / "settings.txt");
    return folder.read("settings.txt");
  };
  EXPECT_EQ(save(), "");  // what is a default is left out
  for (const Property& property : properties()) property.put.run(*control, {});
  control->TelNum(u"0\"2\\1\n9\r پ");
  std::istringstream lines(save());
  for (const Property& property : properties())
    if (std::string line; property.persisted) {
      std::getline(lines, line);
      EXPECT_EQ(line.substr(0, line.find('=')), property.get.member);
    }
  PropertyBagFile saved = PropertyBagFile::load(folder / "settings.txt");
  PropertyBagFile nothing;
  control->ReadProperties(nothing);
  for (const Property& property : properties())
    EXPECT_EQ(valueOf(property, *control),
              valueIn(property.persisted ? property.restore : property.put));
  control->ReadProperties(saved);
  EXPECT_EQ(control->TelNum(), u"0\"2\\1\n9\r پ");
  control->TelNum(u"02188۱۲");
  for (const Property& property : properties())
    EXPECT_EQ(valueOf(property, *control), valueIn(property.put));
  control->InitProperties();
  EXPECT_EQ(control->TelNum(), u"0");
  EXPECT_FALSE(control->Enabled());  // as it was
}

TEST_F(CronvelTest, ThePortIsSetUpForBinaryInput) {
  const SerialPortSetup& setup = platform.port->setup;
  EXPECT_EQ(std::tuple(setup.InputMode, setup.InputLen, setup.RThreshold), std::tuple(1, 0, 1));
  EXPECT_EQ(setup.SThreshold + setup.Handshaking, 0);
  EXPECT_TRUE(setup.DTREnable && setup.RTSEnable);
  EXPECT_FALSE(setup.NullDiscard || setup.EOFEnable || setup.Break);
}

TEST_F(CronvelTest, ChangingThePortClosesItAndTheNextCommandOpensTheNewOne) {
  control->MonitoringON(false);
  transcript().take();
  control->CommPort(4);
  EXPECT_EQ(transcript().take(), "close; port 4");
  control->CommPort(5);
  EXPECT_EQ(transcript().take(), "port 5");
  control->MonitoringON(false);
  EXPECT_EQ(transcript().take().substr(0, 25), "settings 600,m,8,1; open;");
}

TEST_F(CronvelTest, MonitoringBytesReachTheHostOnlyWhileItIsOn) {
  platform.port->feed({1, 2});
  platform.time.DoEvents();
  EXPECT_TRUE(events.monitoring.empty());
  EXPECT_EQ(platform.port->InBufferCount(), 2);  // left for a command

  monitoringOn();
  platform.port->raise(comEventRxParity);
  EXPECT_TRUE(events.monitoring.empty());
  platform.port->raise(comEvReceive);
  platform.port->raise(comEvReceive);  // another event took the bytes already
  platform.port->feed({3});
  platform.time.DoEvents();
  EXPECT_EQ(events.monitoring, (std::vector<std::string>{"2: 01 02", "1: 03"}));
}

TEST_F(CronvelTest, AClockThatStandsStillFailsTheCalibration) {
  FakePlatform still;
  EXPECT_EQ(errorOf([&] { Cronvel(still, container, events); }), 11);
}

TEST(FineTime, GoesOnBetweenTheStepsOfAClock) {
  constexpr std::uint64_t step = 156'250, setBack = 36'000'000'000;
  FineTime fine;
  std::uint64_t counter = 400'000'000'000, before = 0;
  for (int look = 0; look < 2000; ++look) {
    counter += look % 2 == 0 ? 37 : 40'000;
    const std::uint64_t clock = counter / step * step - (look < 1000 ? 0 : setBack);
    const std::uint64_t now = fine.at(clock, counter);
    EXPECT_TRUE(now > before || look == 1000) << "at look " << look;
    EXPECT_LT(now - clock, 2 * step);
    before = now;
  }
}

TEST_F(CronvelTest, ItClosesSocket0AtItsEnd) {
  control.reset();
  EXPECT_EQ(transcript().take(), "close 0");
}

}  // namespace
}  // namespace cronvel::test
