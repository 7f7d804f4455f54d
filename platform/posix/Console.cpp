#include "platform/Console.h"

#include <unistd.h>

#include <csignal>

namespace cronvel {

bool isTerminal(int standardStream) { return isatty(standardStream) == 1; }

void reportFileSizeLimit() { std::signal(SIGXFSZ, SIG_IGN); }

}  // namespace cronvel
