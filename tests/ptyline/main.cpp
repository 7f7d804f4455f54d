// Keeps serial lines for tests that run as Windows programs on this machine: each connection to its
// TCP port gets a line of its own, which goes with the connection. Prints the port's number and
// ends when its standard input does.

#include <poll.h>

#include <iostream>
#include <map>

#include "platform/Platform.h"
#include "tests/ptyline/Frame.h"

namespace cronvel {
namespace {

class LineKeeper : public SocketEvents {
 public:
  LineKeeper() {
    mSockets->setEvents(this);
    mSockets->at(0).LocalPort(0);
    mSockets->at(0).Listen();
  }
  std::int32_t port() { return mSockets->at(0).LocalPort(); }
  void run() {
    pollfd input{0, POLLIN, 0};
    while (poll(&input, 1, 0) == 0) {
      mPlatform->messagePump().waitEvents();
      dropEnded();
    }
  }

 private:
  struct Connection {
    std::unique_ptr<SerialLineEnd> line;
    Bytes received;
    bool ended = false;
  };

  void ConnectionRequest(std::int16_t, std::int32_t requestID) override {
    const std::int16_t index = mNext++;
    mSockets->load(index);
    mSockets->at(index).Accept(requestID);
    auto line = mPlatform->makeSerialLineEnd("");
    line->onReceive([this, index](std::span<const std::uint8_t> bytes, const LineSettings& is) {
      say(index, Frame::received, Frame::withSettings(is, bytes));
    });
    const std::string path = line->path();
    mConnections[index].line = std::move(line);
    say(index, Frame::path, Bytes(path.begin(), path.end()));
  }

  void DataArrival(std::int16_t index, std::int32_t) override {
    Connection& connection = mConnections.at(index);
    const Bytes bytes = mSockets->at(index).GetData();
    connection.received.insert(connection.received.end(), bytes.begin(), bytes.end());
    while (const auto frame = Frame::takeFrom(connection.received)) {
      if (frame->kind == Frame::send)
        connection.line->send(frame->content);
      else
        say(index, Frame::settings, Frame::withSettings(connection.line->settings(), {}));
    }
  }

  void say(std::int16_t index, char kind, const Bytes& content) {
    if (mSockets->at(index).State() == sckConnected)
      mSockets->at(index).SendData(Frame{kind, content}.encoded());
  }

  void Close(std::int16_t index) override { mConnections.at(index).ended = true; }
  void Error(std::int16_t index, std::int16_t, std::u16string&, std::int32_t, const std::u16string&,
             const std::u16string&, std::int32_t, bool&) override {
    mConnections.at(index).ended = true;
  }
  void Connect(std::int16_t) override {}
  void SendComplete(std::int16_t) override {}
  void SendProgress(std::int16_t, std::int32_t, std::int32_t) override {}

  void dropEnded() {
    std::erase_if(mConnections, [this](const auto& entry) {
      if (entry.second.ended) mSockets->unload(entry.first);
      return entry.second.ended;
    });
  }

  std::unique_ptr<Platform> mPlatform = Platform::createUntraced();
  std::unique_ptr<SocketArray> mSockets = mPlatform->makeSocketArray();
  std::map<std::int16_t, Connection> mConnections;
  std::int16_t mNext = 1;
};

}  // namespace
}  // namespace cronvel

int main() {
  cronvel::LineKeeper keeper;
  std::cout << keeper.port() << std::endl;
  keeper.run();
}
