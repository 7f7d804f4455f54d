#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <thread>

#include "platform/Platform.h"
#include "runtime/RunTimeError.h"
#include "tests/support/TestFolder.h"

namespace cronvel::test {

/// In single quotes, for a command line.
inline std::string shellQuoted(const std::string& text) { return "'" + text + "'"; }

/// The command's exit status as the system reports it.
inline int shell(const std::string& command) { return std::system(command.c_str()); }

/// Looks again and again, for a minute at most.
inline bool waitUntil(const std::function<bool()>& condition) {
  for (int i = 0; i < 3000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

/// A port from there on that nobody has. Not one that the system gives to connections, where any
/// program's may take it before it is listened on.
inline int freePort(Platform& platform, int from) {
  const auto sockets = platform.makeSocketArray();
  for (int port = from + getpid() % 400 * 25;; ++port) try {
      sockets->at(0).LocalPort(port);
      sockets->at(0).Listen();
      return port;
    } catch (const RunTimeError&) {  // somebody has it
    }
}

/// A running cronvel-terminal, ended with this.
class SimulatedTerminal {
 public:
  explicit SimulatedTerminal(const std::string& options) {
    // Not under timeout(1): the SIGCONT that it sends behind its signal can hang the leak checker.
    const auto unlessGiven = [&options](const std::string& option, const std::string& value) {
      return (" " + options).find(option) == std::string::npos ? option + value : std::string();
    };
    // It looks at the line's speed when its delay ends: give a busy machine time to switch it.
    const std::string usual = unlessGiven(" --seconds ", "120 ") + unlessGiven(" --delay ", "300 ");
    // A pty tells the parity of now, not of the byte: it must be read within a byte's pause, 50 ms.
    shell("nice -n -10 " CRONVEL_TERMINAL + usual + " " + options + " </dev/null >" +
          shellQuoted(mFolder.path("out")) + " 2>&1 & echo $! >" +
          shellQuoted(mFolder.path("pid")));
  }

  ~SimulatedTerminal() {
    std::string pid;
    std::istringstream(mFolder.read("pid")) >> pid;
    if (pid.empty()) return;
    shell("kill " + pid + " 2>/dev/null");
    EXPECT_TRUE(waitUntil([&] { return shell("kill -0 " + pid + " 2>/dev/null") != 0; }))
        << "the terminal does not end";
  }

  SimulatedTerminal(const SimulatedTerminal&) = delete;
  SimulatedTerminal& operator=(const SimulatedTerminal&) = delete;

  /// What stands behind `label` in its first lines: the path or port that it got.
  std::string announced(const std::string& label) const {
    std::string value;
    EXPECT_TRUE(waitUntil([&] {
      const std::string text = mFolder.read("out");
      const std::size_t at = text.find(label);
      if (at == std::string::npos || text.find('\n', at) == std::string::npos) return false;
      std::istringstream(text.substr(at + label.size())) >> value;
      return true;
    })) << mFolder.read("out");
    return value;
  }
  std::string line() const { return announced("serial line: "); }
  std::string port() const { return announced("listening on port "); }

 private:
  TestFolder mFolder;
};

}  // namespace cronvel::test
