#include <memory>
#include <vector>

#include "cli/Arguments.h"
#include "cli/CardFile.h"
#include "cli/Command.h"
#include "cli/Confirmation.h"
#include "protocol/CommandExchange.h"
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

Invocation prepareDeleteAll(const LinkOptions& options, bool ask, const Io& io) {
  const Link link = Link::toTerminal(options);
  const Invocation task(link, [peer = link.connects("delete-all")](TerminalSession& session) {
    const std::u16string host = session.use(peer);
    session.require("every card deleted",
                    [&](Cronvel& c) { return c.DeleteCardAll(host) == successReply; });
  });
  return ask ? confirmed("Delete every card number", options, io, task) : task;
}

void addDeleteAll(const Command& card, const Io& io) {
  const Command command = card.add("delete-all", "Delete every card number in the terminal");
  const Flag yes = command.flag("--yes", "Do not ask");
  const LinkChoice link = command.link();
  command.prepare([=, &io] { return prepareDeleteAll(*link, !*yes, io); });
}

void upload(TerminalSession& session, const std::u16string& host, const std::string& fileName,
            const CardFile& list) {
  std::size_t taken = 0;
  for (const std::string& remark : list.remarks()) session.warn(remark);
  session.onUpload([&](std::int32_t sent, std::int32_t all) {
    taken = static_cast<std::size_t>(all);
    session.progress(std::to_string(sent) + " of " + std::to_string(all) + " cards");
  });
  const std::uint8_t reply =
      session.run([&](Cronvel& c) { return c.AddCardFile(host, toUtf16(fileName)); });
  session.progress({});
  if (reply != successReply) throw session.failure("it did not take the list");
  if (taken != list.numbers())
    throw CommandFailure(ExitStatus::error,
                         fileName + " was changed while it was sent: " + std::to_string(taken) +
                             " numbers, not " + std::to_string(list.numbers()));
  session.say(std::to_string(list.cards()) + (list.cards() == 1 ? " card" : " cards") +
              " loaded from " + fileName);
}

void addUpload(const Command& card) {
  const Command command = card.add("upload", "Load a list of card numbers from a text file");
  command.footer(
      "One number to a line, or all in one line with commas between. The whole list is read "
      "first;\n"
      "what is no card number is told with its line and column, and nothing is sent. Takes at\n"
      "least 0.15 seconds for each card.");
  const Text fileName = command.argument("FILE", "Numbers of up to 4 digits");
  command.prepareTask([=] {
    return [=, list = CardFile(*fileName)](TerminalSession& session, const std::u16string& host) {
      upload(session, host, *fileName, list);
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

void addCardCommands(const Command& cronvel, const Io& io) {
  const Command card =
      cronvel.addFamily("card", "Card numbers: add, delete, upload", Command::people);
  addEach(card, "add", "Add card numbers, one after another", " added", &Cronvel::AddCardSimple);
  addEach(card, "delete", "Delete card numbers, one after another", " is not in the list any more",
          &Cronvel::DeleteCardSimple);
  addDeleteAll(card, io);
  addUpload(card);
  addTable(card);
}

}  // namespace cronvel
