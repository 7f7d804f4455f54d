#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/Invocation.h"

namespace CLI {
class App;
}

namespace cronvel {

// What the parser fills in; it is there when the command is prepared.
using Text = std::shared_ptr<std::string>;
using Texts = std::shared_ptr<std::vector<std::string>>;
using Number = std::shared_ptr<std::optional<int>>;
using Flag = std::shared_ptr<bool>;
using LinkChoice = std::shared_ptr<LinkOptions>;

/// What is done with one terminal. The text is the `sRemoteHost` for the control.
using TerminalAction = std::function<void(TerminalSession&, const std::u16string& host)>;

/// A command as the command line knows it: what its help says, its arguments or its subcommands,
/// and the invocation that its arguments come to. The parser keeps it; this is a view of it.
class Command {
 public:
  /// The whole command line. The subcommand that it names leaves its invocation in `prepared`.
  Command(CLI::App& app, std::optional<Invocation>& prepared) : mApp(app), mPrepared(prepared) {}

  static constexpr const char* people = "Commands about people";
  static constexpr const char* terminal = "Commands for a terminal";
  static constexpr const char* files = "Commands for files";

  /// A subcommand of this one.
  Command add(const std::string& name, const std::string& help, const char* group = terminal) const;
  /// A subcommand that has subcommands of its own.
  Command addFamily(const std::string& name, const std::string& help, const char* group) const;

  std::string name() const;
  void footer(const std::string& text) const;
  /// A text that must be given.
  Text argument(const std::string& name, const std::string& help) const;
  /// Texts that must be given; `count` of them unless 0.
  Texts arguments(const std::string& name, const std::string& help, int count = 0) const;
  /// Texts that may be left out.
  Texts optionalArguments(const std::string& name, const std::string& help) const;
  Text option(const std::string& name, const std::string& type, const std::string& help) const;
  Number number(const std::string& name, int lowest, int highest, const std::string& help,
                const std::string& type = "N") const;
  Flag flag(const std::string& name, const std::string& help) const;
  /// The options that every command on a terminal takes.
  LinkChoice link() const;
  /// Only those that `adders` add.
  LinkChoice link(std::initializer_list<void (*)(CLI::App&, LinkOptions&)> adders) const;

  /// Called once the whole command line was read: reads and checks the arguments. Fails with
  /// `wrongUse`.
  void prepare(std::function<Invocation()> prepare) const;

  /// Which side connects on the network: a member of `Link`.
  using Direction = Peer (Link::*)(const std::string& command) const;
  /// The same for one command on one terminal: adds the link's options, and completes and checks
  /// them after its own arguments.
  void prepareTask(const std::function<TerminalAction()>& prepare,
                   Direction direction = &Link::connects) const;

 private:
  CLI::App& mApp;
  std::optional<Invocation>& mPrepared;
};

/// One call of the control with a yes or no result; says `done` or fails.
TerminalAction requireSuccess(std::string done,
                              std::function<bool(Cronvel&, const std::u16string& host)> call);

// The families of subcommands, each in the file of its name: a subcommand is added there only.

void addTerminalCommands(const Command& cronvel, const Io& io);
void addDeviceCommands(const Command& cronvel);
void addDownloadCommand(const Command& cronvel);
void addCardCommands(const Command& cronvel, const Io& io);
void addPeopleCommands(const Command& cronvel);
void addTextCommand(const Command& cronvel);
void addMonitorCommand(const Command& cronvel);
void addFileCommands(const Command& cronvel);
void addSettingsCommand(const Command& cronvel);

}  // namespace cronvel
