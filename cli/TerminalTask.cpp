#include "cli/TerminalTask.h"

#include <memory>
#include <utility>

#include "cli/LinkOptions.h"

namespace cronvel {

namespace {

std::u16string hostFor(TerminalSession& session, const TerminalTask& task) {
  switch (task.network) {
    case TerminalTask::Network::connects:
      return session.connects(task.name);
    case TerminalTask::Network::listens:
      return session.listens(task.name);
    case TerminalTask::Network::none:
      break;
  }
  return {};
}

void requireSerial(const TerminalTask& task, const LinkOptions& link) {
  if (task.network == TerminalTask::Network::none && link.onNetwork())
    throw CommandFailure(ExitStatus::wrongUse,
                         task.name + " works only over the serial line or a modem: give --port");
}

}  // namespace

CLI::App* addTerminalTask(CLI::App& parent, Shell shell, TerminalTask task) {
  CLI::App* command = parent.add_subcommand(task.name, task.help)->group(task.group);
  if (task.arguments) task.arguments(*command);
  auto link = std::make_shared<LinkOptions>();
  addLinkOptions(*command, *link);
  command->callback([shell, link, task = std::move(task)] {
    if (task.check) task.check();
    chooseLink(*link);
    requireSerial(task, *link);
    TerminalSession session(shell.platform, shell.io, *link);
    task.run(session, hostFor(session, task));
  });
  return command;
}

}  // namespace cronvel
