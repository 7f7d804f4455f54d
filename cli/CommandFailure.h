#pragma once

#include <stdexcept>
#include <string>

#include "runtime/RunTimeError.h"

namespace cronvel {

/// What the command tells the shell; scripts rely on the numbers.
enum class ExitStatus : int {
  done = 0,
  refused = 1,  ///< the terminal refused or did not answer, or its records are not whole
  wrongUse = 2,
  error = 3,
  interrupted = 130,
};

/// Ends a command: `what()` is one sentence for the person at the shell.
class CommandFailure : public std::runtime_error {
 public:
  CommandFailure(ExitStatus status, const std::string& sentence)
      : std::runtime_error(sentence), mStatus(status) {}
  explicit CommandFailure(const RunTimeError& error)
      : CommandFailure(
            ExitStatus::error,
            "error " + std::to_string(static_cast<int>(error.number())) + ": " + error.what()) {}

  ExitStatus status() const { return mStatus; }

 private:
  ExitStatus mStatus;
};

}  // namespace cronvel
