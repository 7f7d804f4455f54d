#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Clock.h"
#include "platform/MessagePump.h"
#include "platform/MsgBox.h"
#include "platform/SerialLineEnd.h"
#include "platform/SerialPort.h"
#include "platform/Socket.h"
#include "platform/Timer.h"

namespace cronvel {

/// What this machine offers to a control. One per thread that drives controls or simulated devices;
/// it outlives everything that it made. Those of different threads share nothing: any number of
/// threads can each have their own, with controls of their own.
class Platform {
 public:
  virtual ~Platform() = default;

  /// This operating system's platform. With CRONVEL_TRACE=FILE in the environment the transcript of
  /// what goes over its lines is added to that file; 75 where it cannot be written.
  static std::unique_ptr<Platform> create();
  /// The same without a transcript, for the other end of the wire.
  static std::unique_ptr<Platform> createUntraced();

  virtual std::unique_ptr<SerialPort> makeSerialPort() = 0;
  virtual std::unique_ptr<SocketArray> makeSocketArray() = 0;
  virtual std::unique_ptr<Timer> makeTimer() = 0;
  virtual Clock& clock() = 0;
  virtual MessagePump& messagePump() = 0;
  virtual MsgBox& msgBox() = 0;

  /// Gives port number `number` a device of its own instead of the machine's usual one: a path.
  virtual void mapCommPort(std::int16_t number, const std::string& path) = 0;

  /// Makes a serial line and returns its devices' end. With `linkName` the PC's end can also be
  /// opened under that name (a symbolic link that goes with the line). Raises 75 where the link
  /// cannot be made.
  virtual std::unique_ptr<SerialLineEnd> makeSerialLineEnd(const std::string& linkName) = 0;

  /// A line for the transcript, where one is written: what the control has to say about what it
  /// does ("no reply within 5 s: nothing came").
  virtual void note(std::string_view /*text*/) {}
};

}  // namespace cronvel
