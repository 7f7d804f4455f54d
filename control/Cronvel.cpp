#include "control/Cronvel.h"

#include "protocol/DeviceProperties.h"
#include "runtime/Conversion.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

constexpr std::int16_t vbTrue = -1;

}  // namespace

Cronvel::Cronvel(Platform& platform, Container& container, __Cronvel& events)
    : mContainer(container),
      mSerialLink(platform, mLinkState, events),
      mLoopsPerMs(CalibrateLoops(platform.clock())),
      mNetworkLink(platform, events),
      mLinks{platform, mLinkState, mSerialLink, mNetworkLink},
      mClockCommands(mLinks),
      mReaderCommands(mLinks, [this](bool on) { setInRunMode(mReaderOn, on, "ReaderOn"); }),
      mMonitoring(mLinks,
                  [this](bool on) { setInRunMode(mLinkState.MonitoringON, on, "MonitoringON"); }),
      mCardList(mLinks, events),
      mModeCommands(mLinks),
      mDeviceTables(mLinks),
      mModemDialup(platform, mSerialLink, mLinkState),
      mRecordDownload(mLinks, [this](const std::u16string& mFileName, bool DoCheck) {
        return CheckIntegrity(mFileName, DoCheck);
      }) {}

Cronvel::~Cronvel() { mNetworkLink.sockets().at(0).Close(); }

/// Measures a fixed piece of work. A clock too coarse to see it pass makes the division fail with
/// 11, out of the creation of the control.
std::int32_t Cronvel::CalibrateLoops(Clock& clock) {
  constexpr std::int32_t passes = 1'000'000;
  const double start = clock.Timer();
  volatile double zero = 0;
  volatile std::int16_t whole = 0;  // volatile, so that the work is really done
  for (std::int32_t i = 0; i < passes; ++i) {
    whole = static_cast<std::int16_t>(zero / 5);
    whole = static_cast<std::int16_t>(zero / 5);
  }
  static_cast<void>(whole);
  const double elapsed = clock.Timer() - start;
  if (elapsed == 0) throw RunTimeError(ErrorNumber::divisionByZero, "the clock stands still");
  return toLong(passes / elapsed / 1000);
}

void Cronvel::InitProperties() {
  mReaderOn = false;
  mLinkState = {};
  mRecordCounters = {};
}

void Cronvel::ReadProperties(PropertyBag& bag) {
  const auto read = [&bag](const char* key, auto defaultValue) {
    return std::get<decltype(defaultValue)>(bag.ReadProperty(key, defaultValue));
  };
  const auto readByte = [&read](const char* key, std::int16_t defaultValue) {
    return toByte(read(key, defaultValue));
  };
  mEnabled = read("Enabled", true);
  mSerialLink.port().CommPort(read("CommPort", std::int16_t{1}));
  mReaderOn = read("ReaderOn", false);
  mLinkState.MonitoringON = read("MonitoringON", false);
  mRecordCounters.IdLen = readByte("IdLen", 4);
  mLinkState.DialupConnection = read("DialupConnection", false);
  mLinkState.TelNum = read("TelNum", std::u16string(u"0"));
  mLinkState.BPS = read("BPS", std::u16string(u"9600"));
  mLinkState.DeviceNum = readByte("DeviceNum", 1);
  mRecordCounters.NumOfRecs = read("NumOfRecs", std::int32_t{0});
  mRecordCounters.DamagedRecs = read("DamagedRecs", std::int32_t{0});
}

void Cronvel::WriteProperties(PropertyBag& bag) const {
  bag.WriteProperty("Enabled", mEnabled, true);
  bag.WriteProperty("CommPort", CommPort(), std::int16_t{1});
  bag.WriteProperty("ReaderOn", mReaderOn, false);
  bag.WriteProperty("MonitoringON", mLinkState.MonitoringON, false);
  bag.WriteProperty("IdLen", std::int16_t{mRecordCounters.IdLen}, std::int16_t{4});
  bag.WriteProperty("DialupConnection", mLinkState.DialupConnection, false);
  bag.WriteProperty("TelNum", mLinkState.TelNum, std::u16string(u"0"));
  bag.WriteProperty("BPS", mLinkState.BPS, std::u16string(u"9600"));
  bag.WriteProperty("DeviceNum", std::int16_t{mLinkState.DeviceNum}, std::int16_t{1});
  bag.WriteProperty("NumOfRecs", mRecordCounters.NumOfRecs, std::int32_t{0});
  bag.WriteProperty("DamagedRecs", mRecordCounters.DamagedRecs, std::int32_t{0});
}

