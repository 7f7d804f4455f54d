#pragma once

#include "host/Notes.h"

namespace cronvel {

/// What the command tells the shell; scripts rely on the numbers.
enum class ExitStatus : int {
  done = 0,      ///< and everything whole
  refused = 1,   ///< by the terminal
  wrongUse = 2,  ///< option, list, settings file; nothing was sent
  error = 3,     ///< file, disk, a fault of the machine
  notWhole = 4,  ///< what came
  noAnswer = 5,  ///< silent, unreachable, no carrier, never connected in
  busy = 6,      ///< port, listening port, file or line is in another's hands
  interrupted = 130,
};

/// The table for a person, to stand in a help text.
inline constexpr const char* exitStatusHelp =
    "Exit status: 0 done, and everything whole; 1 the terminal refused; 2 wrong use, nothing was\n"
    "sent; 3 an error of file, disk or machine; 4 what came is not whole; 5 no answer; 6 busy:\n"
    "port or file is in another's hands; 130 ended by Ctrl-C, TERM or HUP.";

/// For an error number of the control or of a socket.
ExitStatus statusOf(int errorNumber);
/// For a command that did not succeed and whose last note was of this kind.
ExitStatus statusOf(NoteKind kind);

/// What a command on several terminals, or of several parts, ends with.
ExitStatus gravest(ExitStatus one, ExitStatus other);

}  // namespace cronvel
