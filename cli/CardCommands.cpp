#include <memory>
#include <vector>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

constexpr int highestCard = 9999;

using CardCall = std::uint8_t (Cronvel::*)(const std::u16string&, const std::u16string&);

/// add and delete: the same command with another verb for each of the numbers.
void addEach(const Command& card, const std::string& verb, const std::string& help,
             const std::string& done, CardCall call) {
  const Command command = card.add(verb, help);
  const Texts numbers = command.arguments("N", "Card numbers, 0 to 9999");
  command.prepareTask([=] {
    for (const std::string& text : *numbers) parseNumber(text, 0, highestCard, "card number");
    return [=](TerminalSession& session, const std::u16string& host) {
      for (const std::string& number : *numbers)
        session.require("card " + number + done, [&](Cronvel& c) {
          return (c.*call)(host, toUtf16(number)) == successReply;
        });
    };
  });
}

void addDeleteAll(const Command& card) {
  const Command command = card.add("delete-all", "Delete every card number in the terminal");
  const Flag yes = command.flag("--yes", "Confirms it; nothing is deleted without");
  command.prepareTask([=] {
    if (!*yes)
      throw CommandFailure(
          ExitStatus::wrongUse,
          "delete-all deletes every card number in the terminal; confirm with --yes");
    return requireSuccess("every card deleted", [](Cronvel& c, const std::u16string& host) {
      return c.DeleteCardAll(host) == successReply;
    });
  });
}

/// `fields` is how many the file has.
void upload(TerminalSession& session, const std::u16string& host, const std::string& fileName,
            std::size_t fields) {
  std::int32_t cards = 0;
  session.onUpload([&](std::int32_t sent, std::int32_t all) {
    cards = all;
    session.progress(std::to_string(sent) + " of " + std::to_string(all) + " cards");
  });
  const std::uint8_t reply =
      session.run([&](Cronvel& c) { return c.AddCardFile(host, toUtf16(fileName)); });
  session.progress({});
  if (reply != successReply) throw session.failure("it did not take the list");
  session.say(std::to_string(cards) + " cards loaded from " + fileName + "; " +
              std::to_string(fields - static_cast<std::size_t>(cards)) +
              " other fields passed over");
}

void addUpload(const Command& card) {
  const Command command = card.add("upload", "Load a list of card numbers from a text file");
  command.footer(
      "Takes at least 0.15 seconds for each card. Fields that are no card number are\n"
      "passed over.");
  const Text fileName = command.argument("FILE", "Numbers of up to 4 digits, by commas or lines");
  command.prepareTask([=] {
    return [=, fields = fieldsOf(*fileName)](TerminalSession& session, const std::u16string& host) {
      upload(session, host, *fileName, fields);
    };
  });
}

void addTable(const Command& card) {
  const Command command =
      card.add("table", "Send the card table: six numbers whose meaning is the terminal's");
  const Texts numbers = command.arguments("N", "Six numbers, 0 to 99", 6);
  command.prepareTask([=] {
    return requireSuccess(
        "card table sent",
        [table = HostArray<std::uint8_t>(readBytes(*numbers, 6))](
            Cronvel& c, const std::u16string& host) { return c.DefCards(host, table); });
  });
}

}  // namespace

void addCardCommands(const Command& cronvel) {
  const Command card =
      cronvel.addFamily("card", "Card numbers: add, delete, upload", Command::people);
  addEach(card, "add", "Add card numbers, one after another", " added", &Cronvel::AddCardSimple);
  addEach(card, "delete", "Delete card numbers, one after another", " deleted",
          &Cronvel::DeleteCardSimple);
  addDeleteAll(card);
  addUpload(card);
  addTable(card);
}

}  // namespace cronvel