void Cronvel::requireRunMode() const {
  if (!mContainer.UserMode())
    throw RunTimeError(ErrorNumber::setNotPermitted,
                       "this property can only be set while the program runs, not in a designer");
}

template <typename Value>
void Cronvel::set(Value& field, const Value& value, std::string_view key) {
  field = value;
  mContainer.PropertyChanged(key);
}

template <typename Value>
void Cronvel::setInRunMode(Value& field, const Value& value, std::string_view key) {
  requireRunMode();
  set(field, value, key);
}

void Cronvel::Enabled(bool New_Enabled) { set(mEnabled, New_Enabled, "Enabled"); }

std::int16_t Cronvel::CommPort() const { return mSerialLink.port().CommPort(); }

void Cronvel::CommPort(std::int16_t New_CommPort) {
  SerialPort& port = mSerialLink.port();
  if (port.PortOpen()) port.PortOpen(false);
  port.CommPort(New_CommPort);
  mContainer.PropertyChanged("CommPort");
}

void Cronvel::ReaderOn(bool New_ReaderOn) { mReaderCommands.ReaderOn(New_ReaderOn); }

void Cronvel::MonitoringON(bool New_MonitoringON) { mMonitoring.MonitoringON(New_MonitoringON); }

void Cronvel::IdLen(std::uint8_t New_IdLen) {
  if (New_IdLen % 2 == 0) set(mRecordCounters.IdLen, New_IdLen, "IdLen");
}

void Cronvel::DialupConnection(bool New_DialupConnection) {
  set(mLinkState.DialupConnection, New_DialupConnection, "DialupConnection");
}

void Cronvel::TelNum(const std::u16string& New_TelNum) {
  set(mLinkState.TelNum, New_TelNum, "TelNum");
}

void Cronvel::BPS(const std::u16string& New_BPS) { setInRunMode(mLinkState.BPS, New_BPS, "BPS"); }

void Cronvel::DeviceNum(std::uint8_t New_DeviceNum) {
  set(mLinkState.DeviceNum, New_DeviceNum, "DeviceNum");
}

void Cronvel::NumOfRecs(std::int32_t New_NumOfRecs) {
  set(mRecordCounters.NumOfRecs, New_NumOfRecs, "NumOfRecs");
}

void Cronvel::DamagedRecs(std::int32_t New_DamagedRecs) {
  set(mRecordCounters.DamagedRecs, New_DamagedRecs, "DamagedRecs");
}

std::int16_t Cronvel::WinSockProtocol() const { return mNetworkLink.WinSockProtocol; }

void Cronvel::WinSockProtocol(std::int16_t New_WinSockProtocol) {
  setInRunMode(mNetworkLink.WinSockProtocol, New_WinSockProtocol, "WinSockProtocol");
}

std::int32_t Cronvel::WinSockLocalPort() const { return mNetworkLink.WinSockLocalPort; }

void Cronvel::WinSockLocalPort(std::int32_t New_WinSockLocalPort) {
  setInRunMode(mNetworkLink.WinSockLocalPort, New_WinSockLocalPort, "WinSockLocalPort");
}

std::int32_t Cronvel::WinSockRemotePort() const { return mNetworkLink.WinSockRemotePort; }

void Cronvel::WinSockRemotePort(std::int32_t New_WinSockRemotePort) {
  setInRunMode(mNetworkLink.WinSockRemotePort, New_WinSockRemotePort, "WinSockRemotePort");
}

std::u16string Cronvel::WinSockRemoteHost() const { return mNetworkLink.WinSockRemoteHost; }

void Cronvel::WinSockRemoteHost(const std::u16string& New_WinSockRemoteHost) {
  setInRunMode(mNetworkLink.WinSockRemoteHost, New_WinSockRemoteHost, "WinSockRemoteHost");
}

