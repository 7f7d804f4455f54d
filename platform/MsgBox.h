#pragma once

#include <string>

namespace cronvel {

/// A modal message to the person at the machine.
class MsgBox {
 public:
  enum class Buttons { ok, yesNo };
  enum class Answer { ok, yes, no };

  virtual ~MsgBox() = default;
  /// Shows the prompt and returns when it was answered. Outside Windows it is printed to standard
  /// error and a question is asked on the terminal. Where nobody can see it (no terminal; a
  /// service, a scheduled task) the answer is `no`.
  virtual Answer show(const std::u16string& prompt, Buttons buttons,
                      const std::u16string& title) = 0;
};

}  // namespace cronvel
