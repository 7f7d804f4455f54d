#include <windows.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "tests/platform/SerialTest.h"

namespace cronvel {
namespace {

/// The host runs its own message loop and never calls the pump.
class HostLoopTest : public SerialTest {
 protected:
  /// As a form's program does it, until the condition holds or time is up.
  bool hostUntil(const std::function<bool()>& reached, int milliseconds = 4000) {
    const auto end = Steady::now() + Milliseconds(milliseconds);
    const UINT_PTR tick = SetTimer(nullptr, 0, 20, nullptr);  // the loop gets to look at the time
    while (!reached() && Steady::now() < end) {
      MSG message{};
      GetMessageW(&message, nullptr, 0, 0);
      TranslateMessage(&message);
      DispatchMessageW(&message);
      ++messages;
    }
    KillTimer(nullptr, tick);
    return reached();
  }

  int messages = 0;
};

/// Sends back what it gets, and counts.
struct Echo : SocketEvents {
  explicit Echo(SocketArray& array) : sockets(array) { sockets.setEvents(this); }
  void ConnectionRequest(std::int16_t, std::int32_t id) override {
    sockets.load(2);
    sockets.at(2).Accept(id);
  }
  void DataArrival(std::int16_t index, std::int32_t) override {
    const Bytes bytes = sockets.at(index).GetData();
    if (index == 2) return sockets.at(2).SendData(bytes);
    received += bytes.size();
    if (throwOnce) {
      throwOnce = false;
      throw std::runtime_error("from the handler");
    }
  }
  void Error(std::int16_t, std::int16_t, std::u16string&, std::int32_t, const std::u16string&,
             const std::u16string&, std::int32_t, bool&) override {
    ++errors;
  }
  void Connect(std::int16_t) override { ++connects; }
  void Close(std::int16_t) override { ++closes; }
  void SendComplete(std::int16_t) override {}
  void SendProgress(std::int16_t, std::int32_t, std::int32_t) override {}

  SocketArray& sockets;
  std::size_t received = 0;
  int errors = 0, connects = 0, closes = 0;
  bool throwOnce = false;
};

TEST_F(HostLoopTest, SocketsWork) {
  const auto sockets = platform->makeSocketArray();
  Echo echo(*sockets);
  sockets->load(1);
  sockets->at(0).LocalPort(0);
  sockets->at(0).Listen();
  Socket& client = sockets->at(1);
  client.RemotePort(sockets->at(0).LocalPort());
  client.Connect(u"localhost");
  EXPECT_TRUE(hostUntil([&] { return echo.connects == 1; }));
  const Bytes much(3'000'000);
  client.SendData(much);
  EXPECT_TRUE(hostUntil([&] { return echo.received == much.size(); }));
  echo.throwOnce = true;  // nobody could catch it, and nothing more comes of it
  client.SendData(Bytes{1});
  client.SendData(Bytes{2});
  EXPECT_TRUE(hostUntil([&] { return echo.received == much.size() + 2; }));
  sockets->at(2).Close();
  EXPECT_TRUE(hostUntil([&] { return echo.closes == 1; }));
  client.Close();
  sockets->at(0).Close();
  client.Connect(u"127.0.0.1");
  EXPECT_TRUE(hostUntil([&] { return echo.errors == 1; }));
}

TEST_F(HostLoopTest, TimersAndTheSerialPortWorkAndRestCostsNothing) {
  line.reset();  // it has a timer
  hostUntil([] { return false; }, 300);
  EXPECT_LT(messages, 40);  // the ticks of the loop itself, and little else

  line = makeTestLine(*platform);
  platform->mapCommPort(1, line->path());
  open();
  send({1, 2, 3});
  EXPECT_TRUE(hostUntil([&] { return events > 0 && port->InBufferCount() == 3; }));
  EXPECT_EQ(port->Input(), (Bytes{1, 2, 3}));
  for (std::uint8_t i = 0; i < 20; ++i) {
    const int before = events;
    send({i});
    ASSERT_TRUE(hostUntil([&] { return events > before; })) << int{i};
    EXPECT_EQ(port->Input(), Bytes{i});
  }

  const auto timer = platform->makeTimer();
  int ticks = 0;
  timer->Interval(30);
  timer->onTimer([&] { ++ticks; });
  timer->Enabled(true);
  EXPECT_TRUE(hostUntil([&] { return ticks == 5; }));
}

int hostTicks = 0;
void CALLBACK countTick(HWND, UINT, UINT_PTR, DWORD) { ++hostTicks; }

TEST_F(HostLoopTest, ItsMessagesAreDispatchedWhileThePumpIsUsed) {
  hostTicks = 0;
  const UINT_PTR tick = SetTimer(nullptr, 0, 10, &countTick);
  EXPECT_TRUE(pumpUntil([&] { return hostTicks >= 3; }));
  KillTimer(nullptr, tick);
  EXPECT_LT(passesIn(50), 60);
}

TEST_F(HostLoopTest, TheEndOfTheProgramIsLeftToItsOwnLoopAndWaitsDoNotSpin) {
  line.reset();
  PostQuitMessage(7);
  EXPECT_LT(passesIn(50), 60);
  int ticks = 0;
  const auto timer = platform->makeTimer();
  timer->Interval(5);
  timer->onTimer([&] { ++ticks; });
  timer->Enabled(true);
  EXPECT_TRUE(pumpUntil([&] { return ticks == 2; }));
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) != 0) DispatchMessageW(&message);
  EXPECT_EQ(message.wParam, 7U);
}

TEST_F(HostLoopTest, AMessageBoxAnswersAndTimersGoOnMeanwhile) {
  std::atomic<int> ticks = 0;
  const auto timer = platform->makeTimer();
  timer->Interval(10);
  timer->onTimer([&] { ++ticks; });
  timer->Enabled(true);
  const struct {
    MsgBox::Buttons buttons;
    int press;
    MsgBox::Answer answer;
  } cases[] = {{MsgBox::Buttons::ok, IDOK, MsgBox::Answer::ok},
               {MsgBox::Buttons::yesNo, IDYES, MsgBox::Answer::yes},
               {MsgBox::Buttons::yesNo, IDNO, MsgBox::Answer::no}};
  for (const auto& each : cases) {
    ticks = 0;
    std::jthread person([&](const std::stop_token& answered) {
      while (!answered.stop_requested()) {
        Sleep(20);
        const HWND box = FindWindowW(L"#32770", L"Cronvel test");
        if (box != nullptr && ticks > 3)
          PostMessageW(box, WM_COMMAND, static_cast<WPARAM>(each.press), 0);
      }
    });
    EXPECT_EQ(platform->msgBox().show(u"\u0633\u0644\u0627\u0645", each.buttons, u"Cronvel test"),
              each.answer);
  }
}

}  // namespace
}  // namespace cronvel
