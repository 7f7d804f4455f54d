#pragma once

#include <stdexcept>
#include <string>

#include "cli/ExitStatus.h"
#include "runtime/RunTimeError.h"

namespace cronvel {

/// Ends a command: `what()` is one sentence for the person at the shell.
class CommandFailure : public std::runtime_error {
 public:
  CommandFailure(ExitStatus status, const std::string& sentence)
      : std::runtime_error(sentence), mStatus(status) {}
  explicit CommandFailure(const RunTimeError& error)
      : CommandFailure(
            statusOf(static_cast<int>(error.number())),
            "error " + std::to_string(static_cast<int>(error.number())) + ": " + error.what()) {}

  ExitStatus status() const { return mStatus; }

 private:
  ExitStatus mStatus;
};

}  // namespace cronvel
