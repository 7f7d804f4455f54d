#include "cli/RecordSummary.h"

#include "runtime/File.h"
#include "runtime/Text.h"

namespace cronvel {

std::string recordCounts(const Cronvel& control) {
  const auto records = control.NumOfRecs();
  return std::to_string(records) + (records == 1 ? " record, " : " records, ") +
         std::to_string(control.DamagedRecs()) + " damaged";
}

void warnOfDamage(TerminalSession& session) {
  if (session.control().DamagedRecs() == 0) return;
  session.warn(
      "damaged digits are shown as \"?\"; download again before the terminal's memory is erased");
}

std::string whyIncomplete(TerminalSession& session, const RecordFiles& files, bool strict) {
  const std::u16string name = toUtf16(pathText(files.raw()));
  const bool onlyTheCount =
      strict && session.run([&](Cronvel& c) { return c.CheckIntegrity(name, false); }) == -1;
  return onlyTheCount ? "the stream ends properly, but the record count in its end disagrees with "
                        "the memory positions there"
                      : "the stream is not complete: it has no valid end";
}

}  // namespace cronvel
