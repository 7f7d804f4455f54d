#include <csignal>
#include <iostream>
#include <stdexcept>

#include "platform/Console.h"
#include "platform/Platform.h"
#include "simulator/program/Options.h"
#include "simulator/program/Simulation.h"

namespace {

using namespace cronvel::simulator;

constexpr int wrongUse = 2;
constexpr int failure = 3;

int failed(const std::exception& error, int status) {
  std::cerr << "cronvel-terminal: " << error.what() << std::endl;
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  int status = 0;
  const auto options = parseOptions(argc, argv, status);
  if (!options) return status;
  cronvel::raiseOpenFileLimit();  // a connection each, for hundreds of terminals
  std::signal(SIGINT, [](int) { Simulation::stop(); });
  std::signal(SIGTERM, [](int) { Simulation::stop(); });
  try {
    const auto platform = cronvel::Platform::createUntraced();
    Simulation(*platform, *options).run();
  } catch (const std::invalid_argument& error) {
    return failed(error, wrongUse);
  } catch (const std::exception& error) {
    return failed(error, failure);
  }
  return 0;
}
