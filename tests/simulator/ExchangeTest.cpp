#include <gtest/gtest.h>

#include "TestBench.h"

namespace cronvel::simulator {
namespace {

using Parity = LineSettings::Parity;

TEST(Exchange, eachCommandIsAnsweredAndChangesTheState) {
  struct Case {
    const char* name;
    Bytes body;
    int reply;
    const char* field;
    Json value;
  };
  const std::vector<Case> cases{
      {"SetTime", {2, 10, 0x07, 0x59, 0x23}, 24, "time", "23:59:07"},
      {"SetTime, bad digit", {2, 10, 0x07, 0x5A, 0x23}, 21, "time", "00:00:00"},
      {"SetTime, 24 h", {2, 10, 0x00, 0x00, 0x24}, 21, "time", "00:00:00"},
      {"SetTime, 60 s", {2, 10, 0x60, 0x00, 0x00}, 21, "time", "00:00:00"},
      {"SetDate", {2, 11, 3, 0x06, 0x08, 0x15}, 24, "date", "15/08/06"},
      {"SetDate, month 13", {2, 11, 3, 0x06, 0x13, 0x15}, 21, "date", "01/01/00"},
      {"SetDate, day 0", {2, 11, 3, 0x06, 0x08, 0x00}, 21, "weekday", 0},
      {"SetKeyboard", {2, 16, 7}, 24, "keypad", 7},
      {"TestConnection", {2, 18}, 24, "keypad", 0},
      {"ResetMem", {2, 27, 'T'}, 24, "records", 0},
      {"ResetMem, not confirmed", {2, 27, 'F'}, 21, "records", 3},
      {"SetDayLight", {2, 29, 0x21, 0x03, 0x22, 0x09}, 24, "daylight", "21/03-22/09"},
      {"SetDayLight, day 32", {2, 29, 0x32, 0x03, 0x22, 0x09}, 21, "daylight", "none"},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    Bench bench({}, smallMemory());
    bench.command(0x01, one.body);
    bench.scheduler.advance(70);  // 120 ms after the last byte
    EXPECT_EQ(bench.pc.received, Bytes{static_cast<std::uint8_t>(one.reply)});
    EXPECT_EQ(bench.one.stateFields()[one.field], one.value);
  }
}

TEST(Exchange, onlyTheAddressedTerminalActsAndOnlyTheAddressHasTheMark) {
  Bench bench;
  EXPECT_EQ(bench.replyTo(0x02, {2, 16, 5}), Bytes{24});
  EXPECT_EQ(bench.one.stateFields()["keypad"], 0);
  EXPECT_EQ(bench.two.stateFields()["keypad"], 5);

  std::vector<std::string> parities;
  for (const Event& event : bench.events) {
    if (event.name == "byte") parities.push_back(event.fields["parity"]);
  }
  EXPECT_EQ(parities, (std::vector<std::string>{"mark", "space", "space", "space"}));
  EXPECT_EQ(bench.last("command").terminal, 2);
  EXPECT_EQ(bench.last("command").fields["body_parity"], "space");
}

TEST(Exchange, aByteIsJudgedByHowItCame) {
  struct Case {
    const char* name;
    std::int32_t addressSpeed;
    Parity addressParity;
    std::int32_t bodySpeed;
    Parity bodyParity;
    std::size_t replies;
  };
  const std::vector<Case> cases{
      {"as it should be", 600, Parity::mark, 600, Parity::space, 1},
      {"body without parity", 600, Parity::mark, 600, Parity::none, 1},
      {"address without mark", 600, Parity::space, 600, Parity::space, 0},
      {"body with mark", 600, Parity::mark, 600, Parity::mark, 0},
      {"body with odd parity", 600, Parity::mark, 600, Parity::odd, 0},
      {"address too fast", 9600, Parity::mark, 600, Parity::space, 0},
      {"body too fast", 600, Parity::mark, 9600, Parity::space, 0},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    Bench bench;
    bench.pc.set(one.addressSpeed, one.addressParity);
    bench.sendPaced({0x01});
    bench.pc.set(one.bodySpeed, one.bodyParity);
    bench.sendPaced({2, 18});
    bench.scheduler.advance(1000);
    EXPECT_EQ(bench.pc.received.size(), one.replies);
  }
}

TEST(Exchange, staysSilentForOthersAndForWhatItDoesNotKnow) {
  Bench bench;
  EXPECT_TRUE(bench.replyTo(0x03, {2, 18}).empty());
  EXPECT_EQ(bench.last("address").text, "address 03 (mark): nobody here");
  EXPECT_TRUE(bench.replyTo(0x01, {2, 99, 2, 18}).empty());
  EXPECT_TRUE(bench.replyTo(0x01, {3, 18, 2, 18}).empty());
  EXPECT_EQ(bench.replyTo(0x01, {2, 18}), Bytes{24}) << "the next address starts anew";
}

TEST(Exchange, anotherAddressTakesTheLineFromAPendingAnswer) {
  Bench bench;
  bench.command(0x01, {2, 18});
  bench.pc.set(600, Parity::mark);
  bench.sendPaced({0x02});
  bench.scheduler.advance(1000);
  EXPECT_TRUE(bench.pc.received.empty());
}

TEST(Exchange, theClockTicksOverMidnight) {
  Bench bench;
  bench.replyTo(0x01, {2, 11, 7, 0x07, 0x12, 0x31});
  bench.replyTo(0x01, {2, 10, 0x59, 0x59, 0x23});
  bench.scheduler.advance(2000);
  const Json state = bench.one.stateFields();
  EXPECT_EQ(state["date"], "01/01/08");
  EXPECT_EQ(state["weekday"], 1);
  EXPECT_EQ(state["time"].get<std::string>().substr(0, 7), "00:00:0");
}

TEST(Exchange, faultsOfReplies) {
  struct Case {
    const char* name;
    Faults faults;
    Bytes at500Ms;
    Bytes at2s;
  };
  std::vector<Case> cases{{"silent", {}, {}, {}},
                          {"late", {}, {}, {24}},
                          {"wrong byte", {}, {7}, {7}},
                          {"noise", {}, {0xFF, 0, 24}, {0xFF, 0, 24}},
                          {"pieces", {}, {24}, {24, 1, 2}}};
  cases[0].faults.silent = true;
  cases[1].faults.delay = 1200;
  cases[2].faults.reply = {7};
  cases[3].faults.noise = {0xFF, 0};
  cases[4].faults.reply = {24, 1, 2};
  cases[4].faults.pieces = true;
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    Bench bench(one.faults);
    bench.command(0x01, {2, 16, 9});
    bench.scheduler.advance(450);
    EXPECT_EQ(bench.pc.received, one.at500Ms);
    bench.scheduler.advance(1500);
    EXPECT_EQ(bench.pc.received, one.at2s);
    EXPECT_EQ(bench.one.stateFields()["keypad"], 9) << "it acts all the same";
  }
}

// --- streams ---

const Bytes allRecords{0xBB, 0x31, 0x12, 0x07, 0x12, 0x34, 0x07, 0x58, 0xA3, 0x00, 0x88,
                       0x16, 0x05, 0xBB, 0x01, 0x01, 0x08, 0x12, 0x34, 0x08, 0x00, 0xE3,
                       0,    0,    0,    0,    3,    0,    0,    3,    0,    0,    0xE3};

TEST(Stream, theLineMustBeAtTheSpeedThatTheCodeNames) {
  struct Case {
    Bytes body;
    std::int32_t speed;
    Parity parity;
    bool streams;
  };
  const std::vector<Case> cases{
      {{2, 15, 0x0A}, 110, Parity::space, true},    {{2, 15, 0x40}, 150, Parity::space, true},
      {{2, 15, 0x75}, 300, Parity::space, true},    {{2, 15, 0xD0}, 600, Parity::space, true},
      {{2, 15, 0xE8}, 1200, Parity::space, true},   {{2, 15, 0xF4}, 2400, Parity::space, true},
      {{2, 15, 0xFA}, 4800, Parity::space, true},   {{2, 15, 0xFD}, 9600, Parity::space, true},
      {{2, 15, 0xFE}, 19200, Parity::space, true},  {{2, 28}, 4800, Parity::space, true},
      {{2, 15, 0xFD}, 600, Parity::space, false},   {{2, 15, 0xFD}, 9600, Parity::none, false},
      {{2, 15, 0x00}, 38400, Parity::space, false}, {{2, 28}, 9600, Parity::space, false},
      {{2, 15, 0xFD}, 0, Parity::none, false},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(::testing::PrintToString(one.body) + " at " + std::to_string(one.speed));
    Bench bench({}, smallMemory());
    bench.command(0x01, one.body);
    bench.pc.set(one.speed, one.parity);
    bench.scheduler.advance(10'000);
    EXPECT_EQ(bench.pc.received, one.streams ? allRecords : Bytes{});
    EXPECT_EQ(bench.last("stream-end").fields["complete"], one.streams);
  }
}

TEST(Stream, keepsThePaceOfTheLine) {
  Workplace workplace;
  Bench bench({}, RecordMemory(makeDays(workplace), workplace.idDigits));
  bench.command(0x01, {2, 15, 0xFD});
  bench.pc.set(9600, Parity::space);
  bench.scheduler.advance(70 + 2000);
  EXPECT_NEAR(static_cast<double>(bench.pc.received.size()), 2 * 9600 / 11.0, 20);
  bench.scheduler.advance(60'000);
  EXPECT_EQ(bench.pc.received, spoil(RecordMemory(makeDays(workplace), 4).stream(), {}));
}

TEST(Stream, endsWhenTheLineIsSwitchedAway) {
  Bench bench({}, smallMemory());
  bench.command(0x01, {2, 15, 0xE8});
  bench.pc.set(1200, Parity::space);
  bench.scheduler.advance(70 + 100);
  const std::size_t before = bench.pc.received.size();
  bench.pc.set(600, Parity::mark);
  bench.scheduler.advance(5000);
  EXPECT_GT(before, 0U);
  EXPECT_EQ(bench.pc.received.size(), before);
  EXPECT_EQ(bench.last("stream-end").fields["complete"], false);
}

TEST(Stream, onlyTheDaysOfTheRange) {
  Bench bench({}, smallMemory(100));
  bench.command(0x01, {2, 25, 0x01, 0x01, 0x08, 0x31, 0x01, 0x08, 0xFD});
  bench.pc.set(9600, Parity::space);
  bench.scheduler.advance(1000);
  EXPECT_EQ(bench.pc.received, (Bytes{0xBB, 0x01, 0x01, 0x08, 0x12, 0x34, 0x08, 0x00, 0xE3, 0,
                                      102,  0,    0,    103,  0,    0,    1,    0,    0,    0xE3}));
  EXPECT_TRUE(bench.replyTo(0x01, {2, 25, 0x1A, 0x01, 0x08, 0x31, 0x01, 0x08, 0xFD}).empty());
}

TEST(Stream, anEmptyMemoryStreamsItsTrailer) {
  Bench bench({}, smallMemory(65533));
  bench.replyTo(0x01, {2, 27, 'T'});
  bench.command(0x01, {2, 28});
  bench.pc.set(4800, Parity::space);
  bench.scheduler.advance(1000);
  EXPECT_EQ(bench.pc.received, (Bytes{0xE3, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0xE3}))
      << "three records from 65533 on end at position 1";
}

TEST(Stream, pausesAndIsCutShort) {
  Faults faults;
  faults.pauseAt = 8;
  faults.pause = 3000;
  faults.cut = 20;
  Bench bench(faults, smallMemory());
  bench.command(0x01, {2, 15, 0xFE});
  bench.pc.set(19200, Parity::space);
  bench.scheduler.advance(2900);
  EXPECT_EQ(bench.pc.received.size(), 8U);
  bench.scheduler.advance(1000);
  EXPECT_EQ(bench.pc.received, Bytes(allRecords.begin(), allRecords.begin() + 20));
}

// --- the network: no ninth bit, and no line to be at a speed ---

class Peer : public Wire {
 public:
  void send(std::span<const std::uint8_t> bytes) override {
    received.insert(received.end(), bytes.begin(), bytes.end());
  }
  std::optional<LineSettings> settings() const override { return std::nullopt; }
  void hangUp() override { hungUp = true; }

  Bytes received;
  bool hungUp = false;
};

TEST(NetworkExchange, theAddressIsTheFirstByteAndTheOneAfterEachCommand) {
  Bench bench({}, smallMemory());
  Peer peer;
  Exchange exchange(peer, {&bench.one}, bench.scheduler, bench.journal);
  const auto send = [&](const Bytes& bytes) {
    for (const std::uint8_t byte : bytes) exchange.receive(byte);
    bench.scheduler.advance(1000);
  };
  send({0x05, 2, 16, 1});
  EXPECT_TRUE(peer.received.empty()) << "a command for another terminal";
  send({0x01, 2, 16, 2});
  EXPECT_EQ(peer.received, Bytes{24});
  send({0x01, 2, 15, 0x00});
  EXPECT_EQ(peer.received.size(), 1 + allRecords.size());
}

TEST(NetworkExchange, dropsTheConnectionOnRequest) {
  Faults faults;
  faults.drop = true;
  Bench bench(faults);
  Peer peer;
  Exchange exchange(peer, {&bench.one}, bench.scheduler, bench.journal);
  for (const std::uint8_t byte : Bytes{0x01, 2, 18}) exchange.receive(byte);
  bench.scheduler.advance(1000);
  EXPECT_TRUE(peer.hungUp);
  EXPECT_TRUE(peer.received.empty());
}

}  // namespace
}  // namespace cronvel::simulator
