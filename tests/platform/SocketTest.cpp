#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/sockets/Inet.h"
#include "platform/system/SocketApi.h"
#include "runtime/Text.h"
#include "tests/platform/PlatformTest.h"

namespace cronvel {
namespace {

/// Keeps what the sockets tell, and does what a test asks for meanwhile.
struct Recorder : SocketEvents {
  std::vector<std::string> log;
  std::string errorText;
  Bytes received;
  std::function<void(std::int16_t, std::int32_t)> onRequest;
  std::function<void(std::int16_t, std::int32_t)> onData;

  void ConnectionRequest(std::int16_t Index, std::int32_t requestID) override {
    add("request", Index);
    if (onRequest) onRequest(Index, requestID);
  }
  void DataArrival(std::int16_t Index, std::int32_t bytesTotal) override {
    if (onData) onData(Index, bytesTotal);
  }
  void Error(std::int16_t Index, std::int16_t Number, std::u16string& Description, std::int32_t,
             const std::u16string&, const std::u16string&, std::int32_t, bool&) override {
    errorText = toUtf8(Description);
    add("error " + std::to_string(Number), Index);
  }
  void Connect(std::int16_t Index) override { add("connect", Index); }
  void Close(std::int16_t Index) override { add("close", Index); }
  void SendComplete(std::int16_t) override { ++completed; }
  void SendProgress(std::int16_t, std::int32_t bytesSent, std::int32_t) override {
    progress += bytesSent;
  }
  void add(const std::string& what, std::int16_t index) {
    log.push_back(what + " " + std::to_string(index));
  }
  bool has(const std::string& entry) const { return std::ranges::count(log, entry) > 0; }

  int completed = 0;
  std::int64_t progress = 0;
};

/// Elements 0 (which listens and accepts) and 1 (which connects to it) of one array.
class SocketTest : public PlatformTest {
 protected:
  SocketTest() {
    sockets->setEvents(&events);
    sockets->load(1);
    for (std::int16_t i = 0; i < 2; ++i) sockets->at(i).LocalPort(0);
    events.onRequest = [this](std::int16_t index, std::int32_t id) {
      Socket& socket = sockets->at(index);
      if (socket.State() != sckClosed) socket.Close();
      platform->messagePump().DoEvents();
      socket.Accept(id);
    };
    events.onData = [this](std::int16_t index, std::int32_t) { take(index); };
  }

  void take(std::int16_t index) {
    const Bytes part = sockets->at(index).GetData();
    events.received.insert(events.received.end(), part.begin(), part.end());
  }
  Socket& server() { return sockets->at(0); }
  Socket& client() { return sockets->at(1); }
  void beginConnecting() {
    server().Listen();
    client().RemotePort(server().LocalPort());
    client().Connect(u"127.0.0.1");
  }
  bool bothConnected() {
    return server().State() == sckConnected && client().State() == sckConnected;
  }
  void connectBoth() {
    beginConnecting();
    EXPECT_TRUE(pumpUntil([&] { return bothConnected(); }));
  }
  /// A peer outside the array, to misbehave with.
  OwnedSocket rawPeer() {
    server().Listen();
    in_addr here{};
    here.s_addr = htonl(INADDR_LOOPBACK);
    const sockaddr_in to = inetAddress(here, server().LocalPort());
    OwnedSocket peer(::socket(AF_INET, SOCK_STREAM, 0));
    EXPECT_EQ(::connect(peer.get(), generic(&to), sizeof to), 0);
    EXPECT_TRUE(pumpUntil([&] { return server().State() == sckConnected; }));
    return peer;
  }
  static Bytes pattern(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 31 + i / 256);
    return bytes;
  }

