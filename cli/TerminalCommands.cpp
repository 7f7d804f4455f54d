#include <chrono>
#include <memory>
#include <optional>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/Confirmation.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

std::uint8_t byte(int number) { return static_cast<std::uint8_t>(number); }

void addTest(const Command& cronvel) {
  const Command test = cronvel.add("test", "Ask the terminal for a sign of life");
  test.prepareTask([] { return requireSuccess("answers", &Cronvel::TestConnection); },
                   &Link::listens);
}

struct ClockOptions {
  Text time;
  Text date;
  Number weekday;
  LinkChoice link;
};

struct DatePlan {
  CalendarDay date;
  int weekday = 0;
  Peer peer;
};

struct TimePlan {
  std::string time;  ///< empty: the PC's, taken when it is sent
  Peer peer;
};

struct ClockPlan {
  std::optional<DatePlan> date;
  std::optional<TimePlan> time;
};

DatePlan planDate(const ClockOptions& options) {
  DatePlan plan;
  const bool pcDate = options.date->empty() || *options.date == "today";
  plan.date = pcDate ? today() : parseDate(*options.date, "--date");
  const auto weekday = *options.weekday ? *options.weekday : dayOfWeek(plan.date);
  if (!weekday)
    throw CommandFailure(ExitStatus::wrongUse,
                         "--date: " + formatDate(plan.date) +
                             " is no day of this PC's calendar; if the terminal keeps another, "
                             "give --weekday too");
  plan.weekday = *weekday;
  return plan;
}

/// What the options ask for; without a wish of the person's own, both.
ClockPlan planWishes(const ClockOptions& options) {
  const bool dateGiven = !options.date->empty() || *options.weekday;
  ClockPlan plan;
  if (!options.time->empty() || !dateGiven) plan.time.emplace();
  if (!options.time->empty() && *options.time != "now")
    plan.time->time = parseTime(*options.time, "--time");
  if (dateGiven || options.time->empty()) plan.date = planDate(options);
  return plan;
}

/// Over the network the time needs a terminal that connects in and the date one to connect to.
void requireBothWays(const ClockPlan& plan, const Link& link) {
  if (!link.onNetwork() || !plan.time || !plan.date) return;
  if (!link.listenPort())
    throw CommandFailure(ExitStatus::wrongUse,
                         "for the time the terminal connects in: add --listen PORT, or set the "
                         "date alone with --date today");
  if (link.host().empty())
    throw CommandFailure(ExitStatus::wrongUse,
                         "for the date the PC connects: add --host HOST[:PORT], or set the time "
                         "alone with --time now");
}

ClockPlan planClock(const ClockOptions& options, const Link& link) {
  ClockPlan plan = planWishes(options);
  requireBothWays(plan, link);
  if (plan.date) plan.date->peer = link.connects("setting the date");
  if (plan.time) plan.time->peer = link.listens("setting the time");
  return plan;
}

void setDate(TerminalSession& session, const DatePlan& plan) {
  const std::string date = formatDate(plan.date);
  const std::u16string host = session.use(plan.peer);
  session.require("date set to " + date + ", day of week " + std::to_string(plan.weekday),
                  [&](Cronvel& c) { return c.SetDate(host, toUtf16(date), byte(plan.weekday)); });
}

void setTime(TerminalSession& session, const TimePlan& plan) {
  using std::chrono::steady_clock;
  const std::u16string host = session.use(plan.peer);
  const std::string time = plan.time.empty() ? timeNow() : plan.time;
  const auto start = steady_clock::now();
  auto connected = start;
  session.onTick([&] {
    if (session.socketState() == sckListening) connected = steady_clock::now();
  });
  session.require("time set to " + time,
                  [&](Cronvel& c) { return c.SetTime(host, Variant(toUtf16(time))); });
  session.onTick({});
  const auto late = std::chrono::duration_cast<std::chrono::seconds>(connected - start).count();
  if (late > 0)
    session.warn("the terminal took " + std::to_string(late) +
                 " s to connect in, so its clock is that much behind; run the command again");
}

/// What a half of the clock ended with; nothing when it was set.
std::optional<CommandFailure> tryHalf(const std::string& name, const std::function<void()>& set) {
  try {
    set();
  } catch (const CommandFailure& failure) {
    if (failure.status() == ExitStatus::interrupted) throw;
    return CommandFailure(failure.status(), "the " + name + " is not set: " + failure.what());
  }
  return {};
}

