#include <chrono>
#include <memory>
#include <ostream>

#include "cli/Arguments.h"
#include "cli/Commands.h"
#include "cli/LinkOptions.h"
#include "cli/TerminalTask.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

std::uint8_t byte(int number) { return static_cast<std::uint8_t>(number); }

void addTest(CLI::App& app, Shell shell) {
  CLI::App* command = addTerminalTask(
      app, shell,
      {.name = "test",
       .help = "Ask the terminal for a sign of life",
       .network = TerminalTask::Network::listens,
       .run = [](TerminalSession& session, const std::u16string& host) {
         require(session, "answers", [&](Cronvel& c) { return c.TestConnection(host); });
       }});
  command->footer("Over the network the terminal connects in (--listen), within 10 seconds.");
}

struct ClockOptions {
  LinkOptions link;
  std::string time;
  std::string date;
  std::optional<int> weekday;
};

/// What the options ask for, read before anything is sent.
struct ClockPlan {
  bool timeWanted = false;
  bool dateWanted = false;
  std::string time;  ///< empty: the PC's, taken when it is sent
  CalendarDay date;
  int weekday = 0;
};

ClockPlan planClock(const ClockOptions& options) {
  const bool dateGiven = !options.date.empty() || options.weekday;
  ClockPlan plan;
  plan.timeWanted = !options.time.empty() || !dateGiven;
  plan.dateWanted = dateGiven || options.time.empty();
  if (!options.time.empty() && options.time != "now") plan.time = parseTime(options.time, "--time");
  const bool pcDate = options.date.empty() || options.date == "today";
  plan.date = pcDate ? today() : parseDate(options.date, "--date");
  const auto weekday = options.weekday ? options.weekday : dayOfWeek(plan.date);
  if (!weekday)
    throw CommandFailure(ExitStatus::wrongUse,
                         "--date: " + formatDate(plan.date) +
                             " is not in this PC's calendar, so give --weekday too");
  plan.weekday = *weekday;
  return plan;
}

/// Over the network the time needs a terminal that connects in and the date one to connect to.
/// Without a wish of the person's own, what cannot be done is left out and said.
void leaveOutUnreachable(ClockPlan& plan, const LinkOptions& link, Io& io) {
  if (!link.onNetwork() || !plan.timeWanted || !plan.dateWanted) return;
  if (!link.listenPort) {
    plan.timeWanted = false;
    io.err
        << "cronvel: the time is not set: for that the terminal connects in; add --listen PORT\n";
  } else if (link.host.empty()) {
    plan.dateWanted = false;
    io.err << "cronvel: the date is not set: for that the PC connects; add --host HOST[:PORT]\n";
  }
}

void setDate(TerminalSession& session, const ClockPlan& plan) {
  const std::string date = formatDate(plan.date);
  const std::u16string host = session.connects("setting the date");
  require(session, "date set to " + date + ", day of week " + std::to_string(plan.weekday),
          [&](Cronvel& c) { return c.SetDate(host, toUtf16(date), byte(plan.weekday)); });
}

void setTime(TerminalSession& session, Io& io, const ClockPlan& plan) {
  using std::chrono::steady_clock;
  const std::u16string host = session.listens("setting the time");
  const std::string time = plan.time.empty() ? timeNow() : plan.time;
  const auto start = steady_clock::now();
  auto connected = start;
  session.onTick([&] {
    if (session.socketState() == sckListening) connected = steady_clock::now();
  });
  require(session, "time set to " + time,
          [&](Cronvel& c) { return c.SetTime(host, Variant(toUtf16(time))); });
  session.onTick({});
  const auto late = std::chrono::duration_cast<std::chrono::seconds>(connected - start).count();
  if (late > 0)
    io.err << "cronvel: the terminal took " << late
           << " s to connect in, so its clock is that much behind; run the command again\n";
}

void setClock(const ClockOptions& options, Shell shell) {
  LinkOptions link = options.link;
  chooseLink(link);
  ClockPlan plan = planClock(options);
  leaveOutUnreachable(plan, link, shell.io);
  TerminalSession session(shell.platform, shell.io, link);
  if (plan.dateWanted) setDate(session, plan);
  if (plan.timeWanted) setTime(session, shell.io, plan);
}

