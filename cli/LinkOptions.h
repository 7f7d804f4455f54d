#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

namespace cronvel {

/// How to reach the terminal, as given on the command line.
struct LinkOptions {
  std::string port;  ///< a port number or a path
  std::string host;  ///< HOST or HOST:PORT
  std::optional<int> listenPort;
  std::optional<int> device;
  std::optional<int> idDigits;
  std::string speed;
  std::string settingsFile;
  std::string telephone;  ///< dialled first; empty: no modem
  bool trace = false;

  bool onNetwork() const { return !host.empty() || listenPort.has_value(); }
};

/// The options that every command on a terminal takes.
void addLinkOptions(CLI::App& app, LinkOptions& link);
void addSpeed(CLI::App& app, LinkOptions& link);
void addIdDigits(CLI::App& app, LinkOptions& link);
void addSettingsFile(CLI::App& app, LinkOptions& link);

/// Fills in the port from the environment or the settings file where neither port nor host was
/// chosen. Fails with `wrongUse` for a choice that is missing or contradicts itself.
void chooseLink(LinkOptions& link);

struct HostAndPort {
  std::string host;
  int port = 8085;
};
HostAndPort parseHost(const std::string& text);

}  // namespace cronvel
