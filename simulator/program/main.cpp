#include <chrono>
#include <csignal>
#include <ctime>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>

#include "platform/Platform.h"
#include "simulator/program/Options.h"
#include "simulator/wire/Modem.h"
#include "simulator/wire/NetworkPort.h"
#include "simulator/wire/SerialBus.h"

namespace {

using namespace cronvel;
using namespace cronvel::simulator;

constexpr int wrongUse = 2;
constexpr int failure = 3;

volatile std::sig_atomic_t gStop = 0;

void onSignal(int) { gStop = 1; }

std::tm localTime() {
  const std::time_t now = std::time(nullptr);
  return *std::localtime(&now);
}

int secondOfDay(const std::tm& time) {
  return time.tm_hour * 3600 + time.tm_min * 60 + time.tm_sec;
}

RecordMemory makeMemory(const Options& options, std::size_t index) {
  if (!options.recordsFile.empty()) return RecordMemory::fromFile(options.recordsFile);
  Workplace workplace = options.workplace;
  workplace.seed += static_cast<std::uint32_t>(index);
  return RecordMemory(makeDays(workplace), workplace.idDigits, options.startPosition);
}

bool endsExchange(const std::string& event) {
  return event == "answered" || event == "stream-end" || event == "silent" || event == "dropped";
}

/// The terminals and their links, as the options describe them.
class Simulation {
 public:
  Simulation(Platform& platform, const Options& options)
      : mPlatform(platform),
        mOptions(options),
        mOut(options.jsonFile == "-" ? std::cerr : std::cout),
        mScheduler(platform.makeTimer()),
        mJournal(mScheduler) {}

  void run() {
    addSinks();
    makeTerminals();
    openSerial();
    openModem();
    openListener();
    openConnections();
    showTerminals();
    if (mOptions.seconds) mTimeUp = mScheduler.after(*mOptions.seconds * 1000, [] { gStop = 1; });
    while (!gStop) mPlatform.messagePump().waitEvents();
  }

 private:
  void addSinks() {
    if (!mOptions.quiet) mJournal.addSink(humanSink(mOut, secondOfDay(localTime())));
    if (mOptions.jsonFile == "-") {
      mJournal.addSink(jsonSink(std::cout));
    } else if (!mOptions.jsonFile.empty()) {
      mJsonFile.open(mOptions.jsonFile);
      if (!mJsonFile) throw std::runtime_error("cannot write the file " + mOptions.jsonFile);
      mJournal.addSink(jsonSink(mJsonFile));
    }
    if (mOptions.once) mJournal.addSink([this](const Event& event) { onceSink(event); });
  }

  // The answer must have been read before the line goes away with this program.
  void onceSink(const Event& event) {
    constexpr double grace = 500;
    if (!endsExchange(event.name)) return;
    mOnce = mScheduler.after(grace, [] { gStop = 1; });
  }

  void makeTerminals() {
    const std::tm now = localTime();
    const Date today{now.tm_year % 100, now.tm_mon + 1, now.tm_mday};
    for (const int number : mOptions.terminals) {
      mTerminals.push_back(std::make_unique<Terminal>(
          number, makeMemory(mOptions, mTerminals.size()), mOptions.faults, mScheduler));
      mTerminals.back()->setClock(today, secondOfDay(now));
      mTerminals.back()->cardCapacity(mOptions.cardCapacity);
      mTerminals.back()->eventInterval(mOptions.eventRate > 0 ? 1000 / mOptions.eventRate : 0);
      mAll.push_back(mTerminals.back().get());
    }
  }

  void openSerial() {
    if (!mOptions.serial) return;
    auto line = mPlatform.makeSerialLineEnd(mOptions.linkName);
    const std::string path = mOptions.linkName.empty() ? line->path() : mOptions.linkName;
    mOut << "serial line: " << path << std::endl;
    mJournal.record("serial-line", std::nullopt, {{"path", path}});
    mBus = std::make_unique<SerialBus>(std::move(line), mAll, mScheduler, mJournal);
  }

  void openModem() {
    if (!mOptions.hasModem) return;
    auto line = mPlatform.makeSerialLineEnd(mOptions.modemLinkName);
    const std::string path = mOptions.modemLinkName.empty() ? line->path() : mOptions.modemLinkName;
    mModem = std::make_unique<Modem>(std::move(line), mAll, mScheduler, mJournal, mOptions.modem);
    mOut << "modem line: " << path << std::endl;
    mJournal.record("modem-line", std::nullopt, {{"path", path}});
  }

  NetworkPort& addPort(std::vector<Terminal*> terminals) {
    mPorts.push_back(std::make_unique<NetworkPort>(mPlatform.makeSocketArray(),
                                                   std::move(terminals), mScheduler, mJournal,
                                                   mOptions.networkSpeed));
    return *mPorts.back();
  }

  void openListener() {
    if (!mOptions.listenPort) return;
    const int port = addPort(mAll).listen(*mOptions.listenPort);
    mOut << "listening on port " << port << std::endl;
    mJournal.record("listening", std::nullopt, {{"port", port}});
  }

  void openConnections() {
    if (mOptions.connectHost.empty()) return;
    int port = mOptions.connectPort;
    for (Terminal* terminal : mAll) {
      mOut << "connecting to " << mOptions.connectHost << " port " << port << std::endl;
      addPort({terminal}).connectTo(mOptions.connectHost, port++);
    }
  }

  void showTerminals() {
    for (const Terminal* terminal : mAll) {
      mJournal.record("state", terminal->number(), terminal->stateFields(), terminal->stateText());
    }
  }

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

}  // namespace

int main(int argc, char** argv) {
  int status = 0;
  const auto options = parseOptions(argc, argv, status);
  if (!options) return status;
  std::signal(SIGINT, onSignal);
  std::signal(SIGTERM, onSignal);
  try {
    const auto platform = Platform::createUntraced();
    Simulation(*platform, *options).run();
  } catch (const std::invalid_argument& error) {
    std::cerr << "cronvel-terminal: " << error.what() << std::endl;
    return wrongUse;
  } catch (const std::exception& error) {
    std::cerr << "cronvel-terminal: " << error.what() << std::endl;
    return failure;
  }
  return 0;
}
