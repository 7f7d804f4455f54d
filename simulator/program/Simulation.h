#pragma once

#include <fstream>
#include <iosfwd>
#include <memory>
#include <vector>

#include "platform/Platform.h"
#include "simulator/base/Journal.h"
#include "simulator/base/Scheduler.h"
#include "simulator/device/Terminal.h"
#include "simulator/program/Options.h"
#include "simulator/wire/Modem.h"
#include "simulator/wire/NetworkPort.h"
#include "simulator/wire/SerialBus.h"

namespace cronvel::simulator {

/// The terminals and their links, as the options describe them.
class Simulation {
 public:
  /// Both outlive this.
  Simulation(Platform& platform, const Options& options);

  /// Runs until the options or, from a signal, `stop` end it. Throws std::invalid_argument for
  /// values that cannot be, and another exception where something cannot be opened.
  void run();
  /// Ends every simulation of this process at its next pass.
  static void stop();

 private:
  void addSinks();
  void onceSink(const Event& event);
  void makeTerminals();
  RecordMemory makeMemory(std::size_t index) const;
  void openSerial();
  void openModem();
  NetworkPort& addPort(std::vector<Terminal*> terminals);
  void openListener();
  void openConnections();
  void announce(const std::string& label, const char* event, const char* field, const Json& value);
  void showTerminals();

  Platform& mPlatform;
  const Options& mOptions;
  std::ostream& mOut;
  TimerScheduler mScheduler;
  Journal mJournal;
  std::ofstream mJsonFile;
  std::vector<std::unique_ptr<Terminal>> mTerminals;
  std::vector<Terminal*> mAll;
  std::unique_ptr<SerialBus> mBus;
  std::unique_ptr<Modem> mModem;
  std::vector<std::unique_ptr<NetworkPort>> mPorts;
  Scheduler::Task mTimeUp;
  Scheduler::Task mOnce;
};

}  // namespace cronvel::simulator
