#include <memory>

#include "cli/Arguments.h"
#include "cli/TerminalTask.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

using Text = std::shared_ptr<std::string>;

constexpr std::size_t messageLength = 31;
constexpr std::size_t modes = 8;

/// One of two words.
bool firstOf(const std::string& text, const std::string& first, const std::string& second) {
  if (text == first) return true;
  if (text == second) return false;
  throw CommandFailure(ExitStatus::wrongUse,
                       "say " + first + " or " + second + ", not \"" + text + "\"");
}

std::function<void(CLI::App&)> argument(const std::string& name, const Text& text,
                                        const std::string& help) {
  return [=](CLI::App& app) { app.add_option(name, *text, help)->required(); };
}

void addSwitch(CLI::App& app, Shell shell, const std::string& name, const std::string& help,
               const std::string& yes, const std::string& no,
               bool (Cronvel::*call)(const std::u16string&, bool)) {
  const Text word = std::make_shared<std::string>();
  addTerminalTask(app, shell,
                  {.name = name,
                   .help = help,
                   .group = peopleGroup,
                   .arguments = argument(yes + "|" + no, word, ""),
                   .check = [=] { firstOf(*word, yes, no); },
                   .run =
                       [=](TerminalSession& session, const std::u16string& host) {
                         const bool on = firstOf(*word, yes, no);
                         require(session, name + " " + *word,
                                 [&](Cronvel& c) { return (c.*call)(host, on); });
                       }});
}

void addNumberTask(CLI::App& app, Shell shell, const std::string& name, const std::string& help,
                   int highest, bool (Cronvel::*call)(const std::u16string&, std::uint8_t)) {
  const Text text = std::make_shared<std::string>();
  addTerminalTask(
      app, shell,
      {.name = name,
       .help = help,
       .arguments = argument("N", text, "0 to " + std::to_string(highest)),
       .check = [=] { parseNumber(*text, 0, highest, "N"); },
       .run =
           [=, parent = app.get_name()](TerminalSession& session, const std::u16string& host) {
             const auto number = static_cast<std::uint8_t>(parseNumber(*text, 0, highest, "N"));
             require(session, parent + " " + name + " " + *text,
                     [&](Cronvel& c) { return (c.*call)(host, number); });
           }});
}

void addCode(CLI::App& app, Shell shell, const std::string& name, std::size_t length,
             const std::string& keys,
             bool (Cronvel::*call)(const std::u16string&, const std::u16string&)) {
  const Text code = std::make_shared<std::string>();
  const auto check = [=] {
    if (code->size() > length || code->find_first_not_of(keys) != std::string::npos)
      throw CommandFailure(ExitStatus::wrongUse, name + ": a code has up to " +
                                                     std::to_string(length) + " of the keys " +
                                                     keys + ", not \"" + *code + "\"");
  };
  addTerminalTask(app, shell,
                  {.name = name,
                   .help = "Set the code of " + std::to_string(length) +
                           " keys that the terminal expects on its keypad",
                   .group = peopleGroup,
                   .arguments = argument("CODE", code, "Keys: " + keys),
                   .check = check,
                   .run = [=](TerminalSession& session, const std::u16string& host) {
                     require(session, name + " set",
                             [&](Cronvel& c) { return (c.*call)(host, toUtf16(*code)); });
                   }});
}

void addMessage(CLI::App& app, Shell shell) {
  const Text card = std::make_shared<std::string>();
  const Text text = std::make_shared<std::string>();
  addTerminalTask(
      app, shell,
      {.name = "message",
       .help = "Leave a message for one card holder",
       .group = peopleGroup,
       .arguments =
           [=](CLI::App& command) {
             command.add_option("CARD", *card, "Card number, 0 to 65535")->required();
             command.add_option("TEXT", *text, "Up to 31 characters, Persian or Latin")->required();
           },
       .check = [=] { parseNumber(*card, 0, 65535, "CARD"); },
       .run =
           [=](TerminalSession& session, const std::u16string& host) {
             const std::u16string message = toUtf16(*text);
             if (message.size() > messageLength)
               session.warn("the terminal shows only the last " + std::to_string(messageLength) +
                            " of " + std::to_string(message.size()) + " characters");
             require(session, "message for card " + *card + " sent",
                     [&](Cronvel& c) { return c.SendMsg(host, toUtf16(*card), message); });
           }});
}

