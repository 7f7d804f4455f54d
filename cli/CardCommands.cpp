#include <memory>
#include <vector>

#include "cli/Arguments.h"
#include "cli/TerminalTask.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

constexpr int highestCard = 9999;

using Numbers = std::shared_ptr<std::vector<std::string>>;

void readCards(const std::vector<std::string>& texts) {
  for (const std::string& text : texts) parseNumber(text, 0, highestCard, "card number");
}

/// add and delete: the same command with another verb for each of the numbers.
void addEach(CLI::App& card, Shell shell, const std::string& name, const std::string& help,
             const std::string& done,
             std::uint8_t (Cronvel::*call)(const std::u16string&, const std::u16string&)) {
  const auto numbers = std::make_shared<std::vector<std::string>>();
  addTerminalTask(card, shell,
                  {.name = name,
                   .help = help,
                   .arguments =
                       [numbers](CLI::App& app) {
                         app.add_option("N", *numbers, "Card numbers, 0 to 9999")->required();
                       },
                   .check = [numbers] { readCards(*numbers); },
                   .run =
                       [numbers, done, call](TerminalSession& session, const std::u16string& host) {
                         for (const std::string& number : *numbers)
                           requireReply(session, "card " + number + done, [&](Cronvel& c) {
                             return (c.*call)(host, toUtf16(number));
                           });
                       }});
}

void addDeleteAll(CLI::App& card, Shell shell) {
  const auto yes = std::make_shared<bool>(false);
  addTerminalTask(card, shell,
                  {.name = "delete-all",
                   .help = "Delete every card number in the terminal",
                   .arguments =
                       [yes](CLI::App& app) {
                         app.add_flag("--yes", *yes, "Confirms it; nothing is deleted without");
                       },
                   .check =
                       [yes] {
                         if (!*yes)
                           throw CommandFailure(ExitStatus::wrongUse,
                                                "delete-all deletes every card number in the "
                                                "terminal; confirm with --yes");
                       },
                   .run =
                       [](TerminalSession& session, const std::u16string& host) {
                         requireReply(session, "every card deleted",
                                      [&](Cronvel& c) { return c.DeleteCardAll(host); });
                       }});
}

void upload(TerminalSession& session, const std::u16string& host, const std::string& fileName) {
  std::int32_t cards = 0;
  session.onUpload([&](std::int32_t sent, std::int32_t all) {
    cards = all;
    session.progress(std::to_string(sent) + " of " + std::to_string(all) + " cards");
  });
  const std::uint8_t reply =
      session.run([&](Cronvel& c) { return c.AddCardFile(host, toUtf16(fileName)); });
  session.progress({});
  constexpr std::uint8_t success = 24;
  if (reply != success) throw session.failure("it did not take the list");
  session.say(std::to_string(cards) + " cards loaded from " + fileName + "; " +
              std::to_string(fieldsOf(fileName) - static_cast<std::size_t>(cards)) +
              " other fields passed over");
}

void addUpload(CLI::App& card, Shell shell) {
  const auto fileName = std::make_shared<std::string>();
  CLI::App* command = addTerminalTask(
      card, shell,
      {.name = "upload",
       .help = "Load a list of card numbers from a text file",
       .arguments =
           [fileName](CLI::App& app) {
             app.add_option("FILE", *fileName, "Numbers of up to 4 digits, by commas or lines")
                 ->required();
           },
       .check = [fileName] { fieldsOf(*fileName); },  // before the terminal is asked
       .run = [fileName](TerminalSession& session,
                         const std::u16string& host) { upload(session, host, *fileName); }});
  command->footer(
      "Takes at least 0.15 seconds for each card. Fields that are no card number are\n"
      "passed over.");
}

void addTable(CLI::App& card, Shell shell) {
  const Numbers numbers = std::make_shared<std::vector<std::string>>();
  addTerminalTask(
      card, shell,
      {.name = "table",
       .help = "Send the card table: six numbers whose meaning is the terminal's",
       .arguments =
           [numbers](CLI::App& app) {
             app.add_option("N", *numbers, "Six numbers, 0 to 99")->required()->expected(6);
           },
       .check = [numbers] { readBytes(*numbers, 6); },
       .run =
           [numbers](TerminalSession& session, const std::u16string& host) {
             const HostArray<std::uint8_t> table(readBytes(*numbers, 6));
             require(session, "card table sent",
                     [&](Cronvel& c) { return c.DefCards(host, table); });
           }});
}

}  // namespace

void addCardCommands(CLI::App& app, Shell shell) {
  CLI::App* card = app.add_subcommand("card", "Card numbers: add, delete, upload")
                       ->group(peopleGroup)
                       ->require_subcommand(1);
  addEach(*card, shell, "add", "Add card numbers, one after another", " added",
          &Cronvel::AddCardSimple);
  addEach(*card, shell, "delete", "Delete card numbers, one after another", " deleted",
          &Cronvel::DeleteCardSimple);
  addDeleteAll(*card, shell);
  addUpload(*card, shell);
  addTable(*card, shell);
}

}  // namespace cronvel
