#pragma once

#include <iosfwd>

namespace cronvel {

/// Where a command writes and whether a person sits there.
struct Io {
  std::ostream& out;          ///< results
  std::ostream& err;          ///< progress, warnings, the transcript
  bool showProgress = false;  ///< `err` is a terminal: lines may be overwritten
  bool canAsk = false;        ///< standard input is a terminal: questions get an answer
};

}  // namespace cronvel
