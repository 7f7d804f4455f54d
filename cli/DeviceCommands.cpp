#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <ostream>

#include "cli/Arguments.h"
#include "cli/TerminalTask.h"
#include "runtime/File.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

constexpr std::size_t timetableEntries = 24;
constexpr std::size_t alarmTableSize = 210;

std::string hexLine(const Bytes& bytes, std::size_t from) {
  std::string line;
  for (std::size_t i = from; i < std::min(from + 16, bytes.size()); ++i) {
    std::array<char, 4> text{};
    std::snprintf(text.data(), text.size(), "%02X", static_cast<unsigned>(bytes[i]));
    line += (line.empty() ? "" : " ") + std::string(text.data());
  }
  return line;
}

void showProperties(TerminalSession& session, const std::u16string& host,
                    const std::string& rawFile) {
  const Variant result = session.run([&](Cronvel& c) { return c.GetDeviceProperties(host); });
  const Bytes* block = std::get_if<Bytes>(&result);
  if (block == nullptr) throw session.failure("its properties could not be read");
  if (std::all_of(block->begin(), block->end(), [](auto byte) { return byte == 0; }))
    throw session.failure("it sent no properties");
  if (rawFile.empty()) {
    for (std::size_t i = 0; i < block->size(); i += 16) session.out() << hexLine(*block, i) << '\n';
    return;
  }
  File file(toPath(toUtf16(rawFile)), File::Access::output);
  file.write(*block);
  file.close();
  session.say(std::to_string(block->size()) + " bytes of properties are in " + rawFile);
}

void addProperties(CLI::App& app, Shell shell) {
  const auto raw = std::make_shared<std::string>();
  CLI::App* command = addTerminalTask(
      app, shell,
      {.name = "properties",
       .help = "Read the terminal's properties block, 101 bytes",
       .network = TerminalTask::Network::listens,
       .arguments =
           [raw](CLI::App& task) {
             task.add_option("--raw", *raw, "Write it into this file")->type_name("FILE");
           },
       .run = [raw](TerminalSession& session,
                    const std::u16string& host) { showProperties(session, host, *raw); }});
  command->footer(
      "What the bytes mean stands in the terminal's documentation. Over the network the\n"
      "terminal connects in (--listen).");
}

/// Lines of "HH:MM N".
Bytes readTimetable(const std::string& fileName) {
  Bytes timing;
  for (const std::string& line : linesOf(fileName)) {
    const std::size_t blank = line.find_first_of(" \t,");
    const std::string where = fileName + ", line \"" + line + "\"";
    if (blank == std::string::npos)
      throw CommandFailure(ExitStatus::wrongUse, where + " is not of the form HH:MM N");
    const std::string time = parseTime(line.substr(0, blank), where);
    timing.push_back(static_cast<std::uint8_t>(std::stoi(time.substr(0, 2))));
    timing.push_back(static_cast<std::uint8_t>(std::stoi(time.substr(3, 2))));
    const std::size_t number = line.find_first_not_of(" \t,", blank);
    timing.push_back(static_cast<std::uint8_t>(
        parseNumber(number == std::string::npos ? "" : line.substr(number), 0, 255, where)));
  }
  if (timing.size() != 3 * timetableEntries)
    throw CommandFailure(
        ExitStatus::wrongUse,
        fileName + " has " + std::to_string(timing.size() / 3) + " entries; the timetable has 24");
  return timing;
}

Bytes readAlarmTable(const std::string& fileName) {
  std::vector<std::string> numbers;
  for (const std::string& line : linesOf(fileName))
    for (const std::string& field : CLI::detail::split_up(line)) numbers.push_back(field);
  return readBytes(numbers, alarmTableSize);
}

TerminalTask alarmTask(const std::string& name, const std::string& help,
                       const std::shared_ptr<std::string>& fileName) {
  return {.name = name, .help = help, .arguments = [fileName](CLI::App& app) {
            app.add_option("FILE", *fileName, "Text file")->required();
          }};
}

void addAlarms(CLI::App& app, Shell shell) {
  CLI::App* alarms = app.add_subcommand("alarms", "The alarm timetable and table")
                         ->group(terminalGroup)
                         ->require_subcommand(1);
  const auto fileName = std::make_shared<std::string>();
  TerminalTask schedule = alarmTask(
      "schedule", "Send the timetable: 24 lines \"HH:MM N\" (serial line only)", fileName);
  schedule.network = TerminalTask::Network::none;
  schedule.check = [fileName] { readTimetable(*fileName); };
  schedule.run = [fileName](TerminalSession& session, const std::u16string&) {
    const Bytes timing = readTimetable(*fileName);
    session.run([&](Cronvel& c) { return c.SetAlarm(timing); });
    session.say("timetable sent; the terminal does not confirm it");
  };
  addTerminalTask(*alarms, shell, schedule);

  TerminalTask table =
      alarmTask("table", "Send the alarm table: 210 numbers from 0 to 99", fileName);
  table.check = [fileName] { readAlarmTable(*fileName); };
  table.run = [fileName](TerminalSession& session, const std::u16string& host) {
    const HostArray<std::uint8_t> bytes(readAlarmTable(*fileName));
    require(session, "alarm table sent", [&](Cronvel& c) { return c.DefAlarms(host, bytes); });
  };
  addTerminalTask(*alarms, shell, table);
}

void addDial(CLI::App& app, Shell shell) {
  CLI::App* command = addTerminalTask(
      app, shell,
      {.name = "dial",
       .help = "Try the modem: dial, see whether it connects, hang up",
       .network = TerminalTask::Network::none,
       .check = {},
       .run = [](TerminalSession& session, const std::u16string&) {
         if (!session.dialled())
           throw CommandFailure(ExitStatus::wrongUse, "which number? (--tel NUMBER)");
         session.say("connected; hanging up");
       }});
  command->footer("--tel does the same around every other command over the serial port.");
}

}  // namespace

void addDeviceCommands(CLI::App& app, Shell shell) {
  addProperties(app, shell);
  addAlarms(app, shell);
  addDial(app, shell);
}

}  // namespace cronvel
