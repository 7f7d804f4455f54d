#pragma once

#include <filesystem>

#include "tests/platform/PlatformTest.h"

namespace cronvel {

/// A line of this machine whose far end the test holds.
std::unique_ptr<SerialLineEnd> makeTestLine(Platform& platform);
/// Of the environment; an empty value removes the variable.
void setVariable(const char* name, const std::string& value);

class SerialTest : public PlatformTest {
 protected:
  SerialTest() {
    platform->mapCommPort(1, line->path());
    port->configure({.InputMode = 1, .RThreshold = 1, .DTREnable = true, .RTSEnable = true});
    port->onComm([this] { ++events; });
    line->onReceive([this](std::span<const std::uint8_t> bytes, const LineSettings&) {
      fromPc.insert(fromPc.end(), bytes.begin(), bytes.end());
    });
  }

  void send(const Bytes& bytes) { line->send(bytes); }
  void open() {
    port->PortOpen(true);
    pumpUntil([&] { return line->settings().speed != 0; });
  }
  int openError() {
    return raisedBy([&] { port->PortOpen(true); }).number;
  }
  std::string inTemp(const std::string& name) {
    return (std::filesystem::temp_directory_path() /
            (name + std::to_string(Steady::now().time_since_epoch().count())))
        .string();
  }

  std::unique_ptr<SerialLineEnd> line = makeTestLine(*platform);
  std::unique_ptr<SerialPort> port = platform->makeSerialPort();
  Bytes fromPc;
  int events = 0;
};

}  // namespace cronvel
