#pragma once

#include <gtest/gtest.h>

#include "control/Cronvel.h"
#include "host/PropertyBagFile.h"
#include "tests/support/Errors.h"
#include "tests/support/FakePlatform.h"
#include "tests/support/TestFolder.h"

namespace cronvel::test {

/// A container that writes down what it is told.
class RecordingContainer : public Container {
 public:
  bool UserMode() const override { return userMode; }
  void PropertyChanged(std::string_view key) override {
    changed.emplace_back(key);
    if (onChange) onChange();
  }
  bool userMode = true;
  std::vector<std::string> changed;
  std::function<void()> onChange;
};

/// Writes the events down, and into their arguments, as a host may: it must do no harm.
class RecordingEvents : public __Cronvel {
 public:
  void WinSockCurrentState(std::int16_t CurrentState) override { states.push_back(CurrentState); }
  void WinSockError(std::int16_t number, std::u16string& description, std::int32_t scode,
                    const std::u16string& source, const std::u16string& helpFile,
                    std::int32_t helpContext, bool& cancelDisplay) override {
    errors += std::to_string(number) +
              toUtf8(u"," + description + u"," + source + u"," + helpFile) + "," +
              std::to_string(scode) + "," + std::to_string(helpContext) +
              (cancelDisplay ? "!" : "");
  }
  void WinSockDataReceived(Bytes& bytes, std::int32_t length, std::u16string& host,
                           std::u16string& address, std::int16_t& loops,
                           std::int32_t& calls) override {
    arrivals.push_back(std::to_string(length) + ":" + hex(bytes) + " from " +
                       toUtf8(host + u" " + address) + " " + std::to_string(loops + calls));
    bytes.assign(5, 0xEE);
  }
  void DataReceivedForMonitoring(Bytes& bytes, std::int16_t& length) override {
    monitoring.push_back(std::to_string(length) + ":" + hex(bytes));
  }
  std::vector<std::int16_t> states;
  std::string errors;
  std::vector<std::string> arrivals;    ///< "2: 01 FF from clock 10.0.0.9 0"
  std::vector<std::string> monitoring;  ///< "2: 01 FF"
};

/// The control on a fake machine.
class ControlTest : public testing::Test {
 protected:
  ControlTest() {
    platform.time.stepPerRead = 1000;  // the calibration divides by the time that passes
    control = std::make_unique<Cronvel>(platform, container, events);
    platform.time.stepPerRead = 0;
  }
  Transcript& transcript() { return platform.transcript; }
  /// Without sending the switch: as a host's saved settings would.
  void monitoringOn() {
    PropertyBagFile bag;
    control->WriteProperties(bag);
    bag.WriteProperty("MonitoringON", true, false);
    control->ReadProperties(bag);
    transcript().take();
  }

  FakePlatform platform;
  RecordingContainer container;
  RecordingEvents events;
  std::unique_ptr<Cronvel> control;
};

}  // namespace cronvel::test
