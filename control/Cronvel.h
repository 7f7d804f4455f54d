#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "link/CronvelEvents.h"
#include "link/DeviceLinks.h"
#include "link/LinkState.h"
#include "link/ModemDialup.h"
#include "link/NetworkLink.h"
#include "link/SerialLink.h"
#include "platform/Container.h"
#include "platform/Platform.h"
#include "platform/PropertyBag.h"
#include "protocol/CardList.h"
#include "protocol/ClockCommands.h"
#include "protocol/DeviceTables.h"
#include "protocol/ModeCommands.h"
#include "protocol/Monitoring.h"
#include "protocol/ReaderCommands.h"
#include "records/RecordCheck.h"
#include "records/RecordDownload.h"
#include "runtime/HostArray.h"
#include "runtime/Variant.h"

namespace cronvel {

/// The control: drives time-attendance and access-control terminals on a serial line, behind a
/// modem or on the network. Its members carry the names of the dispatch interface `_Cronvel`.
///
/// One thread drives a control. A command method carries out one whole exchange with one terminal
/// and returns its result; while it waits it pumps messages, so events, timers and even further
/// calls run inside it. Errors are `RunTimeError`; they leave the command as it was at that step:
/// nothing is undone, and the next command starts afresh.
///
/// `sRemoteHost`, the first argument of a command, chooses the transport for this call: empty text
/// is the serial line (or the modem, when `DialupConnection` is True), other text the network. On
/// the network a command either connects to the host that the text names, at socket 0's remote
/// port ("connects" below), or waits up to 10 s for the terminal to connect in to the local port
/// that stands after the first "-" of the text ("listens" below).
///
/// A command returns True only when the first byte of the terminal's reply is 24. It waits 5 s for
/// a reply. A wait that runs across midnight goes on until a reply comes, because the seconds clock
/// starts again at 0.
///
/// Errors that any command can raise: those of opening and using the port (8002, 8005, 8010, 8015,
/// 8018), those of the socket (40006, 40020, 10048, ...), 5 on the serial line or 6 on the network
/// for a `DeviceNum` of 160 or more, 13 for a listen text whose port is not a number.
class Cronvel {
 public:
  /// Makes the control with its child controls and starting values. All three must outlive it.
  Cronvel(Platform& platform, Container& container, __Cronvel& events);
  /// Closes socket 0. The serial port closes with its child control.
  ~Cronvel();
  Cronvel(const Cronvel&) = delete;
  Cronvel& operator=(const Cronvel&) = delete;

  // Lifecycle, called by the container.

  /// A new instance was placed on a form.
  void InitProperties();
  /// Loads the eleven persisted properties. Raises 13 or 6 for a value of the wrong type.
  void ReadProperties(PropertyBag& bag);
  void WriteProperties(PropertyBag& bag) const;

  // Persisted properties. A set reports `PropertyChanged`.

  /// The control's own enabled state; True at first.
  bool Enabled() const { return mEnabled; }
  void Enabled(bool New_Enabled);

  /// The PC's serial port, 1 at first. The set closes an open port; the next command opens the new
  /// one. Raises 8002 for a number below 1.
  std::int16_t CommPort() const;
  void CommPort(std::int16_t New_CommPort);

  /// Whether the card reader was last switched on through this control. The set sends the switch
  /// over the serial line and waits for no reply; 387 in design mode.
  bool ReaderOn() const { return mReaderOn; }
  void ReaderOn(bool New_ReaderOn);

  /// Whether bytes that arrive on the serial line outside a command are reported as monitoring
  /// data. The set sends the switch over the serial line and waits for no reply; 387 in design
  /// mode. Every command holds it False while it runs; some leave it False (see there).
  bool MonitoringON() const { return mLinkState.MonitoringON; }
  void MonitoringON(bool New_MonitoringON);

  /// Decimal digits of a card number in a record, two to a byte; 4 at first. An odd value is
  /// ignored.
  std::uint8_t IdLen() const { return mRecordCounters.IdLen; }
  void IdLen(std::uint8_t New_IdLen);

  /// Whether the serial line goes through a dial-up modem. Commands then refuse to run without a
  /// carrier and leave the line settings alone.
  bool DialupConnection() const { return mLinkState.DialupConnection; }
  void DialupConnection(bool New_DialupConnection);

