#pragma once

#include <string>

#include "cli/RecordFiles.h"
#include "cli/TerminalSession.h"

namespace cronvel {

/// "1042 records, 0 damaged", as the control's last check counted.
std::string recordCounts(const Cronvel& control);
/// Says what damage means, if there is any.
void warnOfDamage(TerminalSession& session);

/// Why the check of a raw file just now did not find it whole.
std::string whyIncomplete(TerminalSession& session, const RecordFiles& files, bool strict);

}  // namespace cronvel
