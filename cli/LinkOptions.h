#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "runtime/Variant.h"

namespace CLI {
class App;
}

namespace cronvel {

/// How to reach the terminal, as given on the command line.
struct LinkOptions {
  std::string port;  ///< a port number or a path
  std::string host;  ///< HOST or HOST:PORT
  std::optional<int> listenPort;
  std::string telephone;  ///< dialled first; empty: no modem
  std::string settingsFile;
  /// The control's persisted properties that an option of their own sets, by key.
  std::map<std::string, Variant, std::less<>> properties;
  bool trace = false;

  bool onNetwork() const { return !host.empty() || listenPort.has_value(); }
};

/// The options that every command on a terminal takes.
void addLinkOptions(CLI::App& app, LinkOptions& link);
void addDevice(CLI::App& app, LinkOptions& link);
void addPortNumber(CLI::App& app, LinkOptions& link);
void addSpeed(CLI::App& app, LinkOptions& link);
void addIdDigits(CLI::App& app, LinkOptions& link);
void addSettingsFile(CLI::App& app, LinkOptions& link);

/// The environment's port for a command line that names none.
inline constexpr const char* portVariable = "CRONVEL_PORT";

}  // namespace cronvel
