#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/DisplayFont.h"
#include "cli/DisplayText.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

void printJson(std::ostream& out, const DisplayText& shown) {
  nlohmann::ordered_json object = {
      {"text", toUtf8(shown.text)}, {"row", drawnRow(shown.row)}, {"codes", hexText(shown.row)}};
  if (!shown.sentAsItIs) object["reading"] = shown.reading;
  if (!shown.remark.empty()) object["remark"] = shown.remark;
  out << object.dump() << '\n';
}

void printPlain(const Io& io, const DisplayText& shown) {
  io.err << "row      " << quotedRow(shown) << " from the left\n";
  if (!shown.sentAsItIs) io.err << "reading  \"" << shown.reading << "\"\n";
  if (!shown.remark.empty()) io.err << "cronvel: " << shown.remark << '\n';
  io.err << std::flush;
  io.out << toUtf8(shown.text) << '\n' << std::flush;
}

}  // namespace

void addTextCommand(const Command& cronvel) {
  const Command command = cronvel.add(
      "text", "Show how a text stands on the display, and what to give SendMsg", Command::people);
  command.footer(
      "Standard output gets the text that a host gives to the control so that the display shows\n"
      "what was typed; row and reading stand on standard error. \"message\" and \"mode names\" do\n"
      "by themselves what this shows.");
  const Text text = command.argument("TEXT", "Persian or Latin");
  const Flag modeName =
      command.flag("--mode-name", "For a mode name, 16 places, not a message, 31");
  const Flag asItIs = command.flag("--as-is", "What becomes of the text as it is");
  const Flag json = command.flag("--json", "Print all of it as one line of JSON");
  command.prepare([=] {
    const DisplayText shown = displayText(*text, *modeName ? modeNameField : messageField, *asItIs);
    return Invocation([=, json = *json](Shell shell) {
      if (json) return printJson(shell.io.out, shown);
      printPlain(shell.io, shown);
    });
  });
}

}  // namespace cronvel
