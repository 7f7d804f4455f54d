#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "control/Cronvel.h"
#include "host/PropertyBagFile.h"
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

class RecordingEvents : public __Cronvel {
 public:
  struct Arrival {
    Bytes bytes;
    std::int32_t length;
    std::u16string host;
    std::u16string address;
    int counters;
  };
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
    arrivals.push_back({bytes, length, host, address, loops + calls});
    bytes.assign(5, 0xEE);  // a host may write there; it must do no harm
    if (onArrival) onArrival();
  }
  void DataReceivedForMonitoring(Bytes& bytes, std::int16_t length) override {
    monitoring.push_back({bytes, length, {}, {}, 0});
  }
  void AddFileProgressInit(std::int32_t& nMax) override { note(-nMax, nMax); }
  void AddFileProgressInc(std::int32_t& nValue) override { note(nValue, nValue); }
  std::vector<std::int16_t> states;
  std::string errors;  ///< everything that each one told
  std::vector<Arrival> arrivals;
  std::vector<Arrival> monitoring;
  std::function<void()> onArrival;
  std::vector<std::int32_t> progress;  ///< the count as a negative number, then each
  std::function<void(std::int32_t&)> onProgress;

 private:
  void note(std::int32_t told, std::int32_t& value) {
    progress.push_back(told);
    if (onProgress) onProgress(value);
  }
};

/// The control on a fake machine.
class ControlTest : public testing::Test {
 protected:
  ControlTest() {
    platform.time.stepPerRead = 1000;  // the calibration divides by the time that passes
    control = std::make_unique<Cronvel>(platform, container, events);
    platform.time.stepPerRead = 0;
    transcript().take();
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
  /// The error number that the call ends with, 0 for none.
  template <typename Call>
  static int errorOf(Call&& call) {
    try {
      call();
    } catch (const RunTimeError& error) {
      return static_cast<int>(error.number());
    }
    return 0;
  }

  /// The text of the error that the call ends with.
  template <typename Call>
  static std::string messageOf(Call&& call) {
    try {
      call();
    } catch (const RunTimeError& error) {
      return error.what();
    }
    return {};
  }

  FakePlatform platform;
  RecordingContainer container;
  RecordingEvents events;
  std::unique_ptr<Cronvel> control;
};

}  // namespace cronvel::test
