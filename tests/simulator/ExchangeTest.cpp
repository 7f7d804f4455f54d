#include <gtest/gtest.h>

#include <sstream>

#include "TestBench.h"
#include "simulator/memory/Workplace.h"

namespace cronvel::simulator {

using namespace std::string_literals;

class Commands : public testing::Test {
 protected:
  Commands() {
    mBench.one.cardCapacity(3);
    replyTo("022A0001");
    replyTo("022A0002");
  }
  std::string replyTo(const std::string& body) {
    mBench.send("01" + body);
    return mBench.after(1990);
  }
  Bench mBench{{}, smallMemory()};
};

TEST_F(Commands, areRefusedWithoutEffect) {
  const auto state = [this] { return mBench.one.stateText().substr(14); };  // behind the time
  const std::string before = state();
  std::istringstream bodies(
      "020A075A23 020A000024 020A600000 020B03061315 020B03060800 021D32032209 020D1332 021158 "
      "02131A 021758 021B46 021E5446545454545458 022008 022158 022846 0229A001 022A001A "
      "022BAAC345AA00000108 022BAA1234AA00000047 022B123456AA00000046 022BAA00030004AA00000007");
  for (std::string body; bodies >> body;) {
    EXPECT_EQ(replyTo(body), "15") << body;
    EXPECT_EQ(state(), before) << body;
  }
}

TEST_F(Commands, changeTheState) {
  const std::tuple<const char*, const char*, Json> cases[] = {
      {"020C1330", "code10", "1@"},     {"022154", "access", false},
      {"02290009", "cards", 2},  // was not there
      {"022A0002", "cards", 2},  // is there already
      {"022BAAAA00000000", "cards", 2}, {"022BAA1234AA00000046", "cards", 3},
      {"022A1234", "cards", 3},  // is full, but has this card
      {"020B07071231", "weekday", 7},   {"020A595923", "date", "01/01/08"},  // by now
      {"021009", "weekday", 1}};
  for (const auto& [body, field, value] : cases) {
    EXPECT_EQ(replyTo(body), "18") << body;
    EXPECT_EQ(mBench.one.stateFields()[field], value) << body;
  }
  EXPECT_EQ(replyTo("022A0008"), "15") << "is full";
}

TEST(Line, aByteIsJudgedByHowItCame) {
  const LineSettings mark{600, Parity::mark}, space{600, Parity::space};
  const std::tuple<LineSettings, LineSettings, bool> cases[] = {
      {mark, space, true},
      {mark, {600, Parity::none}, true},
      {space, space, false},
      {mark, mark, false},
      {mark, {600, Parity::odd}, false},
      {{9600, Parity::mark}, space, false},
      {mark, {9600, Parity::space}, false}};
  for (const auto& [address, body, understood] : cases) {
    SCOPED_TRACE(&understood - &std::get<2>(cases[0]));
    Bench bench;
    bench.wire.line = address;
    bench.send("01");
    bench.wire.line = body;
    bench.send("021005");
    EXPECT_EQ(bench.after(1000), understood ? "18" : "");
    EXPECT_EQ(bench.one.stateFields()["keypad"], understood ? 5 : 0);
  }
}

TEST(Line, whatIsAnsweredAndWhatNot) {
  Bench bench;
  for (const char* const body : {"02630212", "03120212"}) {
    bench.command("01", body);
    EXPECT_EQ(bench.after(1000), "") << "not understood until the next address";
  }
  bench.command("03", "0212");
  EXPECT_EQ(bench.after(1000), "") << "nobody is there";
  bench.command("01", "020C13");
  bench.command("02", "02");
  EXPECT_EQ(bench.one.stateFields()["code10"], "1") << "ended by the next address,";
  EXPECT_EQ(bench.after(1000), "") << "which takes the line from the answer";
}

TEST(Network, anAddressStandsBeforeEachCommand) {
  Bench bench;
  bench.send("0502100102021002");
  EXPECT_EQ(bench.after(1000), "18");
  EXPECT_EQ(bench.two.stateFields()["keypad"], 2);
  bench.send("010263010212");
  EXPECT_EQ(bench.after(1000), "") << "nothing is understood until the connection ends";
}

bool streams(const std::string& body, const LineSettings& line) {
  Bench bench({}, smallMemory());
  bench.command("01", body);
  bench.wire.line = line;
  const std::string received = bench.after(10'000);
  EXPECT_TRUE(received.empty() || received == smallStream);
  return !received.empty();
}

TEST(Stream, theLineMustBeAtTheSpeedThatTheCodeNames) {
  const std::pair<const char*, int> speeds[] = {{"0A", 110},  {"40", 150},  {"75", 300},
                                                {"D0", 600},  {"E8", 1200}, {"F4", 2400},
                                                {"FA", 4800}, {"FD", 9600}, {"FE", 19200}};
  for (const auto& [code, speed] : speeds) {
    EXPECT_TRUE(streams("020F"s + code, {speed, Parity::space})) << speed;
    EXPECT_FALSE(streams("020F"s + code, {speed, Parity::none})) << speed;
    EXPECT_EQ(streams("021C", {speed, Parity::space}), speed == 4800) << speed;
  }
}

TEST(Stream, keepsThePaceOfTheLineAndEndsWhenItIsSwitchedAway) {
  Bench bench({}, RecordMemory(makeDays({}), 4));
  bench.command("01", "020FFD");
  bench.wire.line = {9600, Parity::space};
  const std::size_t digits = bench.after(70 + 2000).size();
  EXPECT_NEAR(static_cast<double>(digits) / 2, 2 * 9600 / 11.0, 20);
  bench.wire.line = {600, Parity::mark};
  EXPECT_EQ(bench.after(5000), "");
  EXPECT_EQ(bench.last["stream-end"]["complete"], false);
}

TEST(Stream, ofARangeOfDaysAndOfAnEmptyMemory) {
  Bench bench({}, smallMemory(65533));
  bench.send("010219010108310108FD");
  EXPECT_EQ(bench.after(1000), "BB01010812340800E300010200010000010000E3");
  bench.send("01021B54");
  EXPECT_EQ(bench.after(1000), "18");
  bench.send("01021C");
  EXPECT_EQ(bench.after(1000), "E300010000010000000000E3")
      << "three records from 65533 on end at position 1";
}

TEST(Fault, changesWhatComesAndWhen) {
  const std::string reply = "01021009", group = "01021301", records = "01020FFD";
  const auto part = [](std::size_t from, std::size_t to) {
    return smallStream.substr(2 * from, 2 * (to - from));
  };
  using Received = std::vector<std::pair<double, std::string>>;  // in each span of time
  const std::tuple<Faults, std::string, Received> cases[] = {
      {{}, reply, {{119, ""}, {1, "18"}}},
      {{}, group, {{1149, ""}, {1, "18"}}},
      {{{"--silent", {}}}, reply, {{10'000, ""}}},
      {{{"--delay", 5}}, reply, {{4, ""}, {1, "18"}}},
      {{{"--reply", Bytes{7}}}, reply, {{120, "07"}}},
      {{{"--noise", Bytes{8, 9}}}, reply, {{120, "080918"}}},
      {{{"--pieces", {}}, {"--reply", Bytes{7, 8}}}, reply, {{120, "07"}, {999, ""}, {1, "08"}}},
      {{{"--pause-at", 8}, {"--pause", 3000}, {"--cut", 20}},
       records,
       {{3000, part(0, 8)}, {500, part(8, 20)}}},
      {{{"--trailer", "count"s}}, records, {{200, part(0, 28) + "01" + part(29, 33)}}}};
  for (const auto& [faults, command, received] : cases) {
    SCOPED_TRACE(&received - &std::get<2>(cases[0]));
    Bench bench(faults, smallMemory());
    bench.send(command);
    for (const auto& [time, bytes] : received) EXPECT_EQ(bench.after(time), bytes);
    EXPECT_EQ(bench.one.stateFields()["keypad"], command == reply ? 9 : 0) << "it acts";
  }
}

TEST(Records, followFromTheSeedOfAWorkplaceAndHaveALimit) {
  const auto bytes = [](const Workplace& workplace) {
    return RecordMemory(makeDays(workplace), 4).stream().bytes;
  };
  EXPECT_TRUE(bytes({}) == bytes({}) && bytes({}) != bytes({.seed = 2}));
  EXPECT_THROW(bytes({.cards = 1000, .days = 60}), std::invalid_argument);
}

TEST(Records, aLoadedFileIsStreamedAsItIs) {
  const Bytes raw{0xE3, 0x12, 0xFF, 0x00, 0xBB};
  EXPECT_EQ(RecordMemory::fromBytes(raw).stream(DateRange{}).bytes, raw);
}

}  // namespace cronvel::simulator
