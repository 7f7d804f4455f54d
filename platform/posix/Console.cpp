#include "platform/Console.h"

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

namespace cronvel {

bool isTerminal(int standardStream) { return isatty(standardStream) == 1; }

void reportFileSizeLimit() { std::signal(SIGXFSZ, SIG_IGN); }

std::vector<std::string> programArguments(int argc, char** argv) { return {argv + 1, argv + argc}; }

// They are.
Utf8Console::Utf8Console() = default;
Utf8Console::~Utf8Console() = default;

void raiseOpenFileLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace cronvel
