#include "platform/system/Machine.h"
#include "platform/win32/Module.h"

namespace cronvel {
namespace {

enum class Direction { none, leftToRight, rightToLeft };

/// What a character says about the direction of the text that it is in.
Direction directionOf(char16_t c) {
  const auto within = [c](char16_t first, char16_t last) { return c >= first && c <= last; };
  if (within(u'\u0660', u'\u0669') || within(u'\u06F0', u'\u06F9'))
    return Direction::none;  // digits
  if (within(u'\u0590', u'\u08FF') || within(u'\uFB1D', u'\uFDFF') || within(u'\uFE70', u'\uFEFC'))
    return Direction::rightToLeft;
  if (within(u'\u2000', u'\u2BFF') || within(u'\u3000', u'\u303F')) return Direction::none;
  if (within(u'A', u'Z') || within(u'a', u'z') || c >= u'\u00C0') return Direction::leftToRight;
  return Direction::none;
}

bool isRightToLeft(const std::u16string& text) {
  for (const char16_t c : text) {
    const Direction direction = directionOf(c);
    if (direction != Direction::none) return direction == Direction::rightToLeft;
  }
  return false;
}

/// Whether there is a person's desktop: services and scheduled tasks have one that nobody sees,
/// where a box would stand for ever.
bool somebodySees() {
  USEROBJECTFLAGS flags{};
  return GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags,
                                   nullptr) == 0 ||
         (flags.dwFlags & WSF_VISIBLE) != 0;
}

class Win32MsgBox : public MsgBox {
 public:
  Answer show(const std::u16string& prompt, Buttons buttons, const std::u16string& title) override {
    if (!somebodySees()) return buttons == Buttons::ok ? Answer::ok : Answer::no;
    const HWND owner = GetActiveWindow();
    UINT style = buttons == Buttons::yesNo ? MB_YESNO : MB_OK;
    if (owner == nullptr) style |= MB_TASKMODAL | MB_SETFOREGROUND;
    std::u16string text = prompt;
    if (isRightToLeft(prompt)) {
      style |= MB_RTLREADING | MB_RIGHT;
      text = u"\u202B" + prompt + u"\u202C";  // for systems that pass over the style
    }
    const int answer = MessageBoxW(owner, wide(text), wide(title), style);
    if (buttons == Buttons::ok) return Answer::ok;
    return answer == IDYES ? Answer::yes : Answer::no;
  }
};

}  // namespace

std::unique_ptr<MsgBox> makeMsgBox() { return std::make_unique<Win32MsgBox>(); }

}  // namespace cronvel
