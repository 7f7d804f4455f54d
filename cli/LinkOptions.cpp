#include "cli/LinkOptions.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "cli/Arguments.h"
#include "cli/CommandFailure.h"

namespace cronvel {

namespace {

constexpr const char* linkGroup = "How to reach the terminal";
constexpr const char* portVariable = "CRONVEL_PORT";
constexpr const char* speeds = "110, 150, 300, 600, 1200, 2400, 4800, 9600 or 19200";

bool isTerminalSpeed(const std::string& speed) {
  constexpr std::array known = {"110",  "150",  "300",  "600",  "1200",
                                "2400", "4800", "9600", "19200"};
  return std::find(known.begin(), known.end(), speed) != known.end();
}

/// An option whose text must not be empty: an unset shell variable is a mistake worth a message.
CLI::Option* addText(CLI::App& app, const std::string& name, std::string& value,
                     const std::string& type, const std::string& help) {
  const auto take = [&value, name](const std::string& text) {
    if (text.empty()) throw CommandFailure(ExitStatus::wrongUse, name + " is empty");
    value = text;
  };
  return app.add_option_function<std::string>(name, take, help)->type_name(type);
}

}  // namespace

void addSpeed(CLI::App& app, LinkOptions& link) {
  const auto take = [&link](const std::string& text) {
    if (!isTerminalSpeed(text))
      throw CommandFailure(
          ExitStatus::wrongUse,
          "--speed: terminals stream at " + std::string(speeds) + ", not at \"" + text + "\"");
    link.speed = text;
  };
  app.add_option_function<std::string>(
         "--speed", take, "Speed of the records on the serial line, 110 to 19200 (default 9600)")
      ->type_name("BPS")
      ->group(linkGroup);
}

void addIdDigits(CLI::App& app, LinkOptions& link) {
  const auto take = [&link](const std::string& text) {
    link.idDigits = parseNumber(text, 2, 38, "--id-digits");
    if (*link.idDigits % 2 != 0)
      throw CommandFailure(ExitStatus::wrongUse,
                           "--id-digits: " + text + " is odd, but two digits share a byte");
  };
  app.add_option_function<std::string>("--id-digits", take,
                                       "Digits of a card number, even (default 4)")
      ->type_name("N");
}

void addSettingsFile(CLI::App& app, LinkOptions& link) {
  addText(app, "--settings", link.settingsFile, "FILE",
          "Take what is not given here from this file (see cronvel settings)");
}

void addLinkOptions(CLI::App& app, LinkOptions& link) {
  addText(app, "--port", link.port, "N|PATH",
          "Serial port, by number or path (default: $" + std::string(portVariable) + ")")
      ->group(linkGroup);
  addText(app, "--host", link.host, "HOST[:PORT]",
          "Network: connect to this host (port 8085 unless given)")
      ->group(linkGroup);
  addNumber(app, "--listen", link.listenPort, 1, 65535,
            "Network: the terminal connects in to this port of the PC")
      ->type_name("PORT")
      ->group(linkGroup);
  addText(app, "--tel", link.telephone, "NUMBER",
          "A modem is at the serial port: dial this number first, hang up afterwards")
      ->group(linkGroup);
  addNumber(app, "--device", link.device, 0, 99, "Number of the terminal (default 1)")
      ->group(linkGroup);
  addSettingsFile(app, link);
  app.get_option("--settings")->group(linkGroup);
  app.add_flag("--trace", link.trace, "Write what goes over the line to standard error, with times")
      ->group(linkGroup);
}

void chooseLink(LinkOptions& link) {
  if (link.onNetwork()) {
    if (!link.telephone.empty())
      throw CommandFailure(ExitStatus::wrongUse,
                           "--tel dials through a modem at a serial port: give --port with it");
    if (!link.port.empty())
      throw CommandFailure(ExitStatus::wrongUse,
                           "choose the serial line (--port) or the network (--host, --listen), "
                           "not both");
    return;
  }
  if (!link.port.empty() || !link.settingsFile.empty()) return;
  if (const char* port = std::getenv(portVariable)) link.port = port;
  if (link.port.empty())
    throw CommandFailure(ExitStatus::wrongUse,
                         "say where the terminal is: --port for a serial port (or " +
                             std::string(portVariable) +
                             " in the environment), --host to connect over the network, --listen "
                             "for a terminal that connects in");
}

HostAndPort parseHost(const std::string& text) {
  HostAndPort parsed;
  const std::size_t colon = text.rfind(':');
  parsed.host = text.substr(0, colon);
  if (colon != std::string::npos)
    parsed.port = parseNumber(std::string_view(text).substr(colon + 1), 1, 65535, "--host, port");
  if (parsed.host.find_first_not_of(' ') == std::string::npos)
    throw CommandFailure(ExitStatus::wrongUse, "--host: \"" + text + "\" names no host");
  return parsed;
}

}  // namespace cronvel
