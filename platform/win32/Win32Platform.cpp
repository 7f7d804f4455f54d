#include <array>
#include <map>

#include "platform/Platform.h"
#include "platform/reactor/Network.h"
#include "platform/reactor/Parts.h"
#include "platform/win32/Module.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

/// The variable's value; empty where it is not set.
std::string environment(const std::string& name) {
  std::array<wchar_t, 32768> value{};
  GetEnvironmentVariableW(wide(name).c_str(), value.data(), static_cast<DWORD>(value.size()));
  return utf8(value.data());
}

class Win32Platform : public Platform {
 public:
  std::unique_ptr<SerialPort> makeSerialPort() override {
    return cronvel::makeSerialPort(mReactor, *mClock,
                                   [this](std::int16_t number) { return pathOf(number); });
  }
  std::unique_ptr<SocketArray> makeSocketArray() override {
    return cronvel::makeSocketArray(mNetwork);
  }
  std::unique_ptr<Timer> makeTimer() override { return cronvel::makeTimer(mReactor); }
  std::unique_ptr<SerialLineEnd> makeSerialLineEnd(const std::string& /*linkName*/) override {
    throw RunTimeError(
        ErrorNumber::pathFileAccess,
        "simulated serial lines need Linux; use the network, which works everywhere");
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
    const std::string name = "COM" + std::to_string(number);
    const std::string named = environment("CRONVEL_" + name);
    return named.empty() ? "\\\\.\\" + name : named;
  }

  SocketLibrary mSocketLibrary;
  Reactor mReactor{makePoller()};
  Network mNetwork{mReactor};
  std::unique_ptr<Clock> mClock = makeClock();
  std::unique_ptr<MsgBox> mMsgBox = makeMsgBox();
  std::map<std::int16_t, std::string> mCommPorts;
};

}  // namespace

std::unique_ptr<Platform> Platform::createUntraced() { return std::make_unique<Win32Platform>(); }

}  // namespace cronvel