  /// The telephone number to dial; "0" at first.
  std::u16string TelNum() const { return mLinkState.TelNum; }
  void TelNum(const std::u16string& New_TelNum);

  /// The speed at which the terminal streams its records over the serial line, as text: "110",
  /// "150", "300", "600", "1200", "2400", "4800", "9600" or "19200"; "9600" at first. 387 in design
  /// mode.
  std::u16string BPS() const { return mLinkState.BPS; }
  void BPS(const std::u16string& New_BPS);

  /// The number of the terminal that commands address, 0 to 159; 1 at first.
  std::uint8_t DeviceNum() const { return mLinkState.DeviceNum; }
  void DeviceNum(std::uint8_t New_DeviceNum);

  /// Card records found by the last record file check.
  std::int32_t NumOfRecs() const { return mRecordCounters.NumOfRecs; }
  void NumOfRecs(std::int32_t New_NumOfRecs);

  /// Damaged card records and damaged date bytes found by the last record file check.
  std::int32_t DamagedRecs() const { return mRecordCounters.DamagedRecs; }
  void DamagedRecs(std::int32_t New_DamagedRecs);

  // Socket properties, not persisted. A set raises 387 in design mode, reports `PropertyChanged`,
  // and reaches a socket at the next `SetWinSockTCPMode` or `SetWinSockUDPMode`.

  /// 0 TCP (at first), 1 UDP.
  std::int16_t WinSockProtocol() const;
  void WinSockProtocol(std::int16_t New_WinSockProtocol);
  /// 8085 at first.
  std::int32_t WinSockLocalPort() const;
  void WinSockLocalPort(std::int32_t New_WinSockLocalPort);
  /// 8085 at first.
  std::int32_t WinSockRemotePort() const;
  void WinSockRemotePort(std::int32_t New_WinSockRemotePort);
  /// This machine's address at first.
  std::u16string WinSockRemoteHost() const;
  void WinSockRemoteHost(const std::u16string& New_WinSockRemoteHost);

  // Socket members. `Index` selects a socket (340 for one that does not exist); the socket's errors
  // reach the caller. Each pumps messages around its socket call. The commands use socket 0.

  /// Closes the socket and gives it `WinSockLocalPort` and `WinSockProtocol`.
  void SetWinSockTCPMode(std::int16_t Index);
  /// As `SetWinSockTCPMode`, and gives it `WinSockRemoteHost` and `WinSockRemotePort` too.
  void SetWinSockUDPMode(std::int16_t Index);
  /// Closes the socket and gives it a local port of its own.
  void SetWinSockLocalPort(std::int16_t Index, std::int32_t lLocalPort);
  /// Waits for a peer to connect in; a request is accepted by the control itself. 40020 unless
  /// closed.
  void WinSockListen(std::int16_t Index);
  void WinSockSendData(std::int16_t Index, const Bytes& TransmitedData);
  void WinSockSendDataByte(std::int16_t Index, std::uint8_t TransmitedData);
  /// Closes the socket if open and connects to its own remote host and port.
  void WinSockConnect(std::int16_t Index);
  /// Closes the socket if open and connects to the host at the socket's remote port.
  void WinSockConnectToHost(std::int16_t Index, const std::u16string& RemoteHost);
  void WinSockClose(std::int16_t Index);

  // Clock and basic commands. Unless said otherwise `MonitoringON` is False after a reply on the
  // serial line and has its earlier value in every other outcome.

  /// Sets the terminal's clock. `mTime` is a time, a number (fraction of a day) or a text such as
  /// 23:59:07; 13 for anything else. Listens.
  bool SetTime(const std::u16string& sRemoteHost, const Variant& mTime);
  /// Sets the terminal's date from a text of day, month and two-digit year with one separator
  /// character between them, and the day of the week as the terminal numbers it. Connects.
  bool SetDate(const std::u16string& sRemoteHost, const std::u16string& mdate, std::uint8_t mDay);
  /// Sets the daylight-saving period: start day and month, end day and month; 6 for a value of 160
  /// or more. It does not hold `MonitoringON` while it runs: if that is True, the serial line's
  /// reply is reported as monitoring data and the command returns False, so switch it off before.
  /// It is False afterwards. Connects.
  bool SetDayLight(const std::u16string& sRemoteHost, std::uint8_t d1, std::uint8_t m1,
                   std::uint8_t d2, std::uint8_t m2);
  /// Erases the terminal's record memory. Connects.
  bool ResetMem(const std::u16string& sRemoteHost);
  /// Asks the terminal for a sign of life. `MonitoringON` keeps its value. Listens.
  bool TestConnection(const std::u16string& sRemoteHost);
  /// Sets the keypad to a setting that the terminal knows by number. Connects.
  bool SetKeyboard(const std::u16string& sRemoteHost, std::uint8_t mKey);

