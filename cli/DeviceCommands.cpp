#include <algorithm>
#include <memory>
#include <ostream>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "runtime/File.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

constexpr std::size_t timetableEntries = 24;
constexpr std::size_t alarmTableSize = 210;

/// A block of bytes that the terminal is asked for; `otherwise` where none came and nobody knows
/// why.
template <typename Call>
Bytes readBlock(TerminalSession& session, const std::string& otherwise, Call call) {
  const Variant result = session.run(call);
  const Bytes* block = std::get_if<Bytes>(&result);
  if (block == nullptr) throw session.failure(otherwise);
  return *block;
}

void printBlock(std::ostream& out, std::span<const std::uint8_t> block) {
  constexpr std::size_t inLine = 16;
  for (; !block.empty(); block = block.subspan(std::min(inLine, block.size())))
    out << hexText(block.first(std::min(inLine, block.size()))) << '\n';
}

void showProperties(TerminalSession& session, const std::u16string& host,
                    const std::string& rawFile) {
  const Bytes block = readBlock(session, "its properties could not be read",
                                [&](Cronvel& c) { return c.GetDeviceProperties(host); });
  if (session.control().notes().lastKind() != NoteKind::accepted)
    throw session.failure("it sent no properties");
  if (rawFile.empty()) return printBlock(session.out(), block);
  File file(toPath(toUtf16(rawFile)), File::Access::output);
  file.write(block);
  file.close();
  session.say(std::to_string(block.size()) + " bytes of properties are in " + rawFile);
}

void addProperties(const Command& cronvel) {
  const Command command =
      cronvel.add("properties", "Read the terminal's properties block, 101 bytes");
  command.footer(
      "What the bytes mean stands in the terminal's documentation. Over the network the\n"
      "terminal connects in (--listen).");
  const Text raw = command.option("--raw", "FILE", "Write it into this file");
  command.prepareTask(
      [=] {
        return [=](TerminalSession& session, const std::u16string& host) {
          showProperties(session, host, *raw);
        };
      },
      &Link::listens);
}

/// "HH:MM N" as three bytes; `where` is for the person.
Bytes readAlarm(const std::string& line, const std::string& where) {
  const std::size_t blank = line.find_first_of(" \t,");
  if (blank == std::string::npos)
    throw CommandFailure(ExitStatus::wrongUse, where + " is not of the form HH:MM N");
  const std::string time = parseTime(line.substr(0, blank), where);
  const std::size_t number = line.find_first_not_of(" \t,", blank);
  const std::string kind = number == std::string::npos ? "" : line.substr(number);
  return {static_cast<std::uint8_t>(std::stoi(time.substr(0, 2))),
          static_cast<std::uint8_t>(std::stoi(time.substr(3, 2))),
          static_cast<std::uint8_t>(parseNumber(kind, 0, 255, where))};
}

Bytes readTimetable(const std::string& fileName) {
  const std::vector<std::string> lines = linesOf(fileName);
  Bytes timing;
  for (const std::string& line : lines) {
    const Bytes alarm = readAlarm(line, fileName + ", line \"" + line + "\"");
    timing.insert(timing.end(), alarm.begin(), alarm.end());
  }
  if (lines.size() != timetableEntries)
    throw CommandFailure(ExitStatus::wrongUse, fileName + " has " + std::to_string(lines.size()) +
                                                   (lines.size() == 1 ? " entry" : " entries") +
                                                   "; the timetable has 24");
  return timing;
}

Bytes readAlarmTable(const std::string& fileName) {
  std::vector<std::string> numbers;
  for (const std::string& line : linesOf(fileName))
    for (const std::string& field : words(line)) numbers.push_back(field);
  return readBytes(numbers, alarmTableSize);
}

/// The terminal does not confirm it, so at least it is asked whether it is there.
void sendTimetable(TerminalSession& session, const Bytes& timing) {
  if (!session.run([](Cronvel& c) { return c.TestConnection(u""); }))
    throw session.failure("it does not answer");
  session.run([&](Cronvel& c) { return c.SetAlarm(timing); });
  session.say("it answers; timetable sent, which it does not confirm");
}

void addSchedule(const Command& alarms) {
  const Command command =
      alarms.add("schedule", "Send the timetable: 24 lines \"HH:MM N\" (serial line only)");
  const Text fileName = command.argument("FILE", "Text file");
  command.prepareTask(
      [=] {
        return
            [timing = readTimetable(*fileName)](TerminalSession& session, const std::u16string&) {
              sendTimetable(session, timing);
            };
      },
      &Link::serialOnly);
}

void addAlarmTable(const Command& alarms) {
  const Command command = alarms.add("table", "Send the alarm table: 210 numbers from 0 to 99");
  const Text fileName = command.argument("FILE", "Text file");
  command.prepareTask([=] {
    return requireSuccess(
        "alarm table sent",
        [table = HostArray<std::uint8_t>(readAlarmTable(*fileName))](
            Cronvel& c, const std::u16string& host) { return c.DefAlarms(host, table); });
  });
}

Invocation prepareDial(const LinkOptions& options) {
  const Link link = Link::toTerminal(options);
  link.serialOnly("dial");
  if (!link.dials()) throw CommandFailure(ExitStatus::wrongUse, "which number? (--tel NUMBER)");
  return {link, [](TerminalSession& session) { session.say("connected; hanging up"); }};
}

void addDial(const Command& cronvel) {
  const Command command =
      cronvel.add("dial", "Try the modem: dial, see whether it connects, hang up");
  command.footer("--tel does the same around every other command over the serial port.");
  const LinkChoice link = command.link();
  command.prepare([=] { return prepareDial(*link); });
}

}  // namespace

void addDeviceCommands(const Command& cronvel) {
  addProperties(cronvel);
  const Command alarms =
      cronvel.addFamily("alarms", "The alarm timetable and table", Command::terminal);
  addSchedule(alarms);
  addAlarmTable(alarms);
  addDial(cronvel);
}

}  // namespace cronvel
