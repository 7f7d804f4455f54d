#include "tests/support/ControlTest.h"

namespace cronvel::test {
namespace {

const Bytes record{0xED, 0x12, 0x34, 0x09, 0x30};

class RecordDownloadTest : public ControlTest {
 protected:
  std::u16string name(const char* file = "rec.Hex") const { return (folder / file).u16string(); }
  Bytes content(const char* file = "rec.Hex") const {
    const std::string text = folder.read(file);
    return {text.begin(), text.end()};
  }
  std::int16_t byDate(const std::u16string& host) {
    return control->GetDataByDate(host, 1, 3, 7, 31, 3, 7, name());
  }

  const TestFolder folder;
};

TEST_F(RecordDownloadTest, EverySpeedHasItsCode) {
  const std::pair<std::u16string, std::string> cases[] = {
      {u"9600", "FD"}, {u"19200", "FE"}, {u"110", "0A"},  {u"150", "40"},
      {u"300", "75"},  {u"600", "D0"},   {u"1200", "E8"}, {u"2400", "F4"},
      {u"4800", "FA"}, {u"38400", "00"}, {u" 9600", "00"}};
  for (const auto& [speed, code] : cases) {
    control->BPS(speed);
    for (const bool byDates : {false, true}) {
      transcript().take();
      EXPECT_EQ(byDates ? byDate(u"") : control->GetData(u"", name()), 1);  // nothing came
      EXPECT_TRUE(transcript().take().ends_with("discard in; out " + code +
                                                "; sleep 50; discard in; settings " +
                                                toUtf8(speed) + ",s,8,1"));
      EXPECT_EQ(control->notes().last(),
                "nothing came from terminal 1 within 5 s after the request");
    }
  }
}

TEST_F(RecordDownloadTest, WhatCameBeforeIsNotInTheFile) {
  platform.port->feed({7});
  platform.terminal.replyAfter(3, 0.01, {8});  // before the last byte of the request
  platform.terminal.replyAfter(4, 0.04, {9});  // before its pause ends
  platform.terminal.replyAfter(4, 0.1, {1});
  control->GetData(u"", name());
  EXPECT_EQ(content(), Bytes{1});
  EXPECT_EQ(control->notes().last(), "5 s of silence: the stream has ended after 1 bytes");
  platform.terminal.startAnew();
  platform.terminal.replyAfter(8, 0.01, {8});
  platform.terminal.replyAfter(10, 0.01, {1});
  byDate(u"clock");
  EXPECT_EQ(content(), Bytes{1});  // there the answer may come at once
}

TEST_F(RecordDownloadTest, TheHostGetsATurnForEveryByteOnceTheBlockIsInTheFile) {
  std::vector<Bytes> seen;
  platform.time.arriveAfter(0.2, [&] {
    platform.port->feed(record);
    seen.clear();
  });
  platform.time.eachPass([&] { seen.push_back(content()); });
  control->GetDataBuff(name());
  EXPECT_EQ(seen.at(1), record);  // in the pass after the one that it came in
  const auto turnsFor = [&](std::size_t bytes) {
    platform.terminal.startAnew();
    platform.terminal.replyAfter(3, 0.1, Bytes(bytes, 0xED));
    seen.clear();
    control->GetDataBuff(name());
    return seen.size();
  };
  EXPECT_EQ(turnsFor(201) - turnsFor(1), 200U);
}

TEST_F(RecordDownloadTest, ABlockThatCameWhileAHandlerWasSlowIsTaken) {
  platform.terminal.replyAfter(4, 5.1, record);
  platform.time.after(5.15, [this] { platform.time.sleep(300); });
  control->GetData(u"", name());
  EXPECT_EQ(content(), record);
}

/// Blocks that come while another is being written, in the turns that the host gets per byte, and
/// what runs then on other sockets or in a handler.
TEST_F(RecordDownloadTest, ANetworkStreamTakesItsOwnSocketsBytesAndNoOthers) {
  platform.time.eachPass([this] { platform.time.Timer(); });  // a turn takes time
  platform.sockets->load(1);
  for (const bool byDates : {false, true}) {
    platform.terminal.startAnew();
    Bytes expected{0xED};
    platform.terminal.replyAfter(byDates ? 10 : 4, 0.09, expected);
    for (std::uint8_t i = 0; i < 50; ++i) {
      const Bytes block(static_cast<std::size_t>(3 + i % 5), i);
      expected = expected + block;
      platform.terminal.replyAfter(byDates ? 10 : 4, 0.1 + 0.0001 * i, block);
      platform.time.after(0.6 + 0.01 * i, [this] { platform.sockets->feed(1, {99, 99}); });
    }
    for (const double when : {0.85, 1.0})
      platform.time.after(when, [this] { control->SetMonitoringOnOff(u"", true); });
    platform.time.after(0.5, [this] { platform.sockets->connectIn(0); });
    platform.time.stepPerRead = 30;
    EXPECT_EQ(byDates ? byDate(u"clock") : control->GetData(u"any", name()), 1);
    platform.time.stepPerRead = 0;
    EXPECT_EQ(content(), expected);
    platform.time.run(1);
  }
}

TEST_F(RecordDownloadTest, FileErrorsComeBeforeTheTerminalIsAsked) {
  EXPECT_EQ(errorOf([&] { control->GetData(u"", name("missing/rec.Hex")); }), 76);
  EXPECT_EQ(transcript().take(), "");
  EXPECT_EQ(errorOf([&] { control->GetData(u"", u""); }), 52);
  std::filesystem::create_directory(folder / "rec.Hex");
  EXPECT_EQ(errorOf([&] { byDate(u"clock"); }), 75);
  platform.terminal.startAnew();
  platform.terminal.replyAfter(4, 0.1, {24});
  EXPECT_TRUE(control->ResetMem(u"clock"));  // the next command gets its reply
}

TEST_F(RecordDownloadTest, WithAnotherExtensionTheCheckFindsNoFile) {
  folder.write("rec.Hex", "old");
  folder.write("rec.bin", std::string(8, 'x'));
  platform.terminal.replyAfter(4, 0.1, record);
  EXPECT_EQ(errorOf([&] { control->GetData(u"", name("rec.bin")); }), 53);
  EXPECT_EQ(content("rec.bin"), record + Bytes(3, 'x'));  // written from its start
  EXPECT_FALSE(folder.has("rec.Hex"));
}

TEST_F(RecordDownloadTest, ASpeedThatTheLineCannotDoIsThePortsError) {
  control->BPS(u"fast");
  transcript().failAt("settings fast,s,8,1", ErrorNumber::invalidPropertyValue);
  EXPECT_EQ(errorOf([&] { control->GetData(u"", name()); }), 380);
}

}  // namespace
}  // namespace cronvel::test
