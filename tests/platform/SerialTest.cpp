#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "tests/platform/PlatformTest.h"

namespace cronvel {
namespace {

namespace fs = std::filesystem;
using Parity = LineSettings::Parity;

class SerialTest : public PlatformTest {
 protected:
  SerialTest() {
    platform->mapCommPort(1, line->path());
    port->configure({.InputMode = 1, .RThreshold = 1, .DTREnable = true, .RTSEnable = true});
    port->onComm([this] { ++events; });
    line->onReceive([this](std::span<const std::uint8_t> bytes, const LineSettings&) {
      fromPc.insert(fromPc.end(), bytes.begin(), bytes.end());
    });
  }

  void send(const Bytes& bytes) { line->send(bytes); }
  void open() {
    port->PortOpen(true);
    pumpUntil([&] { return line->settings().speed != 0; });
  }
  int openError() {
    return raisedBy([&] { port->PortOpen(true); }).number;
  }
  std::string inTemp(const std::string& name) {
    return (fs::temp_directory_path() / (name + std::to_string(getpid()))).string();
  }

  std::unique_ptr<SerialLineEnd> line = platform->makeSerialLineEnd("");
  std::unique_ptr<SerialPort> port = platform->makeSerialPort();
  Bytes fromPc;
  int events = 0;
};

TEST_F(SerialTest, EveryByteIsSeenWithItsOwnParity) {
  struct Seen {
    std::uint8_t byte;
    LineSettings settings;
    bool operator==(const Seen&) const = default;
  };
  std::vector<Seen> seen;
  std::string path;
  std::atomic<bool> ready = false, done = false;
  std::jthread device([&] {
    const auto other = Platform::create();
    const auto end = other->makeSerialLineEnd("");
    end->onReceive([&](std::span<const std::uint8_t> bytes, const LineSettings& settings) {
      for (const auto byte : bytes) seen.push_back({byte, settings});
    });
    path = end->path();
    ready = true;
    while (!done) other->messagePump().waitEvents();
  });
  while (!ready) std::this_thread::yield();
  platform->mapCommPort(2, path);
  port->CommPort(2);
  std::vector<Seen> sent;
  const auto write = [&](std::uint8_t byte, Parity parity, int speed) {
    port->Output(Bytes{byte});
    sent.push_back({byte, {speed, parity}});
  };
  // Nothing but the draining in Settings keeps the bytes from being taken for each other's.
  for (std::uint8_t round = 0; round < 3; ++round) {
    port->Settings("600,m,8,1");
    if (!port->PortOpen()) port->PortOpen(true);
    write(round, Parity::mark, 600);
    port->Settings("600,s,8,1");
    write(2, Parity::space, 600);
    write(7, Parity::space, 600);
    port->Settings("4800,N,8,1");
    write(9, Parity::none, 4800);
    platform->clock().sleep(10);
  }
  done = true;
  device.join();
  ASSERT_EQ(seen.size(), sent.size());
  for (std::size_t i = 0; i < sent.size(); ++i) EXPECT_EQ(seen[i], sent[i]) << "byte " << i;
}

TEST_F(SerialTest, SettingsTexts) {
  for (const char* good : {"600,m,8,1", "9600,N,7,2", "50,o,5,1.5", "115200,E,6,1"}) {
    EXPECT_EQ(raisedBy([&] { port->Settings(good); }).number, 0) << good;
    EXPECT_EQ(port->Settings(), good);
  }
  for (const char* bad : {"", "600", "601,n,8,1", "600,x,8,1", "600,n,9,1", "600,n,8,1.5",
                          "600,n,8,3", "600,n,8,1,", "600,no,8,1", "6oo,n,8,1", "-600,n,8,1"})
    EXPECT_EQ(raisedBy([&] { port->Settings(bad); }).number, 380) << bad;
  EXPECT_EQ(port->Settings(), "115200,E,6,1");
}

TEST_F(SerialTest, TheSameSettingsOnceMoreAreNoError) {
  port->PortOpen(true);
  for (const char* settings : {"600,s,8,1", "600,s,8,1", "600,m,8,1", "600,m,8,1"})
    EXPECT_EQ(raisedBy([&] { port->Settings(settings); }).text, "") << settings;
}

TEST_F(SerialTest, OpeningErrors) {
  const std::string file = inTemp("not-a-port");
  std::ofstream(file) << "text";
  const struct {
    std::string path;
    int number;
    const char* says;
  } cases[] = {{inTemp("missing"), 8002, "does not exist"},
               {file, 8002, "not a serial port"},
               {"/", 8002, "not a serial port"}};
  for (const auto& each : cases) {
    platform->mapCommPort(1, each.path);
    const Raised raised = raisedBy([&] { port->PortOpen(true); });
    EXPECT_EQ(raised.number, each.number) << each.path;
    EXPECT_NE(raised.text.find(each.says), std::string::npos) << raised.text;
    EXPECT_NE(raised.text.find(each.path), std::string::npos) << raised.text;
    EXPECT_FALSE(port->PortOpen());
  }
  fs::remove(file);
  EXPECT_EQ(raisedBy([&] { port->CommPort(0); }).number, 8002);
}

TEST_F(SerialTest, WithoutPermissionItSaysWhatToDo) {
  chmod(line->path().c_str(), 0);
  const uid_t user = geteuid();
  if (user == 0) {
    ASSERT_EQ(seteuid(65534), 0);
  }
  const Raised raised = raisedBy([&] { port->PortOpen(true); });
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_EQ(raised.number, 8010);
  EXPECT_NE(raised.text.find("dialout"), std::string::npos) << raised.text;
}

TEST_F(SerialTest, APortBelongsToOneAtATime) {
  open();
  EXPECT_EQ(openError(), 8005);
  EXPECT_EQ(raisedBy([&] { port->CommPort(3); }).number, 8000);
  auto other = platform->makeSerialPort();
  EXPECT_EQ(raisedBy([&] { other->PortOpen(true); }).number, 8005);
  port->PortOpen(false);
  other->PortOpen(true);
  EXPECT_TRUE(other->PortOpen());
}

TEST_F(SerialTest, AKilledProgramLeavesThePortFree) {
  const pid_t child = fork();
  if (child == 0) {
    port->PortOpen(true);
    port->Output(Bytes{1});
    pause();
    _exit(1);
  }
  EXPECT_TRUE(pumpUntil([&] { return fromPc == Bytes{1}; }));
  EXPECT_EQ(openError(), 8005);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(openError(), 0);
  port->Output(Bytes{2});
  EXPECT_TRUE(pumpUntil([&] { return fromPc == Bytes{1, 2}; }));
}

TEST_F(SerialTest, AClosedPortRefusesAndKnowsNoCarrier) {
  EXPECT_EQ(raisedBy([&] { port->InBufferCount(); }).number, 8018);
  EXPECT_EQ(raisedBy([&] { port->Output(Bytes{1}); }).number, 8018);
  EXPECT_EQ(raisedBy([&] { port->Input(); }).number, 8018);
  EXPECT_FALSE(port->CDHolding());
  open();
  EXPECT_FALSE(port->CDHolding());
  EXPECT_EQ(raisedBy([&] { port->InBufferCount(1); }).number, 380);
}

TEST_F(SerialTest, BytesWaitUntilTheyAreRead) {
  open();
  send({0, 24, 0xFF, 3, 17, 19, 13, 10, 0x1A});
  EXPECT_TRUE(pumpUntil([&] { return port->InBufferCount() == 9; }));
  platform->messagePump().DoEvents();
  EXPECT_EQ(events, 1);  // raised for bytes that a count had found before the pump did
  pumpFor(10);
  EXPECT_EQ(events, 1);
  EXPECT_EQ(port->Input(), (Bytes{0, 24, 0xFF, 3, 17, 19, 13, 10, 0x1A}));
  send({1});
  EXPECT_TRUE(pumpUntil([&] { return events == 2; }));
  EXPECT_EQ(port->CommEvent(), comEvReceive);
  port->InBufferCount(0);
  EXPECT_EQ(port->InBufferCount(), 0);
  port->configure({.InputMode = 1, .InputLen = 2, .NullDiscard = true});
  send({1, 0, 2, 3});
  EXPECT_TRUE(pumpUntil([&] { return port->InBufferCount() == 3; }));
  EXPECT_EQ(port->Input(), (Bytes{1, 2}));
  EXPECT_EQ(port->Input(), Bytes{3});
  EXPECT_EQ(events, 2);
}

TEST_F(SerialTest, TheHandlerMayPumpThrowOrDestroyThePort) {
  open();
  int depth = 0, calls = 0;
  port->onComm([&] {
    ++calls;
    EXPECT_EQ(++depth, 1);
    send({2});
    pumpFor(5);
    --depth;
    if (calls == 1) return;
    if (calls == 2) throw std::runtime_error("from the handler");
    port.reset();
  });
  send({1});
  EXPECT_THROW(pumpFor(1000), std::runtime_error);
  EXPECT_TRUE(pumpUntil([&] { return !port; }));
  EXPECT_EQ(calls, 3);
}

TEST_F(SerialTest, AHangUpIsAnErrorAndNoBusyLoop) {
  open();
  send({5});
  EXPECT_TRUE(pumpUntil([&] { return port->InBufferCount() == 1; }));
  line.reset();
  pumpFor(5);
  EXPECT_LT(passesIn(20), 40);
  EXPECT_EQ(port->Input(), Bytes{5});
  EXPECT_EQ(raisedBy([&] { port->InBufferCount(); }).number, 8020);
  EXPECT_EQ(raisedBy([&] { port->Input(); }).number, 8020);
  EXPECT_EQ(raisedBy([&] { port->Output(Bytes{1}); }).number, 57);
  port->PortOpen(false);
  EXPECT_EQ(openError(), 8002);
}

TEST_F(SerialTest, AnIdleLineKnowsWhenItIsOpenAndBurnsNothing) {
  EXPECT_EQ(line->settings(), LineSettings{});
  send({9});  // lost: nobody has the port open
  EXPECT_LT(passesIn(20), 40);
  port->Settings("600,m,8,1");
  open();
  EXPECT_EQ(port->InBufferCount(), 0);
  EXPECT_EQ(line->settings(), (LineSettings{600, Parity::mark}));
  port->Output(Bytes{1});
  port->PortOpen(false);
  EXPECT_TRUE(pumpUntil([&] { return fromPc == Bytes{1}; }));
  EXPECT_EQ(line->settings().speed, 0);
}

TEST_F(SerialTest, NothingIsEchoedBackWhateverAProgramLeftSet) {
  const int fd = ::open(line->path().c_str(), O_RDWR | O_NOCTTY);
  termios cooked{};
  tcgetattr(fd, &cooked);
  EXPECT_EQ(cooked.c_lflag & ECHO, 0U);
  cooked.c_lflag |= ECHO | ICANON;
  cooked.c_oflag |= OPOST | ONLCR;
  tcsetattr(fd, TCSANOW, &cooked);
  pumpFor(15);
  ::close(fd);
  pumpFor(25);
  const int again = ::open(line->path().c_str(), O_RDWR | O_NOCTTY);
  EXPECT_TRUE(pumpUntil([&] { return line->settings().speed != 0; }));
  send({'a', '\n'});
  pumpFor(15);
  ::close(again);
  EXPECT_EQ(fromPc, Bytes{});
}

TEST_F(SerialTest, ABigBlockPassesBothWays) {
  port->Settings("4000000,n,8,1");
  open();
  Bytes block(200'000);
  for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<std::uint8_t>(i * 7);
  send(block);
  Bytes got;
  EXPECT_TRUE(pumpUntil([&] {
    const Bytes part = port->Input();
    got.insert(got.end(), part.begin(), part.end());
    return got.size() >= block.size();
  }));
  EXPECT_EQ(got, block);
}

TEST_F(SerialTest, TheLinkGoesWithTheLine) {
  const std::string name = inTemp("line-link");
  fs::create_symlink("/nowhere/at/all", name);  // as a killed program leaves it
  {
    const auto linked = platform->makeSerialLineEnd(name);
    EXPECT_EQ(fs::read_symlink(name), linked->path());
    EXPECT_EQ(raisedBy([&] { platform->makeSerialLineEnd(name); }).number, 75);
    platform->mapCommPort(1, name);
    EXPECT_EQ(openError(), 0);
  }
  EXPECT_FALSE(fs::is_symlink(name));
  std::ofstream(name) << "precious";
  EXPECT_EQ(raisedBy([&] { platform->makeSerialLineEnd(name); }).number, 75);
  EXPECT_TRUE(fs::is_regular_file(name));
  fs::remove(name);
}

TEST_F(SerialTest, TheEnvironmentNamesPorts) {
  setenv("CRONVEL_COM7", line->path().c_str(), 1);
  port->CommPort(7);
  open();
  unsetenv("CRONVEL_COM7");
}

}  // namespace
}  // namespace cronvel