  // Reader, groups, codes, message. All connect on the network.

  /// Switches the card reader and keeps the new value in `ReaderOn`, whether or not the terminal
  /// answers. Waits 25 s on the network. `MonitoringON` keeps its value. 387 in design mode.
  bool SetReaderOnOff(const std::u16string& sRemoteHost, bool New_ReaderOn);
  /// The group of card holders that the terminal serves, 0 to 99; above that it returns False with
  /// nothing sent and `MonitoringON` False.
  bool SetMainGroup(const std::u16string& sRemoteHost, std::uint8_t mG);
  bool SetSubGroup(const std::u16string& sRemoteHost, std::uint8_t mG);
  /// The first 4 characters of the code; what is no digit counts as 0.
  bool SetCode4(const std::u16string& sRemoteHost, const std::u16string& mCode);
  /// The first 10 characters of the code: digits and "@"; other characters are sent as 0.
  bool SetCode10(const std::u16string& sRemoteHost, const std::u16string& mCode);
  /// A message of up to 31 characters for one card holder. `CardNum` is a number from 0 to 65535;
  /// 6 outside of it, after the command has begun.
  bool SendMsg(const std::u16string& sRemoteHost, const std::u16string& CardNum,
               const std::u16string& inMsg);

  // Monitoring. 387 in design mode. The new value is kept in `MonitoringON` before anything is
  // sent.

  /// Switches a terminal's live monitoring and waits for no reply. On the network it waits, without
  /// a limit, for the terminal to connect in to socket 0's local port, and leaves the connection
  /// open for the terminal's events while monitoring is on. False when nothing was sent.
  bool SetMonitoringOnOff(const std::u16string& sRemoteHost, bool New_MonitoringON);
  /// Adds a terminal to the monitored group: makes a socket for it that listens on the port after
  /// "-" (10 s), and waits 5 s for the reply. The connection stays open if one came. With an empty
  /// `sRemoteHost` it does nothing and returns False.
  bool SetMonitoringOnGroup(const std::u16string& sRemoteHost, bool New_MonitoringON);
  /// Serves every connected socket of the group, one after another, and destroys it. True when all
  /// were served, whatever they answered. With an empty `sRemoteHost` it does nothing and returns
  /// False.
  bool SetMonitoringOffGroup(const std::u16string& sRemoteHost, bool New_MonitoringON);
  /// Connects the highest socket to `WinSockRemoteHost` and sends a zero byte. Always True.
  bool StartMonitoringGroup();

  /// The terminal's properties block: 101 bytes, zeros after what was received within 5 s of
  /// silence; empty without a carrier or a connection; 9 if the terminal sends more. Listens.
  /// `MonitoringON` keeps its value.
  Variant GetDeviceProperties(const std::u16string& sRemoteHost);

  /// Loads the alarm timetable over the serial line: 24 entries of two time fields (0 to 99) and a
  /// byte that goes out as it is. Waits for no reply; always empty. 9 for fewer than 72 elements
  /// and 6 for a field of 160 or more, when their turn comes.
  Variant SetAlarm(const HostArray<std::uint8_t>& mTiming);

  // Card list. All connect on the network. The result is the first byte of the terminal's reply,
  // 255 when none came within 5 s, 0 without a carrier. `MonitoringON` keeps its value.

  /// A card number from 0 to 9999; 6 when it is negative or 16000 or more.
  std::uint8_t AddCardSimple(const std::u16string& sRemoteHost, const std::u16string& CardNum);
  std::uint8_t DeleteCardSimple(const std::u16string& sRemoteHost, const std::u16string& CardNum);
  std::uint8_t DeleteCardAll(const std::u16string& sRemoteHost);
  /// Loads a list from a text file of numbers of up to 4 characters, separated by commas or line
  /// ends; other fields are passed over. Reports its progress by the two events. File errors come
  /// after the command has begun.
  std::uint8_t AddCardFile(const std::u16string& sRemoteHost, const std::u16string& mFileName);

