#include <windows.h>

#include <array>
#include <deque>
#include <thread>

#include "runtime/Text.h"
#include "tests/support/ControlTest.h"

namespace cronvel::test {
namespace {

/// A person who answers message boxes and remembers them: "title: text [button] [button]".
class Person {
 public:
  explicit Person(std::deque<int> answers)
      : mAnswers(std::move(answers)), mThread([this](std::stop_token stop) { watch(stop); }) {}

  std::vector<std::string> seen() {
    mThread.request_stop();
    mThread.join();
    return mSeen;
  }

 private:
  static std::string textOf(HWND window) {
    std::array<wchar_t, 300> text{};
    GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
    std::string found;
    // The marks that set the direction are no part of the text.
    for (const wchar_t c : std::wstring(text.data()))
      if (c != L'\u202B' && c != L'\u202C')
        found += toUtf8(std::u16string(1, static_cast<char16_t>(c)));
    return found;
  }

  void watch(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
      Sleep(10);
      HWND box = FindWindowW(L"#32770", nullptr);
      if (box == nullptr || !IsWindowVisible(box)) continue;
      std::string description = textOf(box) + ": " + textOf(GetDlgItem(box, 0xFFFF));
      constexpr std::array<std::pair<int, const char*>, 4> buttons = {
          {{IDOK, "[OK]"}, {IDYES, "[Yes]"}, {IDNO, "[No]"}, {IDCANCEL, "[Cancel]"}}};
      for (const auto& [id, name] : buttons)
        if (GetDlgItem(box, id) != nullptr) description += std::string(" ") + name;
      mSeen.push_back(description);
      const int answer = mAnswers.empty() ? IDOK : mAnswers.front();
      if (!mAnswers.empty()) mAnswers.pop_front();
      SendMessageW(box, WM_COMMAND, static_cast<WPARAM>(answer), 0);
      while (IsWindow(box)) Sleep(5);
    }
  }

  std::deque<int> mAnswers;
  std::vector<std::string> mSeen;
  std::jthread mThread;
};

class BoxingPlatform : public FakePlatform {
 public:
  MsgBox& msgBox() override { return mReal->msgBox(); }

 private:
  std::unique_ptr<Platform> mReal = Platform::createUntraced();
};

class MsgBoxTest : public testing::Test {
 protected:
  MsgBoxTest() {
    platform.time.stepPerRead = 1000;  // the calibration divides by the time that passes
    control = std::make_unique<Cronvel>(platform, container, events);
    platform.time.stepPerRead = 0;
    control->TelNum(u"7788");
  }
  void busyAfterDial(std::size_t dials) {
    const std::string busy = "BUSY";
    platform.terminal.replyAfter(dials * 10, 1, Bytes(busy.begin(), busy.end()));
  }

  BoxingPlatform platform;
  Container container;
  RecordingEvents events;
  std::unique_ptr<Cronvel> control;
};

const std::string busyBox = "اشغال خط: خط مشغول است.آيا دوباره سعي شود؟ [Yes] [No]";

TEST_F(MsgBoxTest, DialShowsEachOutcome) {
  Person busy({IDYES, IDNO});
  busyAfterDial(1);
  busyAfterDial(2);
  EXPECT_EQ(control->Dial(), 2);
  EXPECT_EQ(busy.seen(), (std::vector<std::string>{busyBox, busyBox}));

  Person noCarrier({IDOK});
  EXPECT_EQ(control->Dial(), 3);
  EXPECT_EQ(noCarrier.seen(), std::vector<std::string>{"خطا: اشكال در ارتباط با مودم؟ [OK]"});

  Person connected({IDOK});
  platform.time.after(1, [this] { platform.port->carrier = true; });
  EXPECT_EQ(control->Dial(), 0);
  EXPECT_EQ(connected.seen(), std::vector<std::string>{"ارتباط: ارتباط برقرار شد. [OK]"});

  Person hungUp({IDOK});
  EXPECT_TRUE(control->Hangup());
  EXPECT_EQ(hungUp.seen(), std::vector<std::string>{"ارتباط: ارتباط قطع شد [OK]"});

  Person invalid({IDOK});
  control->TelNum(u"0");
  EXPECT_EQ(control->Dial(), 4);
  EXPECT_EQ(invalid.seen(),
            std::vector<std::string>{"ارتباط مودم: شماره تلفن داده شده معتبر نمي باشد. [OK]"});
}

TEST_F(MsgBoxTest, ACommandWithoutACarrierSaysSo) {
  Person person({IDOK});
  control->DialupConnection(true);
  EXPECT_FALSE(control->ResetMem(u""));
  EXPECT_EQ(person.seen(), std::vector<std::string>{
                               "ارتباط مودم: ارتباط برقرار نيست. ابتدا شماره گيري كنيد. [OK]"});
}

}  // namespace
}  // namespace cronvel::test
