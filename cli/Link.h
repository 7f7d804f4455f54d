#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "cli/LinkOptions.h"
#include "host/PropertyBagFile.h"

namespace cronvel {

/// The number of the serial port that a device given by its path takes.
inline constexpr std::int16_t mappedPort = 1;

/// The other end of one command.
struct Peer {
  enum class Kind {
    line,    ///< the terminal on the serial line
    host,    ///< a host that the PC connects to
    caller,  ///< a terminal that connects in to a port of the PC
  };
  Kind kind = Kind::line;
  std::string host = {};
  int port = 0;
};

/// How the terminal is reached and the control set up for it: checked, and completed from the
/// environment and the settings file. Nothing of it is looked up again.
class Link {
 public:
  /// Only the control's properties, for a command that reaches no terminal. Raises what reading the
  /// settings file raises.
  static Link nowhere(const LinkOptions& options) { return Link(options); }
  /// Fails with `wrongUse` for a choice that is missing or contradicts itself.
  static Link toTerminal(const LinkOptions& options);

  // Each fails with `wrongUse` where the link is not one for such a command; `command` is the name
  // for that message.

  /// For a command that connects to the terminal.
  Peer connects(const std::string& command) const;
  /// For a command to which the terminal connects in.
  Peer listens(const std::string& command) const;
  /// For a command that is not known on the network.
  Peer serialOnly(const std::string& command) const;

  bool onNetwork() const { return !host().empty() || listenPort(); }
  const std::string& host() const { return mOptions.host; }
  const std::optional<int>& listenPort() const { return mOptions.listenPort; }
  /// The control's persisted properties: the settings file's, the options' before them.
  const PropertyBagFile& properties() const { return mProperties; }
  /// The device that stands for `mappedPort`; empty: the ports are the system's.
  const std::string& portPath() const { return mPortPath; }
  bool dials() const { return !mOptions.telephone.empty(); }
  bool trace() const { return mOptions.trace; }

 private:
  explicit Link(LinkOptions options);
  void takePort();

  LinkOptions mOptions;
  PropertyBagFile mProperties;
  std::string mPortPath;
};

}  // namespace cronvel
