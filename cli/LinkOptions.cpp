#include "cli/LinkOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "cli/Arguments.h"
#include "cli/CommandFailure.h"
#include "records/StreamSpeeds.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

constexpr const char* linkGroup = "How to reach the terminal";

/// "110, 150, ... or 19200"
std::string knownSpeeds() {
  std::string text;
  for (const StreamSpeed& speed : streamSpeeds()) {
    const bool last = &speed == &streamSpeeds().back();
    text += (text.empty() ? "" : last ? " or " : ", ") + toUtf8(speed.text);
  }
  return text;
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

/// An option that sets a property of the control to what `read` makes of its text.
CLI::Option* addProperty(CLI::App& app, LinkOptions& link, const std::string& name,
                         const std::string& key,
                         std::function<Variant(const std::string& text)> read,
                         const std::string& help) {
  const auto take = [&link, key, read = std::move(read)](const std::string& text) {
    link.properties[key] = read(text);
  };
  return app.add_option_function<std::string>(name, take, help);
}

std::function<Variant(const std::string&)> number(const std::string& name, int lowest,
                                                  int highest) {
  return [=](const std::string& text) {
    return static_cast<std::int16_t>(parseNumber(text, lowest, highest, name));
  };
}

Variant readSpeed(const std::string& text) {
  const std::u16string wanted = toUtf16(text);
  if (std::ranges::none_of(streamSpeeds(), [&](const auto& speed) { return speed.text == wanted; }))
    throw CommandFailure(ExitStatus::wrongUse, "--speed: terminals stream at " + knownSpeeds() +
                                                   ", not at \"" + text + "\"");
  return wanted;
}

Variant readIdDigits(const std::string& text) {
  const int digits = parseNumber(text, 2, 38, "--id-digits");
  if (digits % 2 != 0)
    throw CommandFailure(ExitStatus::wrongUse,
                         "--id-digits: " + text + " is odd, but two digits share a byte");
  return static_cast<std::int16_t>(digits);
}

/// What a modem dials: it begins with a digit, and pauses and the like may follow.
std::string readTelephone(const std::string& text) {
  const bool dialled = text.find_first_not_of("0123456789*#,-() wWpPtT") == std::string::npos;
  if (text.empty() || !dialled || text[0] < '0' || text[0] > '9' || text == "0")
    throw CommandFailure(ExitStatus::wrongUse, "--tel: \"" + text +
                                                   "\" is no telephone number, which begins with a "
                                                   "digit");
  return text;
}

}  // namespace

void addSpeed(CLI::App& app, LinkOptions& link) {
  addProperty(app, link, "--speed", "BPS", readSpeed,
              "Speed of the records on the serial line, 110 to 19200 (default 9600)")
      ->type_name("BPS")
      ->group(linkGroup);
}

void addIdDigits(CLI::App& app, LinkOptions& link) {
  addProperty(app, link, "--id-digits", "IdLen", readIdDigits,
              "Digits of a card number, even (default 4)")
      ->type_name("N");
}

void addPortNumber(CLI::App& app, LinkOptions& link) {
  addProperty(app, link, "--port", "CommPort", number("--port", 1, 32767), "Serial port, by number")
      ->type_name("N");
}

void addDevice(CLI::App& app, LinkOptions& link) {
  addProperty(app, link, "--device", "DeviceNum", number("--device", 0, 159),
              "Number of the terminal")
      ->type_name("N");
}

void addSettingsFile(CLI::App& app, LinkOptions& link) {
  addText(app, "--settings", link.settingsFile, "FILE",
          "Take what is not given here from this file (see cronvel settings)");
}

void addLinkOptions(CLI::App& app, LinkOptions& link) {
  addText(app, "--port", link.port, "N|PATH",
          "Serial port: a path, or N for the system's COM port N, /dev/ttyS(N-1) (default: $" +
              std::string(portVariable) + ", unless --settings is given)")
      ->group(linkGroup);
  addText(app, "--host", link.host, "HOST[:PORT]",
          "Network: connect to this host (port 8085 unless given)")
      ->group(linkGroup);
  const auto takeListenPort = [&link](const std::string& text) {
    link.listenPort = parseNumber(text, 1, 65535, "--listen");
  };
  app.add_option_function<std::string>("--listen", takeListenPort,
                                       "Network: the terminal connects in to this port of the PC")
      ->type_name("PORT")
      ->group(linkGroup);
  const auto takeNumber = [&link](const std::string& text) {
    link.telephone = readTelephone(text);
  };
  app.add_option_function<std::string>(
         "--tel", takeNumber,
         "A modem is at the serial port: dial this number first, hang up afterwards")
      ->type_name("NUMBER")
      ->group(linkGroup);
  addDevice(app, link);
  app.get_option("--device")->group(linkGroup)->description("Number of the terminal (default 1)");
  addSettingsFile(app, link);
  app.get_option("--settings")->group(linkGroup);
  app.add_flag("--trace", link.trace, "Write what goes over the line to standard error, with times")
      ->group(linkGroup);
}

}  // namespace cronvel
