#pragma once

#include <functional>
#include <string>

#include "cli/CommandFailure.h"
#include "cli/Commands.h"
#include "cli/TerminalSession.h"

namespace cronvel {

/// A subcommand that carries out one command on one terminal.
struct TerminalTask {
  enum class Network { connects, listens, none };

  std::string name;
  std::string help;
  const char* group = terminalGroup;
  Network network = Network::connects;
  /// Adds the subcommand's own arguments.
  std::function<void(CLI::App&)> arguments = {};
  /// Reads the arguments, before anything is opened; fails with `wrongUse`.
  std::function<void()> check = {};
  /// Does it. The text is the `sRemoteHost` for the control.
  std::function<void(TerminalSession&, const std::u16string& host)> run = {};
};

CLI::App* addTerminalTask(CLI::App& parent, Shell shell, TerminalTask task);

/// Runs a call of the control with a yes or no result; says `done` or fails.
template <typename Call>
void require(TerminalSession& session, const std::string& done, Call call) {
  if (!session.run(call)) throw session.failure("it did not answer with success");
  session.say(done);
}

/// The same for a call that returns the terminal's reply byte.
template <typename Call>
void requireReply(TerminalSession& session, const std::string& done, Call call) {
  constexpr int success = 24;
  require(session, done, [&](Cronvel& c) { return call(c) == success; });
}

}  // namespace cronvel
