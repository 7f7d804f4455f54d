#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/ForwardingPlatform.h"

namespace cronvel {

/// A platform that shows what goes over the line: it hands out the inner platform's ports and
/// sockets and writes down every setting, byte and state with the time and the settings that each
/// byte left with. Sockets and ports must not outlive it.
///
///     12:00:01.203 out 01 (600,m,8,1)
class TracingPlatform : public ForwardingPlatform {
 public:
  /// Called with one line of text, without its end, on the thread that drives the control.
  using Sink = std::function<void(std::string_view line)>;

  /// `inner` must outlive this. An empty sink hears nothing.
  TracingPlatform(Platform& inner, Sink sink);
  ~TracingPlatform() override;

  std::unique_ptr<SerialPort> makeSerialPort() override;
  std::unique_ptr<SocketArray> makeSocketArray() override;
  void note(std::string_view text) override;

  /// Writes a line with the time before it.
  void write(const std::string& text);

 private:
  Sink mSink;
};

}  // namespace cronvel
