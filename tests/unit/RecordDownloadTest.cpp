#include <filesystem>

#include "tests/support/ControlTest.h"
#include "tests/support/TestFolder.h"

namespace cronvel::test {
namespace {

const Bytes record{0xED, 0x12, 0x34, 0x09, 0x30};
const Bytes trailer{0xE3, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0xE3};

class RecordDownloadTest : public ControlTest {
 protected:
  std::u16string name(const char* file = "rec.Hex") const { return (folder / file).u16string(); }
  Bytes content(const char* file = "rec.Hex") const {
    const std::string text = folder.read(file);
    return {text.begin(), text.end()};
  }
  static Bytes join(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
  }
  std::int16_t byDate(const std::u16string& host) {
    return control->GetDataByDate(host, 1, 3, 7, 31, 3, 7, name());
  }

  const TestFolder folder;
};

constexpr auto addressed =
    "settings 600,m,8,1; open; discard in; discard out; out 01; sleep 50; settings 600,s,8,1; "
    "out 02; sleep 50; ";

TEST_F(RecordDownloadTest, OnTheSerialLine) {
  struct Case {
    std::u16string speed;
    std::string code;
    std::string settings;
  };
  const Case cases[] = {
      {u"9600", "FD", "9600"},   {u"19200", "FE", "19200"}, {u"110", "0A", "110"},
      {u"150", "40", "150"},     {u"300", "75", "300"},     {u"600", "D0", "600"},
      {u"1200", "E8", "1200"},   {u"2400", "F4", "2400"},   {u"4800", "FA", "4800"},
      {u"38400", "00", "38400"}, {u" 9600", "00", " 9600"}};
  for (const Case& c : cases) {
    control->BPS(c.speed);
    if (platform.port->PortOpen()) platform.port->PortOpen(false);
    transcript().take();
    EXPECT_EQ(control->GetData(u"", name()), 1);  // nothing came: not whole
    EXPECT_EQ(transcript().take(), addressed + ("out 0F; sleep 50; discard in; out " + c.code) +
                                       "; sleep 50; discard in; settings " + c.settings + ",s,8,1");
  }
  platform.port->PortOpen(false);
  transcript().take();
  control->BPS(u"19200");
  byDate(u"");
  EXPECT_EQ(transcript().take(),
            addressed + std::string("out 19; sleep 50; out 01; sleep 50; out 03; sleep 50; out 07; "
                                    "sleep 50; out 31; sleep 50; out 03; sleep 50; out 07; "
                                    "sleep 50; discard in; out FE; sleep 50; discard in; "
                                    "settings 19200,s,8,1"));
  platform.port->PortOpen(false);
  transcript().take();
  EXPECT_EQ(control->GetDataBuff(name()), Variant(std::int16_t{1}));
  EXPECT_EQ(transcript().take(),
            addressed + std::string("out 1C; sleep 50; discard in; settings 4800,s,8,1"));
}

TEST_F(RecordDownloadTest, OnTheNetworkTheSpeedCodesAreFixed) {
  control->BPS(u"300");
  platform.time.after(60, [this] { platform.sockets->connectIn(0); });  // no limit to that wait
  EXPECT_EQ(control->GetData(u"any", name()), 1);
  EXPECT_EQ(transcript().take(),
            "listen; close 0; accept 7; send 01; sleep 50; send 02; sleep 50; send 0F; sleep 50; "
            "send FD; sleep 50; close 0");
  byDate(u"clock");
  EXPECT_EQ(transcript().take(),
            "connect clock; send 01; sleep 50; send 02; sleep 50; send 19; sleep 50; send 01; "
            "sleep 50; send 03; sleep 50; send 07; sleep 50; send 31; sleep 50; send 03; sleep 50; "
            "send 07; sleep 50; send FE; sleep 50; close 0");
}

TEST_F(RecordDownloadTest, AWholeStreamIsOnDiskAndChecked) {
  monitoringOn();
  platform.terminal.replyAfter(4, 0.1, record);
  platform.terminal.replyAfter(4, 5.0, trailer);  // 4.9 s of silence in the middle
  EXPECT_EQ(control->GetData(u"", name()), 0);
  EXPECT_EQ(content(), join(record, trailer));
  EXPECT_EQ(control->NumOfRecs(), 1);
  EXPECT_TRUE(control->MonitoringON());
  EXPECT_TRUE(events.monitoring.empty());
  EXPECT_EQ(platform.notes.back(), "5 s of silence: the stream has ended after 17 bytes");
}

TEST_F(RecordDownloadTest, FiveSecondsOfSilenceEndIt) {
  platform.terminal.replyAfter(4, 0.1, record);
  platform.terminal.replyAfter(4, 5.2, trailer);
  EXPECT_EQ(control->GetData(u"", name()), 1);
  EXPECT_EQ(content(), record);
  platform.time.run(1);
  platform.terminal.startAnew();
  platform.terminal.replyAfter(4, 5.1, record);  // the wait before the first byte counts too
  EXPECT_EQ(control->GetData(u"", name()), 1);
  EXPECT_EQ(content(), Bytes{});
}

TEST_F(RecordDownloadTest, OnlyGetDataTestsTheCount) {
  const Bytes wrongCount{0xE3, 0, 0, 0, 0, 1, 0, 0, 99, 0, 0, 0xE3};
  for (const std::size_t bytes : {4U, 7U, 17U})
    platform.terminal.replyAfter(bytes, 0.1, wrongCount);
  EXPECT_EQ(control->GetData(u"", name()), 1);
  EXPECT_EQ(control->GetDataBuff(name()), Variant(std::int16_t{0}));
  EXPECT_EQ(byDate(u""), 0);
}

TEST_F(RecordDownloadTest, NetworkBlocksAreAllTakenInOrder) {
  // Blocks that come while another is being written, in the turns that the host gets per byte.
  for (const bool byDates : {false, true}) {
    platform.terminal.startAnew();
    events.arrivals.clear();
    Bytes expected{0xED};
    platform.terminal.replyAfter(byDates ? 10 : 4, 0.09, expected);
    for (std::uint8_t i = 0; i < 50; ++i) {
      const Bytes block(static_cast<std::size_t>(3 + i % 5), i);
      expected = join(expected, block);
      platform.terminal.replyAfter(byDates ? 10 : 4, 0.1 + 0.0001 * i, block);
    }
    platform.time.after(0.5, [this] { platform.sockets->connectIn(0); });
    platform.time.stepPerRead = 30;
    const std::int16_t result = byDates ? byDate(u"clock") : control->GetData(u"any", name());
    platform.time.stepPerRead = 0;
    EXPECT_EQ(result, 1);
    EXPECT_EQ(content(), expected);
    EXPECT_EQ(events.arrivals.empty(), !byDates);  // a direct reader's data is no event
  }
}

TEST_F(RecordDownloadTest, TheNextCommandGetsItsReplyAfterAFailedDownload) {
  std::filesystem::create_directory(folder / "rec.Hex");
  EXPECT_EQ(errorOf([&] { byDate(u"clock"); }), 75);
  platform.terminal.startAnew();
  platform.terminal.replyAfter(4, 0.1, {24});
  EXPECT_TRUE(control->ResetMem(u"clock"));
}

TEST_F(RecordDownloadTest, NothingIsTouchedWithoutACarrierOrAConnection) {
  folder.write("rec.Hex", "old");
  control->DialupConnection(true);
  EXPECT_EQ(control->GetData(u"", name()), 0);
  EXPECT_EQ(control->GetDataBuff(name()), Variant());
  EXPECT_EQ(byDate(u"clock"), 0);
  EXPECT_EQ(content(), (Bytes{'o', 'l', 'd'}));
  control->DialupConnection(false);
  monitoringOn();
  platform.time.after(3, [this] { control->WinSockClose(0); });  // the host gives up
  EXPECT_EQ(control->GetData(u"any", name()), 0);
  EXPECT_EQ(content(), (Bytes{'o', 'l', 'd'}));
  EXPECT_TRUE(control->MonitoringON());
}

TEST_F(RecordDownloadTest, BehindAModemTheSettingsStay) {
  control->DialupConnection(true);
  platform.port->carrier = true;
  platform.port->PortOpen(true);
  transcript().take();
  EXPECT_EQ(control->GetData(u"", name()), 1);
  EXPECT_EQ(transcript().take(),
            "discard in; discard out; out 01; sleep 50; out 02; sleep 50; out 0F; sleep 50; "
            "discard in; out FD; sleep 50; discard in");
}

TEST_F(RecordDownloadTest, AnOlderFileOfTheCheckNameGoesFirst) {
  folder.write("rec.Hex", std::string(1000, 'x'));
  platform.terminal.replyAfter(4, 0.1, record);
  control->GetData(u"", name());
  EXPECT_EQ(content(), record);
}

TEST_F(RecordDownloadTest, WithAnotherExtensionTheCheckFindsNoFile) {
  folder.write("rec.Hex", "old");
  folder.write("rec.bin", std::string(8, 'x'));
  platform.terminal.replyAfter(4, 0.1, record);
  EXPECT_EQ(errorOf([&] { control->GetData(u"", name("rec.bin")); }), 53);
  EXPECT_EQ(content("rec.bin"), join(record, {'x', 'x', 'x'}));  // written from its start
  EXPECT_FALSE(folder.has("rec.Hex"));
}

TEST_F(RecordDownloadTest, FileErrorsComeBeforeTheTerminalIsAsked) {
  EXPECT_EQ(errorOf([&] { control->GetData(u"", name("missing/rec.Hex")); }), 76);
  EXPECT_EQ(transcript().take(), "");
  EXPECT_EQ(errorOf([&] { control->GetData(u"", u""); }), 52);
  EXPECT_EQ(errorOf([&] { control->GetDataByDate(u"", 1, 1, 160, 1, 1, 7, name()); }), 6);
  EXPECT_EQ(transcript().take(), addressed + std::string("out 19; sleep 50; out 01; sleep 50; "
                                                         "out 01; sleep 50"));
}

TEST_F(RecordDownloadTest, ASpeedThatTheLineCannotDoIsThePortsError) {
  control->BPS(u"fast");
  transcript().failAt("settings fast,s,8,1", ErrorNumber::invalidPropertyValue);
  EXPECT_EQ(errorOf([&] { control->GetData(u"", name()); }), 380);
}

}  // namespace
}  // namespace cronvel::test
