#include <iostream>

#include "platform/Console.h"
#include "platform/system/Machine.h"
#include "runtime/Text.h"

namespace cronvel {
namespace {

class PosixMsgBox : public MsgBox {
 public:
  Answer show(const std::u16string& prompt, Buttons buttons, const std::u16string& title) override {
    std::cerr << toUtf8(title) << ": " << toUtf8(prompt);
    const Answer answer = buttons == Buttons::yesNo ? ask() : Answer::ok;
    if (answer == Answer::ok) std::cerr << '\n';
    return answer;
  }

 private:
  static Answer ask() {
    if (!isTerminal(0)) {
      std::cerr << " [no]\n";
      return Answer::no;
    }
    std::cerr << " [y/N] " << std::flush;
    std::string line;
    std::getline(std::cin, line);
    const auto first = line.find_first_not_of(' ');
    return first != std::string::npos && (line[first] == 'y' || line[first] == 'Y') ? Answer::yes
                                                                                    : Answer::no;
  }
};

}  // namespace

std::unique_ptr<MsgBox> makeMsgBox() { return std::make_unique<PosixMsgBox>(); }

}  // namespace cronvel
