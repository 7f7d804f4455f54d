#include "cli/Confirmation.h"

#include "cli/CommandFailure.h"
#include "cli/LinkOptions.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

std::string named(const LinkOptions& link) {
  const auto device = link.properties.find("DeviceNum");
  if (device == link.properties.end()) return "the terminal";
  return "terminal " + std::to_string(std::get<std::int16_t>(device->second));
}

void ask(Platform& platform, const std::string& question) {
  const auto answer = platform.msgBox().show(toUtf16(question), MsgBox::Buttons::yesNo, u"cronvel");
  if (answer != MsgBox::Answer::yes)
    throw CommandFailure(ExitStatus::refused, "not confirmed; nothing was done");
}

}  // namespace

Invocation confirmed(const std::string& what, const LinkOptions& link, const Io& io,
                     const Invocation& task) {
  const std::string question = what + " in " + named(link) + "?";
  if (!io.canAsk)
    throw CommandFailure(ExitStatus::wrongUse,
                         question + " Nobody is here to confirm it; add --yes");
  return Invocation([=](Shell shell) {
    ask(shell.platform, question);
    task.run(shell);
  });
}

}  // namespace cronvel