void Cronvel::SetWinSockTCPMode(std::int16_t Index) { mNetworkLink.SetWinSockTCPMode(Index); }

void Cronvel::SetWinSockUDPMode(std::int16_t Index) { mNetworkLink.SetWinSockUDPMode(Index); }

void Cronvel::SetWinSockLocalPort(std::int16_t Index, std::int32_t lLocalPort) {
  mNetworkLink.SetWinSockLocalPort(Index, lLocalPort);
}

void Cronvel::WinSockListen(std::int16_t Index) { mNetworkLink.WinSockListen(Index); }

void Cronvel::WinSockSendData(std::int16_t Index, const Bytes& TransmitedData) {
  mNetworkLink.WinSockSendData(Index, TransmitedData);
}

void Cronvel::WinSockSendDataByte(std::int16_t Index, std::uint8_t TransmitedData) {
  mNetworkLink.WinSockSendDataByte(Index, TransmitedData);
}

void Cronvel::WinSockConnect(std::int16_t Index) { mNetworkLink.WinSockConnect(Index); }

void Cronvel::WinSockConnectToHost(std::int16_t Index, const std::u16string& RemoteHost) {
  mNetworkLink.WinSockConnectToHost(Index, RemoteHost);
}

void Cronvel::WinSockClose(std::int16_t Index) { mNetworkLink.WinSockClose(Index); }

bool Cronvel::SetTime(const std::u16string& sRemoteHost, const Variant& mTime) {
  return mClockCommands.SetTime(sRemoteHost, mTime);
}

bool Cronvel::SetDate(const std::u16string& sRemoteHost, const std::u16string& mdate,
                      std::uint8_t mDay) {
  return mClockCommands.SetDate(sRemoteHost, mdate, mDay);
}

bool Cronvel::SetDayLight(const std::u16string& sRemoteHost, std::uint8_t d1, std::uint8_t m1,
                          std::uint8_t d2, std::uint8_t m2) {
  return mClockCommands.SetDayLight(sRemoteHost, d1, m1, d2, m2);
}

bool Cronvel::ResetMem(const std::u16string& sRemoteHost) {
  return mClockCommands.ResetMem(sRemoteHost);
}

bool Cronvel::TestConnection(const std::u16string& sRemoteHost) {
  return mClockCommands.TestConnection(sRemoteHost);
}

bool Cronvel::SetKeyboard(const std::u16string& sRemoteHost, std::uint8_t mKey) {
  return mClockCommands.SetKeyboard(sRemoteHost, mKey);
}

bool Cronvel::SetReaderOnOff(const std::u16string& sRemoteHost, bool New_ReaderOn) {
  return mReaderCommands.SetReaderOnOff(sRemoteHost, New_ReaderOn);
}

bool Cronvel::SetMainGroup(const std::u16string& sRemoteHost, std::uint8_t mG) {
  return mReaderCommands.SetMainGroup(sRemoteHost, mG);
}

bool Cronvel::SetSubGroup(const std::u16string& sRemoteHost, std::uint8_t mG) {
  return mReaderCommands.SetSubGroup(sRemoteHost, mG);
}

bool Cronvel::SetCode4(const std::u16string& sRemoteHost, const std::u16string& mCode) {
  return mReaderCommands.SetCode4(sRemoteHost, mCode);
}

bool Cronvel::SetCode10(const std::u16string& sRemoteHost, const std::u16string& mCode) {
  return mReaderCommands.SetCode10(sRemoteHost, mCode);
}

bool Cronvel::SendMsg(const std::u16string& sRemoteHost, const std::u16string& CardNum,
                      const std::u16string& inMsg) {
  return mReaderCommands.SendMsg(sRemoteHost, CardNum, inMsg);
}

bool Cronvel::SetMonitoringOnOff(const std::u16string& sRemoteHost, bool New_MonitoringON) {
  return mMonitoring.SetMonitoringOnOff(sRemoteHost, New_MonitoringON);
}

