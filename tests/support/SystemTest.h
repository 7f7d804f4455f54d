#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "control/Cronvel.h"
#include "platform/TracingPlatform.h"
#include "runtime/Text.h"
#include "tests/support/SimulatedTerminal.h"

namespace cronvel::test {

/// The real platform with hardly any pauses and a clock that runs three times as fast: for
/// conversations on the network, where nothing hangs on the pauses.
class HastyPlatform : public TracingPlatform {
 public:
  explicit HastyPlatform(Platform& inner) : TracingPlatform(inner, {}), mClock(inner.clock()) {}
  Clock& clock() override { return mClock; }

 private:
  struct HastyClock : Clock {
    explicit HastyClock(Clock& clock) : inner(clock), start(clock.Timer()) {}
    double Timer() override { return start + (inner.Timer() - start) * 3; }
    void sleep(std::int32_t) override { inner.sleep(1); }
    Clock& inner;
    double start;
  };
  HastyClock mClock;
};

/// The control on the real platform, against simulated terminals.
class SystemTest : public testing::Test {
 protected:
  /// What the terminals reported of one kind of event.
  std::vector<nlohmann::json> journal(const std::string& event) const {
    std::vector<nlohmann::json> events;
    std::istringstream lines(mFolder.read("journal"));
    for (std::string line; std::getline(lines, line);) {
      auto parsed = nlohmann::json::parse(line);
      if (parsed["event"] == event) events.push_back(std::move(parsed));
    }
    return events;
  }
  std::string journalOption() const { return " --json " + mFolder.path("journal") + " "; }
  std::u16string file(const char* name) const { return toUtf16(mFolder.path(name)); }
  int freePort() const {
    const auto sockets = mPlatform->makeSocketArray();
    sockets->at(0).LocalPort(0);
    sockets->at(0).Listen();
    return sockets->at(0).LocalPort();
  }
  void useLine(const SimulatedTerminal& terminal) {
    mPlatform->mapCommPort(1, terminal.line());
    mControl.CommPort(1);
  }
  /// Gives socket 0 of a control the host's port.
  static void connectTo(Cronvel& control, const SimulatedTerminal& terminal) {
    control.WinSockRemotePort(std::stoi(terminal.port()));
    control.SetWinSockUDPMode(0);
  }

  TestFolder mFolder;
  std::unique_ptr<Platform> mPlatform = Platform::create();
  HastyPlatform mHastyPlatform{*mPlatform};
  Container mContainer;
  __Cronvel mEvents;
  Cronvel mControl{*mPlatform, mContainer, mEvents};
  Cronvel mHasty{mHastyPlatform, mContainer, mEvents};
};

}  // namespace cronvel::test
