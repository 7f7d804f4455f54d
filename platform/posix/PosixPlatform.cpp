#include <cstdlib>
#include <map>

#include "platform/Platform.h"
#include "platform/reactor/Network.h"
#include "platform/reactor/Parts.h"

namespace cronvel {
namespace {

class PosixPlatform : public Platform {
 public:
  std::unique_ptr<SerialPort> makeSerialPort() override {
    return cronvel::makeSerialPort(mReactor, *mClock,
                                   [this](std::int16_t number) { return pathOf(number); });
  }
  std::unique_ptr<SocketArray> makeSocketArray() override {
    return cronvel::makeSocketArray(mNetwork);
  }
  std::unique_ptr<Timer> makeTimer() override { return cronvel::makeTimer(mReactor); }
  std::unique_ptr<SerialLineEnd> makeSerialLineEnd(const std::string& linkName) override {
    return cronvel::makeSerialLineEnd(mReactor, linkName);
  }
  Clock& clock() override { return *mClock; }
  MessagePump& messagePump() override { return mReactor; }
  MsgBox& msgBox() override { return *mMsgBox; }

  void mapCommPort(std::int16_t number, const std::string& path) override {
    mCommPorts[number] = path;
  }

 private:
  std::string pathOf(std::int16_t number) const {
    if (const auto mapped = mCommPorts.find(number); mapped != mCommPorts.end())
      return mapped->second;
    const char* named = std::getenv(("CRONVEL_COM" + std::to_string(number)).c_str());
    if (named != nullptr && *named != '\0') return named;
    return "/dev/ttyS" + std::to_string(number - 1);
  }

  Reactor mReactor{makePoller()};
  Network mNetwork{mReactor};
  std::unique_ptr<Clock> mClock = makeClock();
  std::unique_ptr<MsgBox> mMsgBox = makeMsgBox();
  std::map<std::int16_t, std::string> mCommPorts;
};

}  // namespace

std::unique_ptr<Platform> Platform::createUntraced() { return std::make_unique<PosixPlatform>(); }

}  // namespace cronvel
