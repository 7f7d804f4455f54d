#include <memory>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/DisplayText.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

constexpr std::size_t modes = 8;

/// One of two words.
bool firstOf(const std::string& text, const std::string& first, const std::string& second) {
  if (text == first) return true;
  if (text == second) return false;
  throw CommandFailure(ExitStatus::wrongUse,
                       "say " + first + " or " + second + ", not \"" + text + "\"");
}

void addSwitch(const Command& cronvel, const std::string& name, const std::string& help,
               const std::string& yes, const std::string& no,
               bool (Cronvel::*call)(const std::u16string&, bool)) {
  const Command command = cronvel.add(name, help, Command::people);
  const Text word = command.argument(yes + "|" + no, "");
  command.prepareTask([=] {
    const bool on = firstOf(*word, yes, no);
    return requireSuccess(name + " " + *word, [=](Cronvel& c, const std::u16string& host) {
      return (c.*call)(host, on);
    });
  });
}

void addNumberTask(const Command& family, const std::string& name, const std::string& help,
                   int highest, bool (Cronvel::*call)(const std::u16string&, std::uint8_t)) {
  const Command command = family.add(name, help);
  const Text text = command.argument("N", "0 to " + std::to_string(highest));
  command.prepareTask([=, parent = family.name()] {
    const auto number = static_cast<std::uint8_t>(parseNumber(*text, 0, highest, "N"));
    return requireSuccess(
        parent + " " + name + " " + *text,
        [=](Cronvel& c, const std::u16string& host) { return (c.*call)(host, number); });
  });
}

void checkCode(const std::string& name, const std::string& code, std::size_t length,
               const std::string& keys) {
  if (code.size() != length || code.find_first_not_of(keys) != std::string::npos)
    throw CommandFailure(ExitStatus::wrongUse, name + ": a code has " + std::to_string(length) +
                                                   " of the keys " + keys + ", not \"" + code +
                                                   "\"");
}

void addCode(const Command& cronvel, const std::string& name, std::size_t length,
             const std::string& keys,
             bool (Cronvel::*call)(const std::u16string&, const std::u16string&)) {
  const Command command = cronvel.add(
      name,
      "Set the code of " + std::to_string(length) + " keys that the terminal expects on its keypad",
      Command::people);
  const Text code = command.argument("CODE", "Keys: " + keys);
  command.prepareTask([=] {
    checkCode(name, *code, length, keys);
    return requireSuccess(name + " set", [=](Cronvel& c, const std::u16string& host) {
      return (c.*call)(host, toUtf16(*code));
    });
  });
}

Flag addAsItIs(const Command& command) {
  return command.flag("--as-is", "Send it as it is, whatever the display makes of it");
}

/// What the display will not show as typed.
void tellDisplay(TerminalSession& session, const DisplayText& shown) {
  if (shown.sentAsItIs)
    session.warn("sent as it is: the display shows " + quotedRow(shown) + " from the left");
  if (!shown.remark.empty()) session.warn(shown.remark + ": " + shown.reading);
}

void addMessage(const Command& cronvel) {
  const Command command =
      cronvel.add("message", "Leave a message for one card holder", Command::people);
  command.footer(
      "The text is composed so that the display shows what was typed: cronvel text --help.");
  const Text card = command.argument("CARD", "Card number, 0 to 65535");
  const Text text = command.argument("TEXT", "Up to 31 glyphs, Persian or Latin");
  const Flag asItIs = addAsItIs(command);
  command.prepareTask([=] {
    parseNumber(*card, 0, 65535, "CARD");
    const DisplayText shown = displayText(*text, messageField, *asItIs);
    return [=](TerminalSession& session, const std::u16string& host) {
      tellDisplay(session, shown);
      session.require("message for card " + *card + " sent",
                      [&](Cronvel& c) { return c.SendMsg(host, toUtf16(*card), shown.text); });
    };
  });
}

std::vector<DisplayText> modeNames(std::vector<std::string> names, const std::string& fileName,
                                   bool asItIs) {
  if (!fileName.empty())
    for (const std::string& line : linesOf(fileName)) names.push_back(line);
  if (names.size() != modes)
    throw CommandFailure(ExitStatus::wrongUse, "a terminal has 8 modes: give 8 names, not " +
                                                   std::to_string(names.size()));
  std::vector<DisplayText> shown;
  for (const std::string& name : names) shown.push_back(displayText(name, modeNameField, asItIs));
  return shown;
}

void sendModeNames(TerminalSession& session, const std::u16string& host,
                   const std::vector<DisplayText>& names) {
  std::vector<std::u16string> texts;
  for (const DisplayText& name : names) {
    tellDisplay(session, name);
    texts.push_back(name.text);
  }
  session.require("mode names sent", [&](Cronvel& c) {
    return c.SendModeStr(host, HostArray<std::u16string>(texts));
  });
}

void addModeNames(const Command& mode) {
  const Command command = mode.add("names", "Set the names of the eight modes");
  command.footer(
      "The names are composed so that the display shows what was typed: cronvel text --help.");
  const Texts given = command.optionalArguments("NAME", "Eight names of up to 16 glyphs");
  const Text fileName = command.option("--file", "FILE", "Take them from this file, one in a line");
  const Flag asItIs = addAsItIs(command);
  command.prepareTask([=] {
    return [names = modeNames(*given, *fileName, *asItIs)](TerminalSession& session,
                                                           const std::u16string& host) {
      sendModeNames(session, host, names);
    };
  });
}

std::vector<bool> activeModes(const std::string& text) {
  std::vector<bool> active(modes, text == "all");
  if (text == "all" || text == "none") return active;
  for (const std::string& part : split(text, ','))
    active[static_cast<std::size_t>(parseNumber(part, 0, modes - 1, "mode"))] = true;
  return active;
}

void addModeActive(const Command& mode) {
  const Command command = mode.add("active", "Say which modes can be chosen");
  const Text text = command.argument("MODES", "Such as 0,3,7; all; none");
  command.prepareTask([=] {
    return requireSuccess(
        "modes " + *text + " active",
        [active = HostArray<bool>(activeModes(*text))](Cronvel& c, const std::u16string& host) {
          return c.SendModeActive(host, active);
        });
  });
}

}  // namespace

void addPeopleCommands(const Command& cronvel) {
  addSwitch(cronvel, "reader", "Switch the card reader on or off", "on", "off",
            &Cronvel::SetReaderOnOff);
  addSwitch(cronvel, "access", "Open: persons are admitted; closed: nobody is", "open", "closed",
            &Cronvel::SetPersonAccessable);
  const Command group =
      cronvel.addFamily("group", "The groups of card holders that are served", Command::people);
  addNumberTask(group, "main", "The main group", 99, &Cronvel::SetMainGroup);
  addNumberTask(group, "sub", "The sub group", 99, &Cronvel::SetSubGroup);
  addCode(cronvel, "code4", 4, "0123456789", &Cronvel::SetCode4);
  addCode(cronvel, "code10", 10, "0123456789@", &Cronvel::SetCode10);
  addMessage(cronvel);
  const Command mode = cronvel.addFamily("mode", "The terminal's eight modes", Command::people);
  addNumberTask(mode, "set", "Choose the current mode", modes - 1, &Cronvel::SetMode);
  addModeNames(mode);
  addModeActive(mode);
}

}  // namespace cronvel
