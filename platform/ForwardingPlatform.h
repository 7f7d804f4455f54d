#pragma once

#include "platform/Platform.h"

namespace cronvel {

/// Another platform, for those who change a part of it.
class ForwardingPlatform : public Platform {
 public:
  /// `inner` must outlive this.
  explicit ForwardingPlatform(Platform& inner) : mInner(inner) {}

  std::unique_ptr<SerialPort> makeSerialPort() override { return mInner.makeSerialPort(); }
  std::unique_ptr<SocketArray> makeSocketArray() override { return mInner.makeSocketArray(); }
  std::unique_ptr<Timer> makeTimer() override { return mInner.makeTimer(); }
  Clock& clock() override { return mInner.clock(); }
  MessagePump& messagePump() override { return mInner.messagePump(); }
  MsgBox& msgBox() override { return mInner.msgBox(); }
  void mapCommPort(std::int16_t number, const std::string& path) override {
    mInner.mapCommPort(number, path);
  }
  std::unique_ptr<SerialLineEnd> makeSerialLineEnd(const std::string& linkName) override {
    return mInner.makeSerialLineEnd(linkName);
  }
  void note(std::string_view text) override { mInner.note(text); }

 protected:
  Platform& forwardedTo() { return mInner; }

 private:
  Platform& mInner;
};

}  // namespace cronvel
