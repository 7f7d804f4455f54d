// Keeps serial lines for tests that run as Windows programs on this machine: each connection to its
// TCP port gets a line of its own, which goes with the connection. Prints the port's number and
// ends when its standard input does.

#include <poll.h>

#include <iostream>
#include <map>

#include "platform/Platform.h"
#include "tests/ptyline/LineReport.h"

namespace cronvel {
namespace {

class LineKeeper : public SocketEvents {
 public:
  LineKeeper() {
    mSockets->setEvents(this);
    mSockets->at(0).LocalPort(0);
    mSockets->at(0).Listen();
    std::cout << mSockets->at(0).LocalPort() << std::endl;
  }
  void run() {
    pollfd input{0, POLLIN, 0};
    while (poll(&input, 1, 0) == 0) {
      mPlatform->messagePump().waitEvents();
      std::erase_if(mLines, [this](const auto& line) {
        return mSockets->at(line.first).State() != sckConnected;
      });
    }
  }

 private:
  void ConnectionRequest(std::int16_t, std::int32_t requestID) override {
    const auto index = static_cast<std::int16_t>(mSockets->upperBound() + 1);
    mSockets->load(index);
    Socket& test = mSockets->at(index);
    test.Accept(requestID);
    auto& end = mLines[index].first;
    end = mPlatform->makeSerialLineEnd("");
    const auto report = [&test](std::span<const std::uint8_t> bytes, const LineSettings& settings) {
      for (const std::uint8_t byte : bytes) say(test, {settings, byte});
    };
    const std::string path = end->path();
    report(Bytes(path.begin(), path.end()), {});
    say(test, {});
    end->onReceive(report);
  }

  void DataArrival(std::int16_t index, std::int32_t) override {
    auto& [end, order] = mLines.at(index);
    Socket& test = mSockets->at(index);
    for (const std::uint8_t byte : test.GetData()) {
      order.push_back(byte);
      if (order.size() < 2) continue;
      if (order[0] != 0)
        end->send(Bytes{byte});
      else
        say(test, {end->settings()});
      order.clear();
    }
  }

  static void say(Socket& test, const LineReport& report) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&report);
    if (test.State() == sckConnected) test.SendData({bytes, sizeof report});
  }

  std::unique_ptr<Platform> mPlatform = Platform::createUntraced();
  std::unique_ptr<SocketArray> mSockets = mPlatform->makeSocketArray();
  /// Each with as much of an order as came.
  std::map<std::int16_t, std::pair<std::unique_ptr<SerialLineEnd>, Bytes>> mLines;
};

}  // namespace
}  // namespace cronvel

int main() { cronvel::LineKeeper().run(); }
