#include <iomanip>
#include <memory>
#include <ostream>

#include "cli/Command.h"
#include "control/PersistedProperties.h"
#include "host/PropertyBagFile.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

std::string textOf(const Variant& value) {
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "True" : "False";
  if (const auto* number = std::get_if<std::int16_t>(&value)) return std::to_string(*number);
  if (const auto* number = std::get_if<std::int32_t>(&value)) return std::to_string(*number);
  return toUtf8(std::get<std::u16string>(value));
}

void print(std::ostream& out, const Cronvel& control) {
  for (const PersistedProperty& property : persistedProperties())
    out << std::left << std::setw(18) << property.key << textOf(property.get(control)) << '\n';
}

void write(const Cronvel& control, const std::filesystem::path& path) {
  PropertyBagFile bag;
  control.WriteProperties(bag);
  bag.save(path);
}

Invocation prepareSettings(const std::string& file, LinkOptions options) {
  const std::filesystem::path path = file;
  const bool changes = !options.properties.empty();
  if (std::filesystem::exists(path) || !changes) options.settingsFile = file;
  return {Link::nowhere(options), [path, changes](TerminalSession& session) {
            if (changes) write(session.control(), path);
            print(session.out(), session.control());
          }};
}

}  // namespace

void addSettingsCommand(const Command& cronvel) {
  const Command command =
      cronvel.add("settings", "Show or write a settings file for --settings", Command::files);
  command.footer(
      "With an option the file is written (made if it is not there), then shown. Settings that\n"
      "have their usual value are left out of the file. DeviceNum is what --device sets, CommPort\n"
      "--port, BPS --speed and IdLen --id-digits; the others are the control's own. A port's "
      "path,\n"
      "--host, --listen and --tel are no settings: they stand in each command.");
  const Text file = command.argument("FILE", "The settings file");
  const LinkChoice link = command.link({addPortNumber, addDevice, addSpeed, addIdDigits});
  command.prepare([=] { return prepareSettings(*file, *link); });
}

}  // namespace cronvel