  Recorder events;
  std::unique_ptr<SocketArray> sockets = platform->makeSocketArray();
};

TEST_F(SocketTest, BytesPassBothWaysAndThePeersCloseIsSeen) {
  connectBoth();
  EXPECT_EQ(server().RemoteHost(), u"127.0.0.1");
  EXPECT_EQ(client().RemoteHostIP(), u"127.0.0.1");
  EXPECT_EQ(server().RemotePort(), client().LocalPort());
  client().SendData(Bytes{1, 2, 3});
  EXPECT_TRUE(pumpUntil([&] { return events.received == Bytes{1, 2, 3}; }));
  server().SendData(Bytes{24});
  EXPECT_TRUE(pumpUntil([&] { return events.received.size() == 4; }));
  EXPECT_TRUE(pumpUntil([&] { return events.completed == 2; }));
  EXPECT_EQ(events.progress, 4);
  server().Close();
  EXPECT_TRUE(pumpUntil([&] { return client().State() == sckClosing; }));
  EXPECT_EQ(events.log, (std::vector<std::string>{"request 0", "connect 1", "close 1"}));
  EXPECT_EQ(server().RemotePort(), 8085);  // as configured, not the last peer's
}

TEST_F(SocketTest, WhatIsSentBeforeTheConnectionStandsArrives) {
  beginConnecting();
  EXPECT_EQ(client().State(), sckConnecting);
  client().SendData(Bytes{1});
  client().SendData(Bytes{2, 3});
  EXPECT_TRUE(pumpUntil([&] { return events.received == Bytes{1, 2, 3}; }));
  client().Close();
  server().Close();

  server().Listen();
  client().RemotePort(server().LocalPort());
  client().Connect(u"localhost");  // a name: looked up in the background
  EXPECT_EQ(client().State(), sckResolvingHost);
  client().SendData(Bytes{4});
  EXPECT_TRUE(pumpUntil([&] { return events.received == Bytes{1, 2, 3, 4}; }));
  client().Close();

  server().Close();
  beginConnecting();
  client().SendData(Bytes{5});
  client().Close();  // even now
  EXPECT_TRUE(pumpUntil([&] { return events.received == Bytes{1, 2, 3, 4, 5}; }));
}

TEST_F(SocketTest, FailuresToConnectAreEvents) {
  server().Listen();
  client().RemotePort(server().LocalPort());
  server().Close();
  client().Connect(u"127.0.0.1");
  client().SendData(Bytes{1});
  EXPECT_TRUE(pumpUntil([&] { return client().State() == sckError; }));
  EXPECT_TRUE(events.has("error 10061 1"));
  EXPECT_EQ(events.errorText, "Connection refused: nothing listens on 127.0.0.1 port " +
                                  std::to_string(client().RemotePort()));
  EXPECT_EQ(raisedBy([&] { client().SendData(Bytes{1}); }).number, 40006);
  EXPECT_EQ(raisedBy([&] { client().Connect(); }).number, 40020);
  client().Close();
  client().Connect(u"no-such-terminal.invalid");
  EXPECT_TRUE(pumpUntil([&] { return client().State() == sckError; }, 20000));
  EXPECT_TRUE(events.has("error 11001 1"));
  client().Close();
  client().Connect(u"no-such-terminal.invalid");
  client().Close();  // the answer to a question that nobody asks any more is dropped
  pumpFor(20);
  EXPECT_EQ(events.log.size(), 2U);
}

TEST_F(SocketTest, MisuseIsRefused) {
  EXPECT_EQ(raisedBy([&] { sockets->at(7); }).number, 340);
  EXPECT_EQ(raisedBy([&] { sockets->unload(7); }).number, 340);
  EXPECT_EQ(raisedBy([&] { sockets->unload(0); }).number, 5);
  EXPECT_EQ(raisedBy([&] { sockets->load(1); }).number, 5);
  EXPECT_EQ(raisedBy([&] { server().LocalPort(65536); }).number, 380);
  EXPECT_EQ(raisedBy([&] { server().Protocol(2); }).number, 380);
  EXPECT_EQ(raisedBy([&] { server().Connect(u" "); }).number, 380);
  EXPECT_EQ(raisedBy([&] { server().SendData(Bytes{1}); }).number, 40006);
  EXPECT_EQ(raisedBy([&] { server().GetData(); }).number, 40006);
  EXPECT_EQ(raisedBy([&] { server().Accept(1); }).number, 40006);
  server().Listen();
  EXPECT_EQ(raisedBy([&] { server().Listen(); }).number, 40020);
  EXPECT_EQ(raisedBy([&] { server().LocalPort(5); }).number, 40020);
  client().LocalPort(server().LocalPort());
  const Raised raised = raisedBy([&] { client().Listen(); });
  EXPECT_EQ(raised.number, 10048);
  EXPECT_NE(raised.text.find(std::to_string(server().LocalPort())), std::string::npos);
  client().Protocol(sckUDPProtocol);
  EXPECT_EQ(raisedBy([&] { client().Listen(); }).number, 40026);
}

TEST_F(SocketTest, ClosingDeliversWhatWasSentThoughBytesAreUnread) {
  events.onData = [this](std::int16_t index, std::int32_t) {
    if (index == 0) take(index);  // the client leaves its bytes unread
  };
  connectBoth();
  server().SendData(pattern(300'000));
  pumpFor(5);
  const Bytes much = pattern(12'000'000);
  client().SendData(much);
  client().Close();
  EXPECT_EQ(client().State(), sckClosed);
  client().Connect(u"127.0.0.1");  // the element is free at once
  EXPECT_TRUE(pumpUntil([&] { return server().State() == sckClosing; }));
  EXPECT_TRUE(events.received == much);

  server().Close();
  client().Close();
  events.received.clear();
  connectBoth();
  server().SendData(Bytes{1});  // not even noticed by the client
  client().SendData(Bytes{2});
  client().Close();
  EXPECT_TRUE(pumpUntil([&] { return server().State() >= sckClosing; }));
  EXPECT_EQ(server().State(), sckClosing) << events.errorText;
  EXPECT_EQ(events.received, Bytes{2});
}

TEST_F(SocketTest, AReaderThatStopsHoldsThePeerAndLosesNothing) {
  events.onData = nullptr;
  connectBoth();
  const Bytes much = pattern(20'000'000);
  client().SendData(much);
  pumpFor(100);
  EXPECT_LT(server().BytesReceived(), 2'000'000);
  EXPECT_LT(passesIn(20), 60);  // neither do unread bytes burn the processor
  client().Close();
  events.onData = [this](std::int16_t index, std::int32_t) { take(index); };
  EXPECT_TRUE(pumpUntil([&] { return server().State() == sckClosing; }));
  EXPECT_TRUE(events.received == much);
}

TEST_F(SocketTest, TwoHundredConnectionsInARowBothWays) {
  server().Listen();
  const std::int32_t port = server().LocalPort();
  server().Close();
  server().LocalPort(port);
  client().RemotePort(port);
  for (int i = 0; i < 200; ++i) {
    server().Listen();
    client().Connect(u"127.0.0.1");
    client().SendData(Bytes{static_cast<std::uint8_t>(i)});
    ASSERT_TRUE(pumpUntil([&] { return events.received.size() == std::size_t(i) + 1; })) << i;
    (i % 2 == 0 ? server() : client()).Close();  // either end closes first
    server().Close();
    client().Close();
  }
  EXPECT_TRUE(events.errorText.empty()) << events.errorText;
}

TEST_F(SocketTest, ARequestIsOfferedOnceAndOnlyDuringItsEvent) {
  std::int32_t missed = 0;
  sockets->load(2);
  events.onRequest = [&](std::int16_t, std::int32_t id) { missed = id; };
  beginConnecting();
  EXPECT_TRUE(pumpUntil([&] { return missed != 0; }));
  EXPECT_EQ(raisedBy([&] { sockets->at(2).Accept(missed); }).number, 40006);
  EXPECT_TRUE(pumpUntil([&] { return client().State() >= sckClosing; }));
  EXPECT_EQ(server().State(), sckListening);

  // The next is taken by another element, while the listener goes on.
  events.onRequest = [&](std::int16_t, std::int32_t id) { sockets->at(2).Accept(id); };
  client().Close();
  client().Connect();
  EXPECT_TRUE(pumpUntil([&] { return sockets->at(2).State() == sckConnected; }));
  EXPECT_EQ(server().State(), sckListening);
}

TEST_F(SocketTest, DataIsAnnouncedUntilTakenAndNeverNested) {
  int calls = 0, depth = 0;
  events.onData = [&](std::int16_t index, std::int32_t) {
    ++calls;
    EXPECT_EQ(++depth, 1);
    if (calls == 1) client().SendData(Bytes{2});
    pumpFor(5);
    if (calls == 3) {
      EXPECT_EQ(sockets->at(index).BytesReceived(), 2);
      take(index);
    }
    --depth;
  };
  connectBoth();
  client().SendData(Bytes{1});
  EXPECT_TRUE(pumpUntil([&] { return calls == 3; }));
  EXPECT_EQ(events.received, (Bytes{1, 2}));
  pumpFor(5);
  EXPECT_EQ(calls, 3);
}

TEST_F(SocketTest, AllDataIsAnnouncedBeforeThePeersEnd) {
  OwnedSocket peer = rawPeer();
  events.onData = [&](std::int16_t, std::int32_t total) {
    events.log.push_back("data " + std::to_string(total));
    if (total != 3) return;
    EXPECT_EQ(sendSome(peer.get(), Bytes{'d', 'e'}), 2);
    peer.reset();
    pumpFor(5);  // the end is seen here, with bytes before it that were not announced yet
    EXPECT_EQ(server().State(), sckConnected);
  };
  EXPECT_EQ(sendSome(peer.get(), Bytes{'a', 'b', 'c'}), 3);
  EXPECT_TRUE(pumpUntil([&] { return server().State() == sckClosing; }));
  EXPECT_EQ(events.log, (std::vector<std::string>{"request 0", "data 3", "data 5", "close 0"}));
  EXPECT_EQ(server().GetData(), (Bytes{'a', 'b', 'c', 'd', 'e'}));
  EXPECT_EQ(raisedBy([&] { server().SendData(Bytes{1}); }).number, 40006);
}

TEST_F(SocketTest, AResetIsAnError) {
  OwnedSocket peer = rawPeer();
  const linger hard{1, 0};
  setOption(peer.get(), SOL_SOCKET, SO_LINGER, hard);
  peer.reset();
  EXPECT_TRUE(pumpUntil([&] { return server().State() >= sckClosing; }));
  if (!underWine()) {  // it shows a reset as an orderly end
    EXPECT_TRUE(events.has("error 10054 0"));
  }
  server().Close();
  EXPECT_EQ(server().State(), sckClosed);
}

TEST_F(SocketTest, AHandlerMayUnloadItsElementOrTheWholeArray) {
  events.onData = [&](std::int16_t index, std::int32_t) { sockets->unload(index); };
  connectBoth();
  server().SendData(Bytes{1});
  EXPECT_TRUE(pumpUntil([&] { return !sockets->exists(1); }));
  sockets->load(1);
  server().Close();
  events.onData = [&](std::int16_t, std::int32_t) { sockets.reset(); };
  connectBoth();
  server().SendData(Bytes{1});
  EXPECT_TRUE(pumpUntil([&] { return !sockets; }));
}

TEST_F(SocketTest, AnExceptionFromAHandlerLeavesThePumpAndNothingIsLost) {
  bool thrown = false;
  events.onData = [&](std::int16_t index, std::int32_t) {
    if (!std::exchange(thrown, true)) throw std::runtime_error("from the handler");
    take(index);
  };
  connectBoth();
  client().SendData(Bytes{1, 2});
  EXPECT_THROW(pumpFor(1000), std::runtime_error);
  EXPECT_TRUE(pumpUntil([&] { return events.received == Bytes{1, 2}; }));
}

TEST_F(SocketTest, DatagramsKeepTheirBounds) {
  std::vector<Bytes> got;
  events.onData = [&](std::int16_t index, std::int32_t total) {
    got.push_back(sockets->at(index).GetData());
    EXPECT_EQ(total, std::ssize(got.back()));
  };
  for (std::int16_t i = 0; i < 2; ++i) sockets->at(i).Protocol(sckUDPProtocol);
  server().Connect(u"127.0.0.1");
  EXPECT_EQ(server().State(), sckOpen);
  client().RemotePort(server().LocalPort());
  client().RemoteHost(u"127.0.0.1");
  client().SendData(Bytes{1, 2});
  EXPECT_EQ(client().State(), sckOpen);
  client().SendData(Bytes{3});
  EXPECT_TRUE(pumpUntil([&] { return got.size() == 2; }));
  EXPECT_EQ(got, (std::vector<Bytes>{{1, 2}, {3}}));
  client().RemoteHost(u"localhost");
  client().SendData(Bytes{4});
  client().SendData(Bytes{5});
  EXPECT_TRUE(pumpUntil([&] { return got.size() == 4; }));
  EXPECT_EQ(got.back(), Bytes{5});
  server().RemotePort(client().LocalPort());
  server().SendData(Bytes{6});
  EXPECT_TRUE(pumpUntil([&] { return got.size() == 5; }));
}

TEST_F(SocketTest, ManyElementsAtOnce) {
  constexpr std::int16_t count = 200;
  events.onRequest = [this, next = std::int16_t(2 + count)](std::int16_t, std::int32_t id) mutable {
    sockets->load(next);
    sockets->at(next++).Accept(id);
  };
  server().Listen();
  for (std::int16_t i = 2; i < 2 + count; ++i) {
    sockets->load(i);
    sockets->at(i).RemotePort(server().LocalPort());
    sockets->at(i).Connect(u"127.0.0.1");
    sockets->at(i).SendData(Bytes{static_cast<std::uint8_t>(i)});
  }
  EXPECT_TRUE(pumpUntil([&] { return events.received.size() == count; }));
  EXPECT_EQ(sockets->upperBound(), 2 * count + 1);
  for (std::int16_t i = 2; i < 2 + 2 * count; ++i) sockets->unload(i);
  EXPECT_EQ(sockets->upperBound(), 1);
}

}  // namespace
}  // namespace cronvel
