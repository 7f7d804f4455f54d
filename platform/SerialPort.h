#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "runtime/Bytes.h"

namespace cronvel {

/// Values of `SerialPort::CommEvent`, as the serial control numbers them.
enum CommEventCode : std::int16_t {
  comEvSend = 1,
  comEvReceive = 2,
  comEvCTS = 3,
  comEvDSR = 4,
  comEvCD = 5,
  comEvRing = 6,
  comEvEOF = 7,
  comEventBreak = 1001,
  comEventFrame = 1004,
  comEventOverrun = 1006,
  comEventRxOver = 1008,
  comEventRxParity = 1009,
  comEventTxFull = 1010,
  comEventDCB = 1011,
};

/// What a port keeps from its owner's start to its end, whatever the line settings are.
struct SerialPortSetup {
  std::int16_t InputMode = 0;    ///< 0 text, 1 binary
  std::int16_t InputLen = 0;     ///< bytes that one `Input` takes; 0 takes all
  std::int16_t RThreshold = 0;   ///< received bytes per receive event; 0 raises none
  std::int16_t SThreshold = 0;   ///< 0 raises no send events
  std::int16_t Handshaking = 0;  ///< 0 none
  bool NullDiscard = false;      ///< drop received zero bytes
  bool EOFEnable = false;        ///< raise an event for Ctrl-Z
  bool Break = false;            ///< hold the line in the break state
  bool DTREnable = false;        ///< raise data terminal ready while open
  bool RTSEnable = false;        ///< raise request to send while open
};

/// A serial port of this machine. Everything runs on the thread that made it.
///
/// Received bytes wait in the port's buffer until `Input` takes them, whatever the message pump
/// does meanwhile.
class SerialPort {
 public:
  virtual ~SerialPort() = default;

  /// Takes effect at once where the port is open, else at the opening.
  virtual void configure(const SerialPortSetup& setup) = 0;

  /// The port's number, 1 at first. The set raises 8000 while the port is open and 8002 for a
  /// number below 1; whether the machine has such a port shows only at the opening.
  virtual std::int16_t CommPort() const = 0;
  virtual void CommPort(std::int16_t number) = 0;

  /// Baud rate, parity letter (n, e, o, m, s in either case), data bits, stop bits:
  /// "600,m,8,1". "9600,n,8,1" at first. Written while open, it drains the line first, so that
  /// every byte leaves with the settings it was written under, and takes effect at once; while
  /// closed it is kept for the opening. Raises 380 for a text that cannot be read and 8015 where
  /// the hardware cannot do what the text asks for.
  virtual std::string Settings() const = 0;
  virtual void Settings(std::string_view settings) = 0;

  /// Opening raises 8002 (no such port), 8005 (already open, here or in another program), 8010
  /// (no access to it) or 8015. Setting the value that it has: True raises 8005, False does
  /// nothing.
  virtual bool PortOpen() const = 0;
  virtual void PortOpen(bool open) = 0;

  /// Bytes received and not yet read. Raises 8018 on a closed port and 8020 when the device is
  /// gone.
  virtual std::int32_t InBufferCount() = 0;
  /// Only 0 may be written (else 380): discards what was received. 8018 on a closed port.
  virtual void InBufferCount(std::int32_t count) = 0;

  /// Bytes written that have not left yet. 8018 on a closed port.
  virtual std::int32_t OutBufferCount() = 0;
  /// Only 0 may be written (else 380): discards them. 8018 on a closed port.
  virtual void OutBufferCount(std::int32_t count) = 0;

  /// Sends bytes. 8018 on a closed port, 57 when the device does not take them.
  virtual void Output(std::span<const std::uint8_t> bytes) = 0;

  /// Takes what was received (`InputLen` bytes at most, if not 0). 8018 on a closed port.
  virtual Bytes Input() = 0;

  /// The carrier-detect line. False on a closed port and where there are no modem lines.
  virtual bool CDHolding() = 0;

  virtual bool DTREnable() const = 0;
  virtual void DTREnable(bool enable) = 0;

  /// What the event handler that runs now is about: a `CommEventCode`.
  virtual std::int16_t CommEvent() const = 0;

  /// The one handler of the communication event, called inside a pump pass on the owner's thread.
  /// For bytes that came together it may be called once.
  virtual void onComm(std::function<void()> handler) = 0;
};

}  // namespace cronvel
