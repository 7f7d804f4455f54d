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

/// The real platform with hardly any pauses and a clock that runs twice as fast, for
/// conversations where nothing hangs on them. Its message boxes answer themselves.
class HastyPlatform : public TracingPlatform, private Clock, private MsgBox {
 public:
  explicit HastyPlatform(Platform& inner) : TracingPlatform(inner, {}), mClock(inner.clock()) {}
  Clock& clock() override { return *this; }
  MsgBox& msgBox() override { return *this; }

  bool keepsPauses = false;

 private:
  double Timer() override { return mStart + (mClock.Timer() - mStart) * 2; }
  double steadySeconds() override { return mClock.steadySeconds() * 2; }
  void sleep(std::int32_t milliseconds) override { mClock.sleep(keepsPauses ? milliseconds : 1); }
  Answer show(const std::u16string&, Buttons, const std::u16string&) override { return Answer::ok; }

  Clock& mClock;
  double mStart = mClock.Timer();
};

/// The control on the real platform, against simulated terminals.
class SystemTest : public testing::Test {
 protected:
  /// What the terminals reported of one kind of event.
  std::vector<nlohmann::json> journal(const std::string& event) const {
    std::vector<nlohmann::json> events;
    std::istringstream lines(mFolder.read("journal"));
    for (std::string line; std::getline(lines, line) && !lines.eof();) {  // the rest is to come
      auto parsed = nlohmann::json::parse(line);
      if (parsed["event"] == event) events.push_back(std::move(parsed));
    }
    return events;
  }
  std::string journalOption() const { return " --json " + mFolder.path("journal") + " "; }
  std::u16string file(const char* name) const { return toUtf16(mFolder.path(name)); }
  int freePort() const { return test::freePort(*mPlatform, 20000); }
  void useLine(const std::string& line) {
    mPlatform->mapCommPort(1, line);
    mHastyPlatform.keepsPauses = true;  // the other end has to look before the next settings come
    mHasty.CommPort(1);
  }
  /// Gives socket 0 the terminal's port.
  void connectTo(const SimulatedTerminal& terminal) {
    mHasty.WinSockRemotePort(std::stoi(terminal.port()));
    mHasty.SetWinSockUDPMode(0);
  }

  TestFolder mFolder;
  std::unique_ptr<Platform> mPlatform = Platform::create();
  HastyPlatform mHastyPlatform{*mPlatform};
  Container mContainer;
  __Cronvel mEvents;
  Cronvel mHasty{mHastyPlatform, mContainer, mEvents};
};

}  // namespace cronvel::test
