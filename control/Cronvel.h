#pragma once

#include <cstdint>

#include "host/Host.h"
#include "host/PropertyBag.h"
#include "link/DeviceLinks.h"
#include "link/ModemDialup.h"
#include "link/SocketMembers.h"
#include "platform/Platform.h"
#include "protocol/CardList.h"
#include "protocol/ClockCommands.h"
#include "protocol/DeviceProperties.h"
#include "protocol/DeviceTables.h"
#include "protocol/ModeCommands.h"
#include "protocol/Monitoring.h"
#include "protocol/ReaderCommands.h"
#include "records/RecordCheck.h"
#include "records/RecordDownload.h"

namespace cronvel {

/// The control: drives time-attendance and access-control terminals on a serial line, behind a
/// modem or on the network. Its members carry the names of the dispatch interface `_Cronvel`; it is
/// put together from the families that declare and document them.
///
/// One thread drives a control. A command method carries out one whole exchange with one terminal
/// and returns its result; while it waits it pumps messages, so events, timers and even further
/// calls run inside it. Errors are `RunTimeError`; they leave the command as it was at that step:
/// nothing is undone, and the next command starts afresh.
///
/// `sRemoteHost`, the first argument of a command, chooses the transport for this call: empty text
/// is the serial line (or the modem, when `DialupConnection` is True), other text the network. On
/// the network a command either connects to the host that the text names, at socket 0's remote
/// port ("connects" in the families), or waits up to 10 s for the terminal to connect in to the
/// local port that stands after the first "-" of the text ("listens").
///
/// A command returns True only when the first byte of the terminal's reply is 24. It waits 5 s for
/// a reply. A wait that runs across midnight goes on until a reply comes or the command is ended,
/// because the seconds clock starts again at 0.
///
/// Errors that any command can raise: those of opening and using the port (8002, 8005, 8010, 8015,
/// 8018), those of the socket (40006, 40020, 10048, ...), 5 on the serial line or 6 on the network
/// for a `DeviceNum` of 160 or more, 13 for a listen text whose port is not a number.
class Cronvel : private Host,
                public SocketMembers,
                private DeviceLinks,
                public ClockCommands,
                public ReaderCommands,
                public Monitoring,
                public DeviceProperties,
                public CardList,
                public ModeCommands,
                public DeviceTables,
                public ModemDialup,
                public RecordCheck,
                public RecordDownload {
 public:
  /// Makes the control with its child controls and starting values. All three must outlive it.
  Cronvel(Platform& machine, Container& site, __Cronvel& sink);
  /// Closes socket 0. The serial port closes with its child control.
  ~Cronvel();
  Cronvel(const Cronvel&) = delete;
  Cronvel& operator=(const Cronvel&) = delete;

  // Lifecycle, called by the container.

  /// A new instance was placed on a form.
  void InitProperties();
  /// Loads the persisted properties. Raises 13 or 6 for a value of the wrong type.
  void ReadProperties(PropertyBag& bag);
  void WriteProperties(PropertyBag& bag) const;

  // Ending. Both may be called from an event, from any thread and from a signal handler.

  /// Ends the command that is under way, deep in a wait or not: a pause runs out, then nothing more
  /// is sent, no message is shown, socket 0 closes, and the command returns what it returns without
  /// a reply. A download closes its file, skips the check and returns 0. A command that is called
  /// from an event meanwhile ends too; the next one begins afresh.
  void endCommand() noexcept { ending.ask(); }
  /// The same, and every later command ends as soon as it waits: the control is going.
  void endForGood() noexcept { ending.askForGood(); }
  /// Ends each wait after its limit even across midnight.
  void endWaitsAtMidnight() { midnight = WaitLimit::Midnight::ignored; }

  // Properties that belong to no family. All of the persisted ones are rows of
  // `persistedProperties`. A set reports `PropertyChanged`.

  /// The control's own enabled state; True at first.
  bool Enabled() const { return state.Enabled; }
  void Enabled(bool New_Enabled) { set(state.Enabled, New_Enabled, "Enabled"); }

  /// The PC's serial port, 1 at first. The set closes an open port; the next command opens the new
  /// one. Raises 8002 for a number below 1.
  std::int16_t CommPort() const { return serial.port().CommPort(); }
  void CommPort(std::int16_t New_CommPort);

  /// The number of the terminal that commands address, 0 to 159; 1 at first.
  std::uint8_t DeviceNum() const { return state.DeviceNum; }
  void DeviceNum(std::uint8_t New_DeviceNum) { set(state.DeviceNum, New_DeviceNum, "DeviceNum"); }

  // For hosts in C++ that look closer than the interface lets them. What they change there the
  // commands meet.
  SerialPort& port() { return serial.port(); }
  SocketArray& sockets() const { return network.sockets(); }
  /// The socket whose data a `WinSockDataReceived` tells of, when it is called.
  std::int16_t arrivalIndex() const { return network.arrivalIndex(); }

  /// Why the last command ended as it did.
  const Notes& notes() const { return Host::notes; }

 private:
  friend struct PropertyTable;

  static std::int32_t CalibrateLoops(Clock& clock);
  static DeviceLinks& linksOf(Cronvel* control) { return *control; }

  std::int32_t mLoopsPerMs;  ///< what the calibration found
};

}  // namespace cronvel