/// Both are tried: a terminal that can be reached one way only gets what it can.
void setClock(TerminalSession& session, const ClockPlan& plan) {
  std::optional<CommandFailure> date;
  std::optional<CommandFailure> time;
  if (plan.date) date = tryHalf("date", [&] { setDate(session, *plan.date); });
  if (plan.time) time = tryHalf("time", [&] { setTime(session, *plan.time); });
  if (!date && !time) return;
  if (date && time) {
    session.warn(date->what());
    throw CommandFailure(gravest(date->status(), time->status()), time->what());
  }
  throw date ? *date : *time;
}

Invocation prepareClock(const ClockOptions& options) {
  const Link link = Link::toTerminal(*options.link);
  return {link,
          [plan = planClock(options, link)](TerminalSession& session) { setClock(session, plan); }};
}

void addSetClock(const Command& cronvel) {
  const Command command = cronvel.add("set-clock", "Set the terminal's time and date");
  command.footer(
      "Without --time, --date and --weekday both are set from this PC's clock; otherwise only\n"
      "what was asked for is set. The day of the week is numbered as the terminal does it; from\n"
      "a date this command takes Sunday as 1 to Saturday as 7. If your terminal counts\n"
      "otherwise, give --weekday.\n"
      "Over the network the terminal connects in for the time (--listen), and this PC connects\n"
      "for the date (--host); give both to set both. The status is that of the half that failed.");
  const ClockOptions options{
      .time = command.option("--time", "HH:MM[:SS]", "Set this time, or the PC's: \"now\""),
      .date = command.option("--date", "DD/MM/YY", "Set this date, or the PC's: \"today\""),
      .weekday = command.number("--weekday", 0, 255, "Day of the week as the terminal numbers it"),
      .link = command.link()};
  command.prepare([=] { return prepareClock(options); });
}

/// The day, or what is wrong with it.
std::pair<CalendarDay, std::string> tryDayMonth(const std::string& text, const std::string& what) {
  try {
    return {parseDayMonth(text, what), ""};
  } catch (const CommandFailure& failure) {
    return {{}, failure.what()};
  }
}

/// Both are looked at, so that both mistakes are told.
std::pair<CalendarDay, CalendarDay> parsePeriod(const std::string& start, const std::string& end) {
  const auto [first, wrongStart] = tryDayMonth(start, "START");
  const auto [last, wrongEnd] = tryDayMonth(end, "END");
  const std::string separator = wrongStart.empty() || wrongEnd.empty() ? "" : "; ";
  if (!wrongStart.empty() || !wrongEnd.empty())
    throw CommandFailure(ExitStatus::wrongUse, wrongStart + separator + wrongEnd);
  return {first, last};
}

void addSetDaylight(const Command& cronvel) {
  const Command command = cronvel.add("set-daylight", "Set the daylight-saving period");
  const Text start = command.argument("START", "First day, such as 21/03");
  const Text end = command.argument("END", "Last day, such as 22/09");
  command.prepareTask([=] {
    const auto period = parsePeriod(*start, *end);
    return requireSuccess(
        "daylight saving from " + *start + " to " + *end,
        [first = period.first, last = period.second](Cronvel& c, const std::u16string& host) {
          return c.SetDayLight(host, byte(first.day), byte(first.month), byte(last.day),
                               byte(last.month));
        });
  });
}

void addSetKeyboard(const Command& cronvel) {
  const Command command =
      cronvel.add("set-keyboard", "Choose the terminal's keypad setting by its number");
  const Text setting = command.argument("N", "Setting, 0 to 255; its meaning is the terminal's");
  command.prepareTask([=] {
    const std::uint8_t key = byte(parseNumber(*setting, 0, 255, "N"));
    return requireSuccess(
        "keypad setting " + std::to_string(key),
        [=](Cronvel& c, const std::u16string& host) { return c.SetKeyboard(host, key); });
  });
}

Invocation prepareReset(const LinkOptions& options, bool ask, const Io& io) {
  const Link link = Link::toTerminal(options);
  const Invocation reset(link, [peer = link.connects("reset-memory")](TerminalSession& session) {
    const std::u16string host = session.use(peer);
    session.require("record memory erased", [&](Cronvel& c) { return c.ResetMem(host); });
  });
  return ask ? confirmed("Erase every record", options, io, reset) : reset;
}

void addResetMemory(const Command& cronvel, const Io& io) {
  const Command command = cronvel.add("reset-memory", "Erase every record in the terminal");
  command.footer("Download the records first: they cannot be brought back.");
  const Flag yes = command.flag("--yes", "Do not ask");
  const LinkChoice link = command.link();
  command.prepare([=, &io] { return prepareReset(*link, !*yes, io); });
}

}  // namespace

void addTerminalCommands(const Command& cronvel, const Io& io) {
  addTest(cronvel);
  addSetClock(cronvel);
  addSetDaylight(cronvel);
  addSetKeyboard(cronvel);
  addResetMemory(cronvel, io);
}

}  // namespace cronvel
