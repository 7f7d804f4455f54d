#include <filesystem>

#include "host/PropertyBagFile.h"
#include "tests/support/ControlTest.h"
#include "tests/support/TestFolder.h"

namespace cronvel::test {
namespace {

using CronvelTest = ControlTest;

/// Writes down what is written to it, with what is left out marked.
class ListingBag : public PropertyBag {
 public:
  Variant ReadProperty(std::string_view key, const Variant& defaultValue) override {
    keys += std::string(key) + " ";
    return defaultValue;
  }
  void WriteProperty(std::string_view key, const Variant& value,
                     const Variant& defaultValue) override {
    keys += std::string(key) + (value == defaultValue ? " " : "! ");
  }
  std::string keys;
};

constexpr auto allKeys =
    "Enabled CommPort ReaderOn MonitoringON IdLen DialupConnection TelNum BPS DeviceNum NumOfRecs "
    "DamagedRecs ";

TEST_F(CronvelTest, ANewInstanceHasTheDefaultsAndItsPortIsSetUp) {
  control->DeviceNum(9);
  control->InitProperties();
  EXPECT_EQ(control->DeviceNum(), 1);
  EXPECT_EQ(control->IdLen(), 4);
  EXPECT_EQ(control->TelNum(), u"0");
  EXPECT_EQ(control->BPS(), u"9600");
  EXPECT_EQ(control->WinSockLocalPort(), 8085);
  EXPECT_EQ(control->WinSockRemoteHost(), u"10.0.0.1");
  EXPECT_TRUE(control->Enabled());
  const SerialPortSetup& setup = platform.port->setup;
  EXPECT_EQ(setup.InputMode, 1);
  EXPECT_EQ(setup.RThreshold, 1);
  EXPECT_TRUE(setup.DTREnable && setup.RTSEnable);
  EXPECT_FALSE(setup.NullDiscard || setup.EOFEnable);
}

TEST_F(CronvelTest, PersistsElevenKeysInOrderAndLeavesDefaultsOut) {
  ListingBag bag;
  control->WriteProperties(bag);
  EXPECT_EQ(bag.keys, allKeys);
  bag.keys.clear();
  control->ReadProperties(bag);
  EXPECT_EQ(bag.keys, allKeys);
  control->TelNum(u"021");
  control->CommPort(3);
  bag.keys.clear();
  control->WriteProperties(bag);
  EXPECT_EQ(bag.keys,
            "Enabled CommPort! ReaderOn MonitoringON IdLen DialupConnection TelNum! BPS DeviceNum "
            "NumOfRecs DamagedRecs ");
}

TEST_F(CronvelTest, SettingsSurviveATextFile) {
  const TestFolder folder;
  const std::filesystem::path path = folder / "settings.txt";
  control->CommPort(7);
  control->IdLen(8);
  control->DialupConnection(true);
  control->TelNum(u"0\"2\\1\n9 پ");
  PropertyBagFile written;
  control->WriteProperties(written);
  written.save(path);
  control->InitProperties();
  PropertyBagFile read = PropertyBagFile::load(path);
  control->ReadProperties(read);
  EXPECT_EQ(control->CommPort(), 7);
  EXPECT_EQ(control->IdLen(), 8);
  EXPECT_TRUE(control->DialupConnection());
  EXPECT_EQ(control->TelNum(), u"0\"2\\1\n9 پ");

  const std::pair<const char*, int> bad[] = {{"DeviceNum=300\n", 6},    {"IdLen=four\n", 13},
                                             {"Enabled=perhaps\n", 13}, {"no equals sign\n", 13},
                                             {"TelNum=\"open\n", 13},   {"NumOfRecs=9e9\n", 6}};
  for (const auto& [text, number] : bad) {
    folder.write("settings.txt", std::string("# a comment\n\n") + text);
    EXPECT_EQ(errorOf([&] {
                PropertyBagFile bag = PropertyBagFile::load(path);
                control->ReadProperties(bag);
              }),
              number)
        << text;
  }
  std::filesystem::remove(path);
  EXPECT_EQ(errorOf([&] { PropertyBagFile::load(path); }), 53);
}

TEST_F(CronvelTest, SettersReportTheirKeyAndOddIdLenIsIgnored) {
  control->IdLen(7);
  EXPECT_EQ(control->IdLen(), 4);
  control->IdLen(8);
  control->BPS(u"19200");
  control->NumOfRecs(5);
  control->WinSockLocalPort(4000);
  control->Enabled(false);
  EXPECT_EQ(container.changed,
            (std::vector<std::string>{"IdLen", "BPS", "NumOfRecs", "WinSockLocalPort", "Enabled"}));
}

TEST_F(CronvelTest, DesignModeRefusesWhatTouchesTheDevice) {
  container.userMode = false;
  EXPECT_EQ(errorOf([&] { control->BPS(u"600"); }), 387);
  EXPECT_EQ(errorOf([&] { control->WinSockProtocol(1); }), 387);
  EXPECT_EQ(errorOf([&] { control->WinSockLocalPort(1); }), 387);
  EXPECT_EQ(errorOf([&] { control->WinSockRemotePort(1); }), 387);
  EXPECT_EQ(errorOf([&] { control->WinSockRemoteHost(u"x"); }), 387);
  EXPECT_EQ(errorOf([&] { control->ReaderOn(true); }), 387);
  EXPECT_EQ(errorOf([&] { control->MonitoringON(true); }), 387);
  EXPECT_EQ(control->BPS(), u"9600");
  EXPECT_FALSE(control->MonitoringON());
  control->DeviceNum(3);
  EXPECT_EQ(container.changed, std::vector<std::string>{"DeviceNum"});
  EXPECT_EQ(transcript().take(), "");
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

TEST_F(CronvelTest, SwitchesGoOutWithoutAReply) {
  control->ReaderOn(true);
  EXPECT_TRUE(control->ReaderOn());
  EXPECT_EQ(transcript().take(),
            "settings 600,m,8,1; open; discard in; out 01; sleep 50; settings 600,s,8,1; out 02; "
            "sleep 50; out 11; sleep 50; out 54");
  control->MonitoringON(true);
  EXPECT_EQ(transcript().take(),
            "settings 600,m,8,1; discard in; out 01; sleep 50; settings 600,n,8,1; out 02; "
            "sleep 50; out 17; sleep 50; out 54");
  EXPECT_TRUE(control->MonitoringON());
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
  ASSERT_EQ(events.monitoring.size(), 1U);
  EXPECT_EQ(events.monitoring[0].bytes, (Bytes{1, 2}));
  EXPECT_EQ(events.monitoring[0].length, 2);
  platform.port->raise(comEvReceive);  // another event took the bytes already
  EXPECT_EQ(events.monitoring.size(), 1U);
}

TEST(SerialLinkTest, TheTimeOutComesWithItsLastTick) {
  FakePlatform platform;
  ControlState state;
  RecordingContainer container;
  RecordingEvents events;
  Host host{container, events, {}};
  SerialLink link(platform, host, state);
  link.startTimeOut(2);
  platform.time.run(119.9);
  EXPECT_FALSE(link.timedOut());
  platform.time.run(0.2);
  EXPECT_TRUE(link.timedOut());
  link.startTimeOut(1);
  EXPECT_FALSE(link.timedOut());
}

TEST(CronvelCreation, AClockThatStandsStillFailsTheCalibration) {
  FakePlatform platform;
  RecordingContainer container;
  RecordingEvents events;
  try {
    Cronvel control(platform, container, events);
    FAIL();
  } catch (const RunTimeError& error) {
    EXPECT_EQ(error.number(), ErrorNumber::divisionByZero);
  }
}

}  // namespace
}  // namespace cronvel::test
