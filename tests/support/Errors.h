#pragma once

#include <string>

#include "runtime/RunTimeError.h"

namespace cronvel::test {

/// The text of the error that the call ends with; empty for none.
template <typename Call>
std::string messageOf(Call&& call, int* number = nullptr) {
  try {
    call();
  } catch (const RunTimeError& error) {
    if (number != nullptr) *number = static_cast<int>(error.number());
    return error.what();
  }
  return {};
}

/// Its number; 0 for none.
template <typename Call>
int errorOf(Call&& call) {
  int number = 0;
  messageOf(call, &number);
  return number;
}

}  // namespace cronvel::test
