#include "cli/Command.h"

#include <CLI/CLI.hpp>
#include <utility>

#include "cli/Arguments.h"

namespace cronvel {

namespace {

const char* directionHelp(Command::Direction direction) {
  if (direction == &Link::connects)
    return "Over the network this PC connects to the terminal (--host).";
  if (direction == &Link::listens)
    return "Over the network the terminal connects in (--listen), within 10 seconds.";
  return "Over the serial line or a modem only.";
}

}  // namespace

Command Command::add(const std::string& name, const std::string& help, const char* group) const {
  CLI::App* const command = mApp.add_subcommand(name, help)->group(group);
  command->footer("\"cronvel --help\" lists the exit statuses.");
  return {*command, mPrepared};
}

Command Command::addFamily(const std::string& name, const std::string& help,
                           const char* group) const {
  const Command family = add(name, help, group);
  family.mApp.require_subcommand(1);
  return family;
}

std::string Command::name() const { return mApp.get_name(); }

void Command::footer(const std::string& text) const {
  const std::string earlier = mApp.get_footer();
  mApp.footer(earlier.empty() ? text : text + "\n" + earlier);
}

Text Command::argument(const std::string& name, const std::string& help) const {
  Text text = std::make_shared<std::string>();
  mApp.add_option(name, *text, help)->required();
  return text;
}

Texts Command::arguments(const std::string& name, const std::string& help, int count) const {
  Texts texts = optionalArguments(name, help);
  CLI::Option* option = mApp.get_option(name)->required();
  if (count > 0) option->expected(count);
  return texts;
}

Texts Command::optionalArguments(const std::string& name, const std::string& help) const {
  Texts texts = std::make_shared<std::vector<std::string>>();
  mApp.add_option(name, *texts, help);
  return texts;
}

Text Command::option(const std::string& name, const std::string& type,
                     const std::string& help) const {
  Text text = std::make_shared<std::string>();
  mApp.add_option(name, *text, help)->type_name(type);
  return text;
}

Number Command::number(const std::string& name, int lowest, int highest, const std::string& help,
                       const std::string& type) const {
  Number value = std::make_shared<std::optional<int>>();
  const auto take = [=](const std::string& text) {
    *value = parseNumber(text, lowest, highest, name);
  };
  mApp.add_option_function<std::string>(name, take, help)->type_name(type);
  return value;
}

Flag Command::flag(const std::string& name, const std::string& help) const {
  Flag flag = std::make_shared<bool>(false);
  mApp.add_flag(name, *flag, help);
  return flag;
}

LinkChoice Command::link() const { return link({addLinkOptions}); }

LinkChoice Command::link(std::initializer_list<void (*)(CLI::App&, LinkOptions&)> adders) const {
  LinkChoice choice = std::make_shared<LinkOptions>();
  for (const auto add : adders) add(mApp, *choice);
  return choice;
}

void Command::prepare(std::function<Invocation()> prepare) const {
  mApp.callback([&prepared = mPrepared, prepare = std::move(prepare)] { prepared = prepare(); });
}

void Command::prepareTask(const std::function<TerminalAction()>& prepareAction,
                          Direction direction) const {
  const LinkChoice options = link();
  footer(directionHelp(direction));
  prepare([=, name = name()] {
    const TerminalAction action = prepareAction();
    const Link link = Link::toTerminal(*options);
    return Invocation(link, [action, peer = (link.*direction)(name)](TerminalSession& session) {
      action(session, session.use(peer));
    });
  });
}

TerminalAction requireSuccess(std::string done,
                              std::function<bool(Cronvel&, const std::u16string& host)> call) {
  return [done = std::move(done), call = std::move(call)](TerminalSession& session,
                                                          const std::u16string& host) {
    session.require(done, [&](Cronvel& control) { return call(control, host); });
  };
}

}  // namespace cronvel
