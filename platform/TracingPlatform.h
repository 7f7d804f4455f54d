#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Platform.h"

namespace cronvel {

/// A platform that shows what goes over the line: it hands out the inner platform's ports and
/// sockets and writes down every setting, byte and state with the time and the settings that each
/// byte left with. Sockets and ports must not outlive it.
///
///     12:00:01.203 out 01 (600,m,8,1)
class TracingPlatform : public Platform {
 public:
  /// Called with one line of text, without its end, on the thread that drives the control.
  using Sink = std::function<void(std::string_view line)>;

  /// `inner` must outlive this. An empty sink hears nothing.
  TracingPlatform(Platform& inner, Sink sink);
  ~TracingPlatform() override;

  std::unique_ptr<SerialPort> makeSerialPort() override;
  std::unique_ptr<SocketArray> makeSocketArray() override;
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
  void note(std::string_view text) override;

  /// Writes a line with the time before it.
  void write(const std::string& text);

 private:
  Platform& mInner;
  Sink mSink;
};

}  // namespace cronvel
