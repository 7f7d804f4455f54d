#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/Platform.h"
#include "platform/reactor/Network.h"
#include "platform/reactor/Parts.h"
#include "platform/reactor/SocketApi.h"

namespace cronvel {

/// A platform around one reactor. What a system adds is where its serial ports are.
class ReactorPlatform : public Platform {
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

 protected:
  /// A variable of the environment; empty where it is not set.
  virtual std::string environment(const std::string& name) const = 0;
  /// The machine's own device for a port number.
  virtual std::string usualPath(std::int16_t number) const = 0;

 private:
  std::string pathOf(std::int16_t number) const {
    if (const auto mapped = mCommPorts.find(number); mapped != mCommPorts.end())
      return mapped->second;
    const std::string named = environment("CRONVEL_COM" + std::to_string(number));
    return named.empty() ? usualPath(number) : named;
  }

  SocketLibrary mSocketLibrary;
  Reactor mReactor{makePoller()};
  Network mNetwork{mReactor};
  std::unique_ptr<Clock> mClock = makeClock();
  std::unique_ptr<MsgBox> mMsgBox = makeMsgBox();
  std::map<std::int16_t, std::string> mCommPorts;
};

}  // namespace cronvel
