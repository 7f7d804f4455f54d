#include "cli/Link.h"

#include <cstdlib>
#include <utility>

#include "cli/Arguments.h"
#include "cli/CommandFailure.h"
#include "control/PersistedProperties.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

CommandFailure wrongUse(const std::string& sentence) { return {ExitStatus::wrongUse, sentence}; }

void requireOneWay(const LinkOptions& options) {
  if (!options.telephone.empty())
    throw wrongUse("--tel dials through a modem at a serial port: give --port with it");
  if (!options.port.empty())
    throw wrongUse("choose the serial line (--port) or the network (--host, --listen), not both");
}

/// The port of the environment, for a command line that names neither a port nor a settings file.
std::string usualPort() {
  const char* port = std::getenv(portVariable);
  if (port == nullptr || *port == '\0')
    throw wrongUse("say where the terminal is: --port for a serial port (or " +
                   std::string(portVariable) +
                   " in the environment), --host to connect over the network, --listen for a "
                   "terminal that connects in");
  return port;
}

bool isNumber(const std::string& text) {
  return text.find_first_not_of("0123456789") == std::string::npos;
}

/// HOST or HOST:PORT.
Peer parseHost(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (text.find(':') != colon)
    throw wrongUse("--host: \"" + text +
                   "\" is an IPv6 address; terminals have IPv4 addresses or "
                   "names");
  Peer peer{Peer::Kind::host, text.substr(0, colon), 8085};
  if (colon != std::string::npos)
    peer.port = parseNumber(std::string_view(text).substr(colon + 1), 1, 65535, "--host, port");
  if (peer.host.find_first_not_of(' ') == std::string::npos)
    throw wrongUse("--host: \"" + text + "\" names no host");
  return peer;
}

}  // namespace

Link Link::toTerminal(const LinkOptions& options) {
  LinkOptions complete = options;
  if (options.onNetwork())
    requireOneWay(options);
  else if (options.port.empty() && options.settingsFile.empty())
    complete.port = usualPort();
  return Link(std::move(complete));
}

Link::Link(LinkOptions options) : mOptions(std::move(options)) {
  if (!mOptions.settingsFile.empty()) mProperties = PropertyBagFile::load(mOptions.settingsFile);
  if (!mOptions.port.empty()) takePort();
  if (dials()) mOptions.properties["TelNum"] = toUtf16(mOptions.telephone);
  for (const auto& [key, value] : mOptions.properties) mProperties.WriteProperty(key, value, {});
  for (const PersistedProperty& property : persistedProperties())  // raises what is wrong with one
    mProperties.ReadProperty(property.key, property.defaultValue);
}

void Link::takePort() {
  std::int16_t number = mappedPort;
  if (isNumber(mOptions.port))
    number = static_cast<std::int16_t>(parseNumber(mOptions.port, 0, 32767, "--port"));
  else
    mPortPath = mOptions.port;
  mOptions.properties["CommPort"] = number;
}

Peer Link::connects(const std::string& command) const {
  if (!onNetwork()) return {};
  if (host().empty())
    throw wrongUse("over the network " + command +
                   " connects to the terminal: give --host HOST[:PORT]; with --listen terminals "
                   "connect in, for test, download or monitor");
  return parseHost(host());
}

Peer Link::listens(const std::string& command) const {
  if (!onNetwork()) return {};
  if (!listenPort())
    throw wrongUse("over the network " + command +
                   " waits for the terminal to connect in: give --listen PORT; most other commands "
                   "connect to it with --host");
  return {.kind = Peer::Kind::caller, .port = *listenPort()};
}

Peer Link::serialOnly(const std::string& command) const {
  if (onNetwork())
    throw wrongUse(command + " works only over the serial line or a modem: give --port");
  return {};
}

}  // namespace cronvel