  // Modes and access. All connect on the network. The arrays have elements 0 to 7, one for each
  // mode; 9 for a missing one when its turn comes.

  /// Chooses the current mode. `MonitoringON` keeps its value.
  bool SetMode(const std::u16string& sRemoteHost, std::uint8_t mMode);
  /// The names of the modes, up to 16 characters each. `MonitoringON` keeps its value.
  bool SendModeStr(const std::u16string& sRemoteHost, const HostArray<std::u16string>& ModeStr);
  /// Which modes can be chosen. `MonitoringON` keeps its value.
  bool SendModeActive(const std::u16string& sRemoteHost, const HostArray<bool>& ModeActive);
  bool SetPersonAccessable(const std::u16string& sRemoteHost, bool Accessable);

  // Tables, packed two decimal digits to a byte. Both connect on the network. 9 for a missing
  // element and 6 for one of 160 or more, when its turn comes.

  /// 6 bytes.
  bool DefCards(const std::u16string& sRemoteHost, const HostArray<std::uint8_t>& mbyte);
  /// 210 bytes; takes more than 10 s.
  bool DefAlarms(const std::u16string& sRemoteHost, const HostArray<std::uint8_t>& mbyte);

  // Modem. Each shows its outcome in a message box.

  /// Dials `TelNum` and waits up to 120 s for the carrier: 0 connected, 2 busy and not retried, 3
  /// no carrier, 4 invalid number, -1 none of these. Sets `DialupConnection` when connected.
  std::int16_t Dial();
  /// Ends the call and closes the port; False when it was closed already.
  bool Hangup();

  // Attendance records. A download writes what the terminal streams into `mFileName`, block by
  // block as it comes, until 5 s pass in silence, then runs `CheckIntegrity` on the file of the
  // same folder and base name with the extension ".Hex": give `mFileName` that extension. An older
  // file of that name is deleted first. Returns 1 when the download ran to its end and the check
  // did not find it whole, else 0: either all is well, or nothing was downloaded because there was
  // no carrier or no connection. File errors: 52, 61, 70, 75, 76.

  /// The whole record memory, at the `BPS` speed. On the network it waits, without a limit, for the
  /// terminal to connect in to socket 0's local port; closing socket 0 from an event ends the wait.
  std::int16_t GetData(const std::u16string& sRemoteHost, const std::u16string& mFileName);
  /// The whole record memory at 4800 baud, on the serial line or the modem. Empty without a
  /// carrier.
  Variant GetDataBuff(const std::u16string& mFileName);
  /// The records from day d1, month m1, year y1 (two digits) to day d2, month m2, year y2.
  /// Connects.
  std::int16_t GetDataByDate(const std::u16string& sRemoteHost, std::uint8_t d1, std::uint8_t m1,
                             std::uint8_t y1, std::uint8_t d2, std::uint8_t m2, std::uint8_t y2,
                             const std::u16string& mFileName);

  /// Reads a raw record file, writes ".txt", ".ddd" and ".dat" files of the same base name beside
  /// it and sets `NumOfRecs` and `DamagedRecs`. Returns -1 when the file ends in a valid trailer,
  /// (or breaks off within it), else 0; with `DoCheck` the trailer's record count must also agree
  /// with its positions to within
  /// 10. Raises 9 for more than 21 bytes that complete no record, 53 for a missing file and the
  /// other file errors; the files then hold what was written so far.
  std::int16_t CheckIntegrity(const std::u16string& mFileName, bool DoCheck);

 private:
  static std::int32_t CalibrateLoops(Clock& clock);
  void requireRunMode() const;
  template <typename Value>
  void set(Value& field, const Value& value, std::string_view key);
  template <typename Value>
  void setInRunMode(Value& field, const Value& value, std::string_view key);

  Container& mContainer;
  LinkState mLinkState;
  RecordCounters mRecordCounters;
  bool mEnabled = true;
  bool mReaderOn = false;
  SerialLink mSerialLink;
  std::int32_t mLoopsPerMs;  ///< what the calibration found
  NetworkLink mNetworkLink;
  DeviceLinks mLinks;
  ClockCommands mClockCommands;
  ReaderCommands mReaderCommands;
  Monitoring mMonitoring;
  CardList mCardList;
  ModeCommands mModeCommands;
  DeviceTables mDeviceTables;
  ModemDialup mModemDialup;
  RecordDownload mRecordDownload;
};

}  // namespace cronvel
