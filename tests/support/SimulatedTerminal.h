#pragma once

#include <functional>
#include <string>

#include "tests/support/TestFolder.h"

namespace cronvel::test {

/// In single quotes, for a command line.
std::string shellQuoted(const std::string& text);
/// The command's exit status as the system reports it.
int shell(const std::string& command);
/// Looks again and again, for a minute at most.
bool waitUntil(const std::function<bool()>& condition);

/// A running cronvel-terminal, ended with this.
class SimulatedTerminal {
 public:
  explicit SimulatedTerminal(const std::string& options);
  ~SimulatedTerminal();
  SimulatedTerminal(const SimulatedTerminal&) = delete;
  SimulatedTerminal& operator=(const SimulatedTerminal&) = delete;

  /// What stands behind `label` in its first lines: the path or port that it got.
  std::string announced(const std::string& label) const;
  std::string line() const { return announced("serial line: "); }
  std::string port() const { return announced("listening on port "); }

 private:
  TestFolder mFolder;
};

}  // namespace cronvel::test
