#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/device/Faults.h"
#include "simulator/memory/Workplace.h"
#include "simulator/wire/Modem.h"

namespace cronvel::simulator {

/// What the program was asked for.
struct Options {
  std::vector<int> terminals{1};
  bool serial = false;
  std::string linkName;
  bool hasModem = false;
  std::string modemLinkName;
  ModemOptions modem;
  std::optional<int> listenPort;
  std::string connectHost;
  int connectPort = 0;  ///< of the first terminal
  double networkSpeed = 20'000;
  double eventRate = 0.5;  ///< live events per second of a monitored terminal
  std::size_t cardCapacity = 5000;

  Workplace workplace;
  std::size_t startPosition = 0;
  std::string recordsFile;
  Faults faults;

  std::string jsonFile;  ///< "-" is standard output
  bool quiet = false;
  bool once = false;
  std::optional<double> seconds;
};

/// Reads the command line. Where it asks for help or is wrong, says so and returns the exit status
/// in `status` instead.
std::optional<Options> parseOptions(int argc, char** argv, int& status);

}  // namespace cronvel::simulator