void addSetClock(CLI::App& app, Shell shell) {
  auto options = std::make_shared<ClockOptions>();
  CLI::App* command =
      app.add_subcommand("set-clock", "Set the terminal's time and date")->group(terminalGroup);
  command->footer(
      "Without --time, --date and --weekday both are set from this PC's clock; otherwise only\n"
      "what was asked for is set. The day of the week is numbered as the terminal does it; from\n"
      "a date this command takes Sunday as 1 to Saturday as 7. If your terminal counts\n"
      "otherwise, give --weekday.\n"
      "Over the network the terminal connects in for the time (--listen), and this PC connects\n"
      "for the date (--host); give both to set both.");
  command->add_option("--time", options->time, "Set this time, or the PC's: \"now\"")
      ->type_name("HH:MM[:SS]");
  command->add_option("--date", options->date, "Set this date, or the PC's: \"today\"")
      ->type_name("DD/MM/YY");
  addNumber(*command, "--weekday", options->weekday, 0, 255,
            "Day of the week as the terminal numbers it");
  addLinkOptions(*command, options->link);
  command->callback([options, shell] { setClock(*options, shell); });
}

struct DaylightOptions {
  LinkOptions link;
  std::string start;
  std::string end;
};

void addSetDaylight(CLI::App& app, Shell shell) {
  auto options = std::make_shared<DaylightOptions>();
  CLI::App* command =
      app.add_subcommand("set-daylight", "Set the daylight-saving period")->group(terminalGroup);
  command->add_option("START", options->start, "First day, such as 21/03")->required();
  command->add_option("END", options->end, "Last day, such as 22/09")->required();
  addLinkOptions(*command, options->link);
  command->callback([options, shell] {
    const CalendarDay start = parseDayMonth(options->start, "START");
    const CalendarDay end = parseDayMonth(options->end, "END");
    chooseLink(options->link);
    TerminalSession session(shell.platform, shell.io, options->link);
    const std::u16string host = session.connects("set-daylight");
    require(session, "daylight saving from " + options->start + " to " + options->end,
            [&](Cronvel& c) {
              return c.SetDayLight(host, byte(start.day), byte(start.month), byte(end.day),
                                   byte(end.month));
            });
  });
}

void addSetKeyboard(CLI::App& app, Shell shell) {
  auto setting = std::make_shared<std::string>();
  addTerminalTask(
      app, shell,
      {.name = "set-keyboard",
       .help = "Choose the terminal's keypad setting by its number",
       .arguments =
           [setting](CLI::App& command) {
             command.add_option("N", *setting, "Setting, 0 to 255; its meaning is the terminal's")
                 ->required();
           },
       .check = [setting] { parseNumber(*setting, 0, 255, "N"); },
       .run =
           [setting](TerminalSession& session, const std::u16string& host) {
             const std::uint8_t key = byte(parseNumber(*setting, 0, 255, "N"));
             require(session, "keypad setting " + std::to_string(key),
                     [&](Cronvel& c) { return c.SetKeyboard(host, key); });
           }});
}

/// Before the session begins: while a question waits, Ctrl-C must simply end the program.
void confirmReset(const LinkOptions& link, Shell shell) {
  if (!shell.io.canAsk)
    throw CommandFailure(ExitStatus::wrongUse,
                         "reset-memory erases every record in the terminal and nobody is here to "
                         "confirm it; add --yes");
  const std::string which =
      link.device ? "terminal " + std::to_string(*link.device) : "the terminal";
  const auto answer = shell.platform.msgBox().show(toUtf16("Erase every record in " + which + "?"),
                                                   MsgBox::Buttons::yesNo, u"cronvel");
  if (answer != MsgBox::Answer::yes)
    throw CommandFailure(ExitStatus::refused, "nothing was erased");
}

void addResetMemory(CLI::App& app, Shell shell) {
  auto link = std::make_shared<LinkOptions>();
  auto yes = std::make_shared<bool>(false);
  CLI::App* command = app.add_subcommand("reset-memory", "Erase every record in the terminal")
                          ->group(terminalGroup);
  command->footer("Download the records first: they cannot be brought back.");
  command->add_flag("--yes", *yes, "Do not ask");
  addLinkOptions(*command, *link);
  command->callback([link, yes, shell] {
    chooseLink(*link);
    if (!*yes) confirmReset(*link, shell);
    TerminalSession session(shell.platform, shell.io, *link);
    const std::u16string host = session.connects("reset-memory");
    require(session, "record memory erased", [&](Cronvel& c) { return c.ResetMem(host); });
  });
}

}  // namespace

void addTerminalCommands(CLI::App& app, Shell shell) {
  addTest(app, shell);
  addSetClock(app, shell);
  addSetDaylight(app, shell);
  addSetKeyboard(app, shell);
  addResetMemory(app, shell);
}

}  // namespace cronvel
