#include "simulator/program/Simulation.h"

#include <csignal>
#include <ctime>
#include <iostream>
#include <stdexcept>
#include <utility>

namespace cronvel::simulator {

namespace {

volatile std::sig_atomic_t gStop = 0;

std::tm localTime() {
  const std::time_t now = std::time(nullptr);
  return *std::localtime(&now);
}

int secondOfDay(const std::tm& time) {
  return time.tm_hour * 3600 + time.tm_min * 60 + time.tm_sec;
}

bool endsExchange(const std::string& event) {
  return event == "answered" || event == "stream-end" || event == "silent" || event == "dropped";
}

}  // namespace

Simulation::Simulation(Platform& platform, const Options& options)
    : mPlatform(platform),
      mOptions(options),
      mOut(options.jsonFile == "-" ? std::cerr : std::cout),
      mScheduler(platform.makeTimer()),
      mJournal(mScheduler) {}

void Simulation::run() {
  addSinks();
  makeTerminals();
  openSerial();
  openModem();
  openListener();
  openConnections();
  showTerminals();
  if (mOptions.seconds) mTimeUp = mScheduler.after(*mOptions.seconds * 1000, stop);
  while (!gStop) mPlatform.messagePump().waitEvents();
}

void Simulation::stop() { gStop = 1; }

void Simulation::addSinks() {
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
void Simulation::onceSink(const Event& event) {
  constexpr double grace = 500;
  if (endsExchange(event.name)) mOnce = mScheduler.after(grace, stop);
}

void Simulation::makeTerminals() {
  const std::tm now = localTime();
  const Date today{now.tm_year % 100, now.tm_mon + 1, now.tm_mday};
  for (const int number : mOptions.terminals) {
    mTerminals.push_back(std::make_unique<Terminal>(number, makeMemory(mTerminals.size()),
                                                    mOptions.faults, mScheduler,
                                                    mOptions.workplace.seed));
    mTerminals.back()->setClock(today, secondOfDay(now));
    mTerminals.back()->cardCapacity(mOptions.cardCapacity);
    mTerminals.back()->eventInterval(mOptions.eventRate > 0 ? 1000 / mOptions.eventRate : 0);
    mAll.push_back(mTerminals.back().get());
  }
}

RecordMemory Simulation::makeMemory(std::size_t index) const {
  if (!mOptions.recordsFile.empty()) return RecordMemory::fromFile(mOptions.recordsFile);
  Workplace workplace = mOptions.workplace;
  workplace.seed += static_cast<std::uint32_t>(index);
  return RecordMemory(makeDays(workplace), workplace.idDigits, mOptions.startPosition);
}

/// Where the terminals are, for people and scripts alike.
void Simulation::announce(const std::string& label, const char* event, const char* field,
                          const Json& value) {
  mOut << label << (value.is_string() ? value.get<std::string>() : value.dump()) << std::endl;
  mJournal.record(event, std::nullopt, {{field, value}});
}

void Simulation::openSerial() {
  if (!mOptions.serial) return;
  auto line = mPlatform.makeSerialLineEnd(mOptions.linkName);
  announce("serial line: ", "serial-line", "path",
           mOptions.linkName.empty() ? line->path() : mOptions.linkName);
  mBus = std::make_unique<SerialBus>(std::move(line), mAll, mScheduler, mJournal);
}

void Simulation::openModem() {
  if (!mOptions.hasModem) return;
  auto line = mPlatform.makeSerialLineEnd(mOptions.modemLinkName);
  const std::string path = mOptions.modemLinkName.empty() ? line->path() : mOptions.modemLinkName;
  mModem = std::make_unique<Modem>(std::move(line), mAll, mScheduler, mJournal, mOptions.modem);
  announce("modem line: ", "modem-line", "path", path);
}

NetworkPort& Simulation::addPort(std::vector<Terminal*> terminals) {
  mPorts.push_back(std::make_unique<NetworkPort>(mPlatform.makeSocketArray(), std::move(terminals),
                                                 mScheduler, mJournal, mOptions.networkSpeed));
  return *mPorts.back();
}

void Simulation::openListener() {
  if (!mOptions.listenPort) return;
  announce("listening on port ", "listening", "port", addPort(mAll).listen(*mOptions.listenPort));
}

void Simulation::openConnections() {
  if (mOptions.connectHost.empty()) return;
  int port = mOptions.connectPort;
  for (Terminal* terminal : mAll) {
    mOut << "connecting to " << mOptions.connectHost << " port " << port << std::endl;
    addPort({terminal}).connectTo(mOptions.connectHost, port++);
  }
}

void Simulation::showTerminals() {
  for (const Terminal* terminal : mAll)
    mJournal.record("state", terminal->number(), terminal->stateFields(), terminal->stateText());
}

}  // namespace cronvel::simulator