std::vector<std::u16string> modeNames(const std::vector<std::string>& given,
                                      const std::string& fileName) {
  std::vector<std::u16string> names;
  for (const std::string& name : given) names.push_back(toUtf16(name));
  if (!fileName.empty())
    for (const std::string& line : linesOf(fileName)) names.push_back(toUtf16(line));
  if (names.size() != modes)
    throw CommandFailure(ExitStatus::wrongUse, "a terminal has 8 modes: give 8 names, not " +
                                                   std::to_string(names.size()));
  return names;
}

void addModeNames(CLI::App& mode, Shell shell) {
  const auto given = std::make_shared<std::vector<std::string>>();
  const Text fileName = std::make_shared<std::string>();
  addTerminalTask(mode, shell,
                  {.name = "names",
                   .help = "Set the names of the eight modes",
                   .arguments =
                       [=](CLI::App& app) {
                         app.add_option("NAME", *given, "Eight names of up to 16 characters");
                         app.add_option("--file", *fileName,
                                        "Take them from this file, one in a line")
                             ->type_name("FILE");
                       },
                   .check = [=] { modeNames(*given, *fileName); },
                   .run =
                       [=](TerminalSession& session, const std::u16string& host) {
                         const HostArray<std::u16string> names(modeNames(*given, *fileName));
                         require(session, "mode names sent",
                                 [&](Cronvel& c) { return c.SendModeStr(host, names); });
                       }});
}

std::vector<bool> activeModes(const std::string& text) {
  std::vector<bool> active(modes, text == "all");
  if (text == "all" || text == "none") return active;
  for (const std::string& part : CLI::detail::split(text, ','))
    active[static_cast<std::size_t>(parseNumber(part, 0, modes - 1, "mode"))] = true;
  return active;
}

void addModeActive(CLI::App& mode, Shell shell) {
  const Text text = std::make_shared<std::string>();
  addTerminalTask(mode, shell,
                  {.name = "active",
                   .help = "Say which modes can be chosen",
                   .arguments = argument("MODES", text, "Such as 0,3,7; all; none"),
                   .check = [=] { activeModes(*text); },
                   .run =
                       [=](TerminalSession& session, const std::u16string& host) {
                         const HostArray<bool> active(activeModes(*text));
                         require(session, "modes " + *text + " active",
                                 [&](Cronvel& c) { return c.SendModeActive(host, active); });
                       }});
}

}  // namespace

void addPeopleCommands(CLI::App& app, Shell shell) {
  addSwitch(app, shell, "reader", "Switch the card reader on or off", "on", "off",
            &Cronvel::SetReaderOnOff);
  addSwitch(app, shell, "access", "Open: persons are admitted; closed: nobody is", "open", "closed",
            &Cronvel::SetPersonAccessable);
  CLI::App* group = app.add_subcommand("group", "The groups of card holders that are served")
                        ->group(peopleGroup)
                        ->require_subcommand(1);
  addNumberTask(*group, shell, "main", "The main group", 99, &Cronvel::SetMainGroup);
  addNumberTask(*group, shell, "sub", "The sub group", 99, &Cronvel::SetSubGroup);
  addCode(app, shell, "code4", 4, "0123456789", &Cronvel::SetCode4);
  addCode(app, shell, "code10", 10, "0123456789@", &Cronvel::SetCode10);
  addMessage(app, shell);
  CLI::App* mode = app.add_subcommand("mode", "The terminal's eight modes")
                       ->group(peopleGroup)
                       ->require_subcommand(1);
  addNumberTask(*mode, shell, "set", "Choose the current mode", 255, &Cronvel::SetMode);
  addModeNames(*mode, shell);
  addModeActive(*mode, shell);
}

}  // namespace cronvel