bool Cronvel::SetMonitoringOnGroup(const std::u16string& sRemoteHost, bool New_MonitoringON) {
  return mMonitoring.SetMonitoringOnGroup(sRemoteHost, New_MonitoringON);
}

bool Cronvel::SetMonitoringOffGroup(const std::u16string& sRemoteHost, bool New_MonitoringON) {
  return mMonitoring.SetMonitoringOffGroup(sRemoteHost, New_MonitoringON);
}

bool Cronvel::StartMonitoringGroup() { return mMonitoring.StartMonitoringGroup(); }

Variant Cronvel::GetDeviceProperties(const std::u16string& sRemoteHost) {
  return getDeviceProperties(mLinks, sRemoteHost);
}

Variant Cronvel::SetAlarm(const HostArray<std::uint8_t>& mTiming) {
  return mDeviceTables.SetAlarm(mTiming);
}

std::uint8_t Cronvel::AddCardSimple(const std::u16string& sRemoteHost,
                                    const std::u16string& CardNum) {
  return mCardList.AddCardSimple(sRemoteHost, CardNum);
}

std::uint8_t Cronvel::DeleteCardSimple(const std::u16string& sRemoteHost,
                                       const std::u16string& CardNum) {
  return mCardList.DeleteCardSimple(sRemoteHost, CardNum);
}

std::uint8_t Cronvel::DeleteCardAll(const std::u16string& sRemoteHost) {
  return mCardList.DeleteCardAll(sRemoteHost);
}

std::uint8_t Cronvel::AddCardFile(const std::u16string& sRemoteHost,
                                  const std::u16string& mFileName) {
  return mCardList.AddCardFile(sRemoteHost, mFileName);
}

bool Cronvel::SetMode(const std::u16string& sRemoteHost, std::uint8_t mMode) {
  return mModeCommands.SetMode(sRemoteHost, mMode);
}

bool Cronvel::SendModeStr(const std::u16string& sRemoteHost,
                          const HostArray<std::u16string>& ModeStr) {
  return mModeCommands.SendModeStr(sRemoteHost, ModeStr);
}

bool Cronvel::SendModeActive(const std::u16string& sRemoteHost, const HostArray<bool>& ModeActive) {
  return mModeCommands.SendModeActive(sRemoteHost, ModeActive);
}

bool Cronvel::SetPersonAccessable(const std::u16string& sRemoteHost, bool Accessable) {
  return mModeCommands.SetPersonAccessable(sRemoteHost, Accessable);
}

bool Cronvel::DefCards(const std::u16string& sRemoteHost, const HostArray<std::uint8_t>& mbyte) {
  return mDeviceTables.DefCards(sRemoteHost, mbyte);
}

bool Cronvel::DefAlarms(const std::u16string& sRemoteHost, const HostArray<std::uint8_t>& mbyte) {
  return mDeviceTables.DefAlarms(sRemoteHost, mbyte);
}

std::int16_t Cronvel::Dial() { return mModemDialup.Dial(); }

bool Cronvel::Hangup() { return mModemDialup.Hangup(); }

std::int16_t Cronvel::GetData(const std::u16string& sRemoteHost, const std::u16string& mFileName) {
  return mRecordDownload.GetData(sRemoteHost, mFileName);
}

Variant Cronvel::GetDataBuff(const std::u16string& mFileName) {
  return mRecordDownload.GetDataBuff(mFileName);
}

std::int16_t Cronvel::GetDataByDate(const std::u16string& sRemoteHost, std::uint8_t d1,
                                    std::uint8_t m1, std::uint8_t y1, std::uint8_t d2,
                                    std::uint8_t m2, std::uint8_t y2,
                                    const std::u16string& mFileName) {
  return mRecordDownload.GetDataByDate(sRemoteHost, d1, m1, y1, d2, m2, y2, mFileName);
}

std::int16_t Cronvel::CheckIntegrity(const std::u16string& mFileName, bool DoCheck) {
  const bool whole = checkRecordFile(mFileName, DoCheck, mRecordCounters);
  mContainer.PropertyChanged("NumOfRecs");
  mContainer.PropertyChanged("DamagedRecs");
  return whole ? vbTrue : std::int16_t{0};
}

}  // namespace cronvel
