#include <thread>

#include "tests/platform/PlatformTest.h"

namespace cronvel {
namespace {

/// The host runs its own message loop, as a form's program does, and never calls the pump.
template <typename Test>
class HostLoop : public Test {
 protected:
  HostLoop() {
    this->turn = [this] {
      MSG message{};
      GetMessageW(&message, nullptr, 0, 0);
      TranslateMessage(&message);
      DispatchMessageW(&message);
      ++messages;
    };
  }
  ~HostLoop() override { KillTimer(nullptr, mTick); }

  int messages = 0;

 private:
  UINT_PTR mTick = SetTimer(nullptr, 0, 20, nullptr);  // the loop gets to look at the time
};
using HostSocketTest = HostLoop<SocketTest>;
using HostSerialTest = HostLoop<SerialTest>;

TEST_F(HostSocketTest, SocketsWorkAndRestCostsNothing) {
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
  client().Close();
  client().RemotePort(1);
  client().Connect(u"127.0.0.1");
  EXPECT_TRUE(reaches(client(), sckError));
}

TEST_F(HostSerialTest, TimersAndTheSerialPortWork) {
  open();
  for (std::uint8_t i = 0; i < 20; ++i) {
    const int before = events;
    line->send(Bytes{i});
    ASSERT_TRUE(pumpUntil([&] { return events > before; })) << int{i};
    EXPECT_EQ(port->Input(), Bytes{i});
  }

  EXPECT_TRUE(timerTicks(30, 5));
}

using Win32PumpTest = PlatformTest;

int hostTicks = 0;
void CALLBACK countTick(HWND, UINT, UINT_PTR, DWORD) { ++hostTicks; }

TEST_F(Win32PumpTest, TheHostsMessagesAreDispatchedAndTheEndOfItsProgramLeftToItsOwnLoop) {
  const UINT_PTR tick = SetTimer(nullptr, 0, 10, &countTick);
  EXPECT_TRUE(pumpUntil([&] { return hostTicks >= 3; }));
  KillTimer(nullptr, tick);
  EXPECT_LT(passesIn(50), 60);

  PostQuitMessage(7);
  EXPECT_LT(passesIn(50), 60);  // waits do not spin
  EXPECT_TRUE(timerTicks(5, 2));
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) != 0) DispatchMessageW(&message);
  EXPECT_EQ(message.wParam, 7U);
}

TEST_F(Win32PumpTest, AMessageBoxShowsWhatItIsTold) {
  using Answer = MsgBox::Answer;
  for (const auto& [press, answer] :
       {std::pair(IDOK, Answer::ok), {IDYES, Answer::yes}, {IDNO, Answer::no}}) {
    std::wstring seen;
    std::jthread person([&, press = press](const std::stop_token& answered) {
      while (!answered.stop_requested()) {
        Sleep(20);
        const HWND box = FindWindowW(L"#32770", L"Cronvel test");
        if (box == nullptr || !IsWindowVisible(box)) continue;
        std::wstring text(20, L'\0');
        GetWindowTextW(GetDlgItem(box, 0xFFFF), text.data(), static_cast<int>(text.size()));
        seen = text.c_str();
        for (const int button : {IDOK, IDCANCEL, IDYES, IDNO})
          if (GetDlgItem(box, button) != nullptr) seen += L" " + std::to_wstring(button);
        SendMessageW(box, WM_COMMAND, static_cast<WPARAM>(press), 0);
      }
    });
    const auto buttons = press == IDOK ? MsgBox::Buttons::ok : MsgBox::Buttons::yesNo;
    EXPECT_EQ(platform->msgBox().show(u"\u0633\u0644", buttons, u"Cronvel test"), answer);
    person.request_stop();
    person.join();
    // The text stands between the marks of its direction.
    EXPECT_EQ(seen,
              press == IDOK ? L"\u202B\u0633\u0644\u202C 1" : L"\u202B\u0633\u0644\u202C 6 7");
  }
}

}  // namespace
}  // namespace cronvel
