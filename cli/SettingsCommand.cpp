#include <iomanip>
#include <memory>
#include <ostream>

#include "cli/Arguments.h"
#include "cli/Commands.h"
#include "cli/LinkOptions.h"
#include "cli/TerminalSession.h"
#include "host/PropertyBagFile.h"
#include "runtime/File.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

struct SettingsOptions {
  LinkOptions link;
  std::string file;
  std::optional<int> port;

  bool changeSomething() const {
    return port || link.device || link.idDigits || !link.speed.empty();
  }
};

void print(std::ostream& out, const Cronvel& control) {
  const auto line = [&out](const char* key, const std::string& value) {
    out << std::left << std::setw(18) << key << value << '\n';
  };
  const auto flag = [](bool value) { return std::string(value ? "True" : "False"); };
  line("Enabled", flag(control.Enabled()));
  line("CommPort", std::to_string(control.CommPort()));
  line("ReaderOn", flag(control.ReaderOn()));
  line("MonitoringON", flag(control.MonitoringON()));
  line("IdLen", std::to_string(control.IdLen()));
  line("DialupConnection", flag(control.DialupConnection()));
  line("TelNum", toUtf8(control.TelNum()));
  line("BPS", toUtf8(control.BPS()));
  line("DeviceNum", std::to_string(control.DeviceNum()));
  line("NumOfRecs", std::to_string(control.NumOfRecs()));
  line("DamagedRecs", std::to_string(control.DamagedRecs()));
}

void settings(const SettingsOptions& options, Shell shell) {
  LinkOptions link = options.link;
  if (options.port) link.port = std::to_string(*options.port);
  const std::filesystem::path path = options.file;
  if (std::filesystem::exists(path) || !options.changeSomething()) link.settingsFile = options.file;
  TerminalSession session(shell.platform, shell.io, link);
  if (options.changeSomething()) {
    PropertyBagFile bag;
    session.control().WriteProperties(bag);
    bag.save(path);
  }
  print(shell.io.out, session.control());
}

}  // namespace

void addSettingsCommand(CLI::App& app, Shell shell) {
  auto options = std::make_shared<SettingsOptions>();
  CLI::App* command = app.add_subcommand("settings", "Show or write a settings file for --settings")
                          ->group(fileGroup);
  command->footer(
      "With an option the file is written (made if it is not there), then shown. Settings that\n"
      "have their usual value are left out of the file.");
  command->add_option("FILE", options->file, "The settings file")->required();
  addNumber(*command, "--port", options->port, 1, 32767, "Serial port, by number");
  addNumber(*command, "--device", options->link.device, 0, 99, "Number of the terminal");
  addSpeed(*command, options->link);
  addIdDigits(*command, options->link);
  command->callback([options, shell] { settings(*options, shell); });
}

}  // namespace cronvel
