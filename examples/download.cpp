// Downloads a terminal's records over a serial port, the way a program of yours would:
//
//     download-example /dev/ttyUSB0 12 records.Hex

#include <exception>
#include <iostream>
#include <string>

#include "control/Cronvel.h"
#include "runtime/RunTimeError.h"
#include "runtime/Text.h"

namespace {

/// What the control reports while it works; every event has an empty default.
class Events : public cronvel::__Cronvel {
  void WinSockError(std::int16_t number, std::u16string& Description, std::int32_t,
                    const std::u16string&, const std::u16string&, std::int32_t, bool&) override {
    std::cerr << "socket error " << number << ": " << cronvel::toUtf8(Description) << '\n';
  }
};

int run(const std::string& port, const std::string& device, const std::string& file) {
  const auto platform = cronvel::Platform::create();
  cronvel::Container container;
  Events events;
  cronvel::Cronvel control(*platform, container, events);

  platform->mapCommPort(1, port);
  control.CommPort(1);
  control.DeviceNum(static_cast<std::uint8_t>(std::stoi(device)));

  const std::u16string overTheSerialLine;
  if (!control.TestConnection(overTheSerialLine)) {
    std::cerr << "terminal " << device << " does not answer\n";
    return 1;
  }
  const bool whole = control.GetData(overTheSerialLine, cronvel::toUtf16(file)) == 0;
  std::cout << control.NumOfRecs() << " records, " << control.DamagedRecs() << " damaged"
            << (whole ? "\n" : "; the stream is not complete\n");
  return whole ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: download-example PORT DEVICE FILE.Hex\n";
    return 2;
  }
  try {
    return run(argv[1], argv[2], argv[3]);
  } catch (const cronvel::RunTimeError& error) {
    std::cerr << "error " << static_cast<int>(error.number()) << ": " << error.what() << '\n';
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
  }
  return 3;
}
