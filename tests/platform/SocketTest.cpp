#include "tests/platform/PlatformTest.h"

namespace cronvel {
namespace {

using Log = std::vector<std::string>;

TEST_F(SocketTest, BytesPassBothWaysAndThePeersCloseIsSeen) {
  connectBoth();
  EXPECT_EQ(server().RemoteHost(), u"127.0.0.1");
  EXPECT_EQ(client().RemoteHostIP(), u"127.0.0.1");
  EXPECT_EQ(server().RemotePort(), client().LocalPort());
  client().SendData(Bytes{1, 2, 3});
  EXPECT_TRUE(receives({1, 2, 3}));
  server().SendData(Bytes{24});
  EXPECT_TRUE(receives({1, 2, 3, 24}));
  server().Close();
  EXPECT_TRUE(reaches(client(), sckClosing));
  EXPECT_EQ(log, (Log{"request", "1: connected", "1: closed"}));
  EXPECT_EQ(server().RemotePort(), 8085);  // as configured, not the last peer's
  server().LocalPort(client().RemotePort());
  server().Listen();  // again, although the system still winds the first connection up
}

TEST_F(SocketTest, WhatIsSentBeforeTheConnectionStandsArrives) {
  beginConnecting();
  EXPECT_EQ(client().State(), sckConnecting);
  client().SendData(Bytes{1});
  client().SendData(Bytes{2, 3});
  EXPECT_TRUE(receives({1, 2, 3}));
  beginConnecting(u"localhost");  // a name: looked up in the background
  EXPECT_EQ(client().State(), sckResolvingHost);
  client().SendData(Bytes{4});
  EXPECT_TRUE(receives({1, 2, 3, 4}));
  beginConnecting();
  client().SendData(Bytes{5});
  client().Close();  // even now
  EXPECT_TRUE(receives({1, 2, 3, 4, 5}));
}

TEST_F(SocketTest, FailuresToConnectAreEvents) {
  client().RemotePort(1);
  client().Connect(u"127.0.0.1");
  client().SendData(Bytes{1});
  EXPECT_TRUE(reaches(client(), sckError));
  EXPECT_EQ(log, Log{"1: 10061 Connection refused: nothing listens on 127.0.0.1 port 1"});
  expectError(40006, {[&] { client().SendData(Bytes{1}); }});
  expectError(40020, {[&] { client().Connect(); }});
  client().Close();
  client().Connect(u"no-such-terminal.invalid");
  EXPECT_TRUE(reaches(client(), sckError));
  EXPECT_TRUE(log.back().starts_with("1: 11001 ")) << log.back();
}

TEST_F(SocketTest, MisuseIsRefused) {
  expectError(340, {[&] { sockets->at(7); }, [&] { sockets->unload(7); }});
  expectError(5, {[&] { sockets->unload(0); }, [&] { sockets->load(1); }});
  expectError(380, {[&] { server().LocalPort(65536); }, [&] { server().Protocol(2); }});
  expectError(380, {[&] { server().Connect(u" "); }});
  expectError(40006, {[&] { server().SendData(Bytes{1}); }, [&] { server().GetData(); }});
  expectError(40006, {[&] { server().Accept(1); }});
  server().Listen();
  expectError(40020, {[&] { server().Listen(); }, [&] { server().LocalPort(5); }});
  client().LocalPort(server().LocalPort());
  expectError(10048, {[&] { client().Listen(); }});
  client().Protocol(sckUDPProtocol);
  expectError(40026, {[&] { client().Listen(); }});
}

TEST_F(SocketTest, AReaderThatStopsHoldsThePeerAndClosingDeliversAll) {
  onData = [](auto...) {};
  connectBoth();
  server().SendData(pattern(300'000));  // the client leaves them unread
  const Bytes much = pattern(20'000'000);
  client().SendData(much);
  EXPECT_TRUE(pumpUntil([&] { return server().BytesReceived() >= 1'000'000; }));
  EXPECT_LT(passesIn(30), 60);  // neither do unread bytes burn the processor
  EXPECT_LT(server().BytesReceived(), 2'000'000);
  client().Close();
  client().Connect(u"127.0.0.1");  // the element is free at once
  onData = [this](std::int16_t index, auto) { take(index); };
  EXPECT_TRUE(receives(much));
  EXPECT_TRUE(reaches(server(), sckClosing));

  received.clear();
  connectBoth();
  server().SendData(Bytes{1});  // not even noticed by the client
  client().SendData(Bytes{2});
  client().Close();
  EXPECT_TRUE(reaches(server(), sckClosing));
  EXPECT_EQ(received, Bytes{2});
}

TEST_F(SocketTest, ARequestIsOfferedOnlyDuringItsEvent) {
  std::int32_t missed = 0;
  sockets->load(2);
  onRequest = [&](std::int16_t, std::int32_t id) { missed = id; };
  beginConnecting();
  EXPECT_TRUE(pumpUntil([&] { return missed != 0; }));
  expectError(40006, {[&] { sockets->at(2).Accept(missed); }});
  EXPECT_TRUE(pumpUntil([&] { return client().State() >= sckClosing; }));
}

TEST_F(SocketTest, DataIsAnnouncedUntilTakenAndNeverNested) {
  int calls = 0, depth = 0;
  onData = [&](std::int16_t index, std::int32_t total) {
    EXPECT_EQ(++depth, 1);
    if (++calls == 1) client().SendData(Bytes{2});
    pumpFor(5);
    if (calls >= 3 && total == 2) take(index);
    --depth;
  };
  connectBoth();
  client().SendData(Bytes{1});
  EXPECT_TRUE(receives({1, 2}));
  calls = 0;
  pumpFor(5);
  EXPECT_EQ(calls, 0);
}

TEST_F(SocketTest, AllDataIsAnnouncedBeforeThePeersEnd) {
  onData = [&](std::int16_t, std::int32_t total) {
    log.push_back("data " + std::to_string(total));
    if (total != 3) return;
    client().SendData(Bytes{'d', 'e'});
    client().Close();
    // The end is seen here, with bytes before it that were not announced yet.
    EXPECT_TRUE(pumpUntil([&] { return server().BytesReceived() == 5; }));
    pumpFor(5);
    EXPECT_EQ(server().State(), sckConnected);
  };
  connectBoth();
  log.clear();
  client().SendData(Bytes{'a', 'b', 'c'});
  EXPECT_TRUE(reaches(server(), sckClosing));
  EXPECT_EQ(log, (Log{"data 3", "data 5", "0: closed"}));
  EXPECT_EQ(server().GetData(), (Bytes{'a', 'b', 'c', 'd', 'e'}));
  expectError(40006, {[&] { server().SendData(Bytes{1}); }});
}

TEST_F(SocketTest, AResetIsAnError) {
  server().Listen();
  OwnedSocket peer = connectTo(server().LocalPort());
  EXPECT_TRUE(reaches(server(), sckConnected));
  setOption(peer.get(), SOL_SOCKET, SO_LINGER, linger{1, 0});
  peer.reset();
  EXPECT_TRUE(pumpUntil([&] { return server().State() >= sckClosing; }));
  // Wine shows a reset as an orderly end.
  EXPECT_TRUE(log.back().starts_with(underWine() ? "0: closed" : "0: 10054 ")) << log.back();
}

TEST_F(SocketTest, AHandlerMayThrowOrUnloadItsElementOrTheWholeArray) {
  throwOnce();
  connectBoth();
  server().SendData(Bytes{1, 2});
  EXPECT_THROW(receives({1, 2}), std::runtime_error);
  EXPECT_TRUE(receives({1, 2}));
  onData = [&](auto index, auto) { sockets->unload(index); };
  server().SendData(Bytes{1});
  EXPECT_TRUE(pumpUntil([&] { return !sockets->exists(1); }));
  sockets->load(1);
  onData = [&](auto...) { sockets.reset(); };
  connectBoth();
  server().SendData(Bytes{1});
  EXPECT_TRUE(pumpUntil([&] { return !sockets; }));
}

TEST_F(SocketTest, DatagramsKeepTheirBounds) {
  onData = [&](std::int16_t index, std::int32_t total) {
    received.push_back(static_cast<std::uint8_t>(100 + total));
    take(index);
  };
  for (std::int16_t i = 0; i < 2; ++i) sockets->at(i).Protocol(sckUDPProtocol);
  server().Connect(u"127.0.0.1");
  EXPECT_EQ(server().State(), sckOpen);
  client().RemotePort(server().LocalPort());
  client().RemoteHost(u"localhost");
  client().SendData(Bytes{1, 2});  // kept until the name is known
  client().SendData(Bytes{3});
  EXPECT_TRUE(receives({102, 1, 2, 101, 3}));
  server().RemotePort(client().LocalPort());
  server().SendData(Bytes{6});
  EXPECT_TRUE(receives({102, 1, 2, 101, 3, 101, 6}));
}

TEST_F(SocketTest, ManyElementsAtOnce) {
  constexpr std::int16_t count = 200;
  onRequest = [this, next = std::int16_t(2 + count)](std::int16_t, std::int32_t id) mutable {
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
  EXPECT_TRUE(pumpUntil([&] { return received.size() == count; }));
  EXPECT_EQ(sockets->upperBound(), 2 * count + 1);
  int depth = 0, deepest = 0;  // all at once, and each handler pumps
  onData = [&](std::int16_t index, auto) {
    deepest = std::max(deepest, ++depth);
    take(index);
    platform->messagePump().DoEvents();
    --depth;
  };
  for (std::int16_t i = 2; i < 2 + count; ++i) sockets->at(i).SendData(Bytes{1});
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(pumpUntil([&] { return received.size() == 2 * count; }));
  // Few at first, then one in a millisecond.
  EXPECT_LT((std::chrono::milliseconds(deepest - 70)), std::chrono::steady_clock::now() - start);
}

}  // namespace
}  // namespace cronvel
