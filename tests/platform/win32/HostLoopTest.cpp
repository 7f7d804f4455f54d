#include <thread>

#include "tests/platform/PlatformTest.h"

namespace cronvel {
namespace {

int messages = 0;
/// The host runs its own message loop, as a form's program does, and never calls the pump.
void hostTurn() {
  const UINT_PTR tick = SetTimer(nullptr, 0, 20, nullptr);  // it gets to look at the time
  MSG message{};
  GetMessageW(&message, nullptr, 0, 0);
  DispatchMessageW(&message);
  KillTimer(nullptr, tick);
  ++messages;
}

TEST_F(SocketTest, WorkInTheHostsOwnLoopAndRestCostsNothing) {
  turn = hostTurn;
  pumpFor(300);
  EXPECT_LT(messages, 40);  // the ticks of the loop itself, and little else
  beginConnecting(u"localhost");
  const Bytes much = pattern(3'000'000);
  client().SendData(much);
  EXPECT_TRUE(receives(much));
  throwOnce();  // nobody could catch it, and nothing more comes of it
  received.clear();
  client().SendData(Bytes{1});
  EXPECT_TRUE(receives({1}));
  server().Close();
  EXPECT_TRUE(reaches(client(), sckClosing));
}

TEST_F(SerialTest, WorksWithTimersInTheHostsOwnLoop) {
  turn = hostTurn;
  port->PortOpen(true);
  for (const std::uint8_t byte : pattern(20)) {
    const int before = events;
    line->send(Bytes{byte});
    ASSERT_TRUE(pumpUntil([&] { return events > before; }));
    EXPECT_EQ(port->Input(), Bytes{byte});
  }
  startTimer(30, [this] { ++ticks; });
  EXPECT_TRUE(pumpUntil([&] { return ticks == 5; }));
}

using Win32PumpTest = PlatformTest;

int hostTicks = 0;
void CALLBACK countTick(HWND, UINT, UINT_PTR, DWORD) { ++hostTicks; }

TEST_F(Win32PumpTest, TheHostsMessagesAreDispatchedAndTheEndOfItsProgramLeftToItsOwnLoop) {
  const UINT_PTR tick = SetTimer(nullptr, 0, 10, &countTick);
  EXPECT_TRUE(pumpUntil([&] { return hostTicks >= 3; }));
  KillTimer(nullptr, tick);
  PostQuitMessage(7);
  EXPECT_LT(passesIn(50), 60);  // waits do not spin
  startTimer(5, [this] { ++ticks; });
  EXPECT_TRUE(pumpUntil([&] { return ticks == 2; }));
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) != 0) DispatchMessageW(&message);
  EXPECT_EQ(message.wParam, 7U);
}

TEST_F(Win32PumpTest, AMessageBoxShowsWhatItIsTold) {
  using Answer = MsgBox::Answer;
  for (const auto& [press, answer] : {std::pair(IDYES, Answer::yes), {IDNO, Answer::no}}) {
    std::wstring text(20, L'\0');
    std::jthread person([&, press = press](const std::stop_token& answered) {
      while (!answered.stop_requested()) {
        Sleep(20);
        const HWND box = FindWindowW(L"#32770", L"Cronvel test");
        if (box == nullptr || !IsWindowVisible(box)) continue;
        GetDlgItemTextW(box, 0xFFFF, text.data(), static_cast<int>(text.size()));
        SendMessageW(box, WM_COMMAND, static_cast<WPARAM>(press), 0);
      }
    });
    const auto buttons = MsgBox::Buttons::yesNo;
    EXPECT_EQ(platform->msgBox().show(u"\u0633\u0644", buttons, u"Cronvel test"), answer);
    person.request_stop();
    person.join();
    EXPECT_STREQ(text.c_str(), L"\u202B\u0633\u0644\u202C");  // between marks of its direction
  }
}

}  // namespace
}  // namespace cronvel
