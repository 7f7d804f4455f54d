#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "platform/sockets/Inet.h"
#include "runtime/Text.h"
#include "tests/support/Errors.h"

namespace cronvel {

/// "8005 Port already open: COM1 (/dev/ttyS0) is ..."; empty where nothing is raised.
inline std::string raisedBy(const std::function<void()>& action) {
  int number = 0;
  const std::string text = test::messageOf(action, &number);
  return number == 0 ? "" : std::to_string(number) + " " + text;
}

inline void expectError(int number, std::initializer_list<std::function<void()>> actions) {
  for (const auto& action : actions) EXPECT_EQ(std::atoi(raisedBy(action).c_str()), number);
}

/// Whether the system is not Windows itself: what it does differently is not the platform's fault.
bool underWine();

/// The real platform, and a wait that gives up.
class PlatformTest : public testing::Test {
 protected:
  using Steady = std::chrono::steady_clock;

  bool pumpUntil(const std::function<bool()>& reached, int milliseconds = 20000) {
    const auto end = Steady::now() + std::chrono::milliseconds(milliseconds);
    while (!reached()) {
      if (Steady::now() > end) return false;
      turn();
    }
    return true;
  }

  /// For what must not happen.
  void pumpFor(int milliseconds) {
    pumpUntil([] { return false; }, milliseconds);
  }

  /// How many waiting passes fit in some time: few, unless the pump burns the processor.
  int passesIn(int milliseconds) {
    int passes = 0;
    pumpUntil([&] { return ++passes == 0; }, milliseconds);
    return passes;
  }

  static Bytes pattern(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 31 + i / 256);
    return bytes;
  }

  void startTimer(int interval, const std::function<void()>& handler) {
    timer->Interval(interval);
    timer->onTimer(handler);
    timer->Enabled(true);
  }

  std::unique_ptr<Platform> platform = Platform::create();
  /// Gives the handlers their turn.
  std::function<void()> turn = [this] { platform->messagePump().waitEvents(); };
  std::unique_ptr<Timer> timer = platform->makeTimer();
  int ticks = 0;
};

/// To a port of this machine; waits where the platform's own sockets do not.
inline OwnedSocket connectTo(std::int32_t port) {
  in_addr here{};
  here.s_addr = htonl(INADDR_LOOPBACK);
  const sockaddr_in to = inetAddress(here, port);
  OwnedSocket socket(::socket(AF_INET, SOCK_STREAM, 0));
  EXPECT_EQ(::connect(socket.get(), generic(&to), sizeof to), 0);
  return socket;
}

/// A line of this machine whose far end the test holds. On Windows it only sends.
std::unique_ptr<SerialLineEnd> makeTestLine(Platform& platform);

class SerialTest : public PlatformTest {
 protected:
  SerialTest() {
    platform->mapCommPort(1, line->path());
    port->configure({.InputMode = 1, .RThreshold = 1, .DTREnable = true, .RTSEnable = true});
    port->onComm([this] { ++events; });
  }

  std::string openError(const std::string& path) {
    platform->mapCommPort(1, path);
    return raisedBy([&] { port->PortOpen(true); });
  }

  std::unique_ptr<SerialLineEnd> line = makeTestLine(*platform);
  std::unique_ptr<SerialPort> port = platform->makeSerialPort();
  int events = 0;
};

/// Elements 0 (which listens and accepts) and 1 (which connects to it) of one array. Keeps what
/// they tell, and does what a test asks for meanwhile.
class SocketTest : public PlatformTest, protected SocketEvents {
 protected:
  SocketTest() {
    sockets->setEvents(this);
    sockets->load(1);
    for (std::int16_t i = 0; i < 2; ++i) sockets->at(i).LocalPort(0);
  }

  void ConnectionRequest(std::int16_t Index, std::int32_t requestID) override {
    log.push_back("request");
    onRequest(Index, requestID);
  }
  void DataArrival(std::int16_t Index, std::int32_t bytesTotal) override {
    onData(Index, bytesTotal);
  }
  void Error(std::int16_t Index, std::int16_t Number, std::u16string& Description, std::int32_t,
             const std::u16string&, const std::u16string&, std::int32_t, bool&) override {
    log.push_back(std::to_string(Index) + ": " + std::to_string(Number) + " " +
                  toUtf8(Description));
  }
  void Connect(std::int16_t Index) override {
    log.push_back(std::to_string(Index) + ": connected");
  }
  void Close(std::int16_t Index) override { log.push_back(std::to_string(Index) + ": closed"); }

  void take(std::int16_t index) {
    const Bytes part = sockets->at(index).GetData();
    received.insert(received.end(), part.begin(), part.end());
  }
  bool receives(const Bytes& bytes) {
    return pumpUntil([&] { return received.size() >= bytes.size(); }) && received == bytes;
  }
  bool reaches(Socket& socket, std::int16_t state) {
    return pumpUntil([&] { return socket.State() >= state; }) && socket.State() == state;
  }
  Socket& server() { return sockets->at(0); }
  Socket& client() { return sockets->at(1); }
  void beginConnecting(const std::u16string& host = u"127.0.0.1") {
    server().Close();
    client().Close();
    server().Listen();
    client().RemotePort(server().LocalPort());
    client().Connect(host);
  }
  void connectBoth() {
    beginConnecting();
    EXPECT_TRUE(reaches(client(), sckConnected));
    EXPECT_TRUE(reaches(server(), sckConnected));
  }
  /// Takes what comes, but not before a first attempt has failed.
  void throwOnce() {
    onData = [this, thrown = false](std::int16_t index, auto) mutable {
      if (!std::exchange(thrown, true)) throw std::runtime_error("from the handler");
      take(index);
    };
  }

  std::function<void(std::int16_t, std::int32_t)> onData = [this](auto index, auto) {
    take(index);
  };
  std::function<void(std::int16_t, std::int32_t)> onRequest = [this](auto index, auto id) {
    sockets->at(index).Close();
    platform->messagePump().DoEvents();
    sockets->at(index).Accept(id);
  };
  std::vector<std::string> log;
  Bytes received;
  std::unique_ptr<SocketArray> sockets = platform->makeSocketArray();
};

}  // namespace cronvel
