#include <iostream>

#include "cli/CommandLine.h"
#include "platform/Console.h"

int main(int argc, char** argv) {
  cronvel::reportFileSizeLimit();
  const cronvel::Utf8Console utf8;
  cronvel::raiseOpenFileLimit();
  const auto platform = cronvel::Platform::create();
  cronvel::Io io{std::cout, std::cerr, cronvel::isTerminal(2), cronvel::isTerminal(0)};
  return static_cast<int>(
      cronvel::runCommandLine(*platform, io, cronvel::programArguments(argc, argv)));
}
