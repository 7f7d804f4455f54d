#pragma once

#include <functional>
#include <memory>

#include "activex/Face.h"
#include "activex/LateCall.h"
#include "activex/Values.h"
#include "control/Cronvel.h"

namespace cronvel::activex {

/// The default interface of the control, early and late bound. Its members are the control's own;
/// `control/Cronvel.h` says what they do.
class Dispatch final : public Face<::_Cronvel, ISupportErrorInfo> {
 public:
  using Face::Face;
  IUnknown* find(REFIID iid);

  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  STDMETHODIMP GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                             DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags,
                      DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                      UINT* argumentError) override;
  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override;

  STDMETHODIMP get_Enabled(VARIANT_BOOL* New_Enabled) override {
    return get(New_Enabled, [](Cronvel& c) { return c.Enabled(); });
  }
  STDMETHODIMP put_Enabled(VARIANT_BOOL New_Enabled) override {
    return call([=](Cronvel& c) { c.Enabled(In<bool>::from(New_Enabled)); });
  }
  STDMETHODIMP get_CommPort(SHORT* New_CommPort) override {
    return get(New_CommPort, [](Cronvel& c) { return c.CommPort(); });
  }
  STDMETHODIMP put_CommPort(SHORT New_CommPort) override {
    return call([=](Cronvel& c) { c.CommPort(In<std::int16_t>::from(New_CommPort)); });
  }
  STDMETHODIMP get_ReaderOn(VARIANT_BOOL* New_ReaderOn) override {
    return get(New_ReaderOn, [](Cronvel& c) { return c.ReaderOn(); });
  }
  STDMETHODIMP put_ReaderOn(VARIANT_BOOL New_ReaderOn) override {
    return call([=](Cronvel& c) { c.ReaderOn(In<bool>::from(New_ReaderOn)); });
  }
  STDMETHODIMP get_MonitoringON(VARIANT_BOOL* New_MonitoringON) override {
    return get(New_MonitoringON, [](Cronvel& c) { return c.MonitoringON(); });
  }
  STDMETHODIMP put_MonitoringON(VARIANT_BOOL New_MonitoringON) override {
    return call([=](Cronvel& c) { c.MonitoringON(In<bool>::from(New_MonitoringON)); });
  }
  STDMETHODIMP get_IdLen(BYTE* New_IdLen) override {
    return get(New_IdLen, [](Cronvel& c) { return c.IdLen(); });
  }
  STDMETHODIMP put_IdLen(BYTE New_IdLen) override {
    return call([=](Cronvel& c) { c.IdLen(In<std::uint8_t>::from(New_IdLen)); });
  }
  STDMETHODIMP get_DialupConnection(VARIANT_BOOL* New_DialupConnection) override {
    return get(New_DialupConnection, [](Cronvel& c) { return c.DialupConnection(); });
  }
  STDMETHODIMP put_DialupConnection(VARIANT_BOOL New_DialupConnection) override {
    return call([=](Cronvel& c) { c.DialupConnection(In<bool>::from(New_DialupConnection)); });
  }
  STDMETHODIMP get_TelNum(BSTR* New_TelNum) override {
    return get(New_TelNum, [](Cronvel& c) { return c.TelNum(); });
  }
  STDMETHODIMP put_TelNum(BSTR New_TelNum) override {
    return call([=](Cronvel& c) { c.TelNum(In<std::u16string>::from(New_TelNum)); });
  }
  STDMETHODIMP get_BPS(BSTR* New_BPS) override {
    return get(New_BPS, [](Cronvel& c) { return c.BPS(); });
  }
  STDMETHODIMP put_BPS(BSTR New_BPS) override {
    return call([=](Cronvel& c) { c.BPS(In<std::u16string>::from(New_BPS)); });
  }
  STDMETHODIMP get_DeviceNum(BYTE* New_DeviceNum) override {
    return get(New_DeviceNum, [](Cronvel& c) { return c.DeviceNum(); });
  }
  STDMETHODIMP put_DeviceNum(BYTE New_DeviceNum) override {
    return call([=](Cronvel& c) { c.DeviceNum(In<std::uint8_t>::from(New_DeviceNum)); });
  }
  STDMETHODIMP get_NumOfRecs(LONG* New_NumOfRecs) override {
    return get(New_NumOfRecs, [](Cronvel& c) { return c.NumOfRecs(); });
  }
  STDMETHODIMP put_NumOfRecs(LONG New_NumOfRecs) override {
    return call([=](Cronvel& c) { c.NumOfRecs(In<std::int32_t>::from(New_NumOfRecs)); });
  }
  STDMETHODIMP get_DamagedRecs(LONG* New_DamagedRecs) override {
    return get(New_DamagedRecs, [](Cronvel& c) { return c.DamagedRecs(); });
  }
  STDMETHODIMP put_DamagedRecs(LONG New_DamagedRecs) override {
    return call([=](Cronvel& c) { c.DamagedRecs(In<std::int32_t>::from(New_DamagedRecs)); });
  }
  STDMETHODIMP get_WinSockProtocol(SHORT* New_WinSockProtocol) override {
    return get(New_WinSockProtocol, [](Cronvel& c) { return c.WinSockProtocol(); });
  }
  STDMETHODIMP put_WinSockProtocol(SHORT New_WinSockProtocol) override {
    return call(
        [=](Cronvel& c) { c.WinSockProtocol(In<std::int16_t>::from(New_WinSockProtocol)); });
  }
  STDMETHODIMP get_WinSockLocalPort(LONG* New_WinSockLocalPort) override {
    return get(New_WinSockLocalPort, [](Cronvel& c) { return c.WinSockLocalPort(); });
  }
  STDMETHODIMP put_WinSockLocalPort(LONG New_WinSockLocalPort) override {
    return call(
        [=](Cronvel& c) { c.WinSockLocalPort(In<std::int32_t>::from(New_WinSockLocalPort)); });
  }
  STDMETHODIMP get_WinSockRemotePort(LONG* New_WinSockRemotePort) override {
    return get(New_WinSockRemotePort, [](Cronvel& c) { return c.WinSockRemotePort(); });
  }
  STDMETHODIMP put_WinSockRemotePort(LONG New_WinSockRemotePort) override {
    return call(
        [=](Cronvel& c) { c.WinSockRemotePort(In<std::int32_t>::from(New_WinSockRemotePort)); });
  }
  STDMETHODIMP get_WinSockRemoteHost(BSTR* New_WinSockRemoteHost) override {
    return get(New_WinSockRemoteHost, [](Cronvel& c) { return c.WinSockRemoteHost(); });
  }
  STDMETHODIMP put_WinSockRemoteHost(BSTR New_WinSockRemoteHost) override {
    return call(
        [=](Cronvel& c) { c.WinSockRemoteHost(In<std::u16string>::from(New_WinSockRemoteHost)); });
  }
  STDMETHODIMP SetTime(BSTR* sRemoteHost, VARIANT* mTime, VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SetTime, sRemoteHost, mTime);
  }
  STDMETHODIMP SetDate(BSTR* sRemoteHost, BSTR* mdate, BYTE* mDay,
                       VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SetDate, sRemoteHost, mdate, mDay);
  }
  STDMETHODIMP SetDayLight(BSTR* sRemoteHost, BYTE* d1, BYTE* m1, BYTE* d2, BYTE* m2,
                           VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SetDayLight, sRemoteHost, d1, m1, d2, m2);
  }
  STDMETHODIMP ResetMem(BSTR* sRemoteHost, VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::ResetMem, sRemoteHost);
  }
  STDMETHODIMP TestConnection(BSTR* sRemoteHost, VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::TestConnection, sRemoteHost);
  }
  STDMETHODIMP SetKeyboard(BSTR* sRemoteHost, BYTE* mKey, VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SetKeyboard, sRemoteHost, mKey);
  }
  STDMETHODIMP SetReaderOnOff(BSTR* sRemoteHost, VARIANT_BOOL* New_ReaderOn,
                              VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SetReaderOnOff, sRemoteHost, New_ReaderOn);
  }
  STDMETHODIMP SetMainGroup(BSTR* sRemoteHost, BYTE* mG, VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SetMainGroup, sRemoteHost, mG);
  }
  STDMETHODIMP SetSubGroup(BSTR* sRemoteHost, BYTE* mG, VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SetSubGroup, sRemoteHost, mG);
  }
  STDMETHODIMP SetCode4(BSTR* sRemoteHost, BSTR* mCode, VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SetCode4, sRemoteHost, mCode);
  }
  STDMETHODIMP SetCode10(BSTR* sRemoteHost, BSTR* mCode, VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SetCode10, sRemoteHost, mCode);
  }
  STDMETHODIMP SendMsg(BSTR* sRemoteHost, BSTR* CardNum, BSTR* inMsg,
                       VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SendMsg, sRemoteHost, CardNum, inMsg);
  }
  STDMETHODIMP SetMonitoringOnOff(BSTR* sRemoteHost, VARIANT_BOOL New_MonitoringON,
                                  VARIANT_BOOL* sent) override {
    return command(sent, &Cronvel::SetMonitoringOnOff, sRemoteHost, New_MonitoringON);
  }
  STDMETHODIMP SetMonitoringOnGroup(BSTR* sRemoteHost, VARIANT_BOOL New_MonitoringON,
                                    VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SetMonitoringOnGroup, sRemoteHost, New_MonitoringON);
  }
  STDMETHODIMP SetMonitoringOffGroup(BSTR* sRemoteHost, VARIANT_BOOL New_MonitoringON,
                                     VARIANT_BOOL* served) override {
    return command(served, &Cronvel::SetMonitoringOffGroup, sRemoteHost, New_MonitoringON);
  }
  STDMETHODIMP StartMonitoringGroup(VARIANT_BOOL* started) override {
    return command(started, &Cronvel::StartMonitoringGroup);
  }
  STDMETHODIMP GetDeviceProperties(BSTR* sRemoteHost, VARIANT* block) override {
    return command(block, &Cronvel::GetDeviceProperties, sRemoteHost);
  }
  STDMETHODIMP SetAlarm(SAFEARRAY** mTiming, VARIANT* nothing) override {
    return command(nothing, &Cronvel::SetAlarm, mTiming);
  }
  STDMETHODIMP AddCardSimple(BSTR* sRemoteHost, BSTR* CardNum, BYTE* reply) override {
    return command(reply, &Cronvel::AddCardSimple, sRemoteHost, CardNum);
  }
  STDMETHODIMP DeleteCardSimple(BSTR* sRemoteHost, BSTR* CardNum, BYTE* reply) override {
    return command(reply, &Cronvel::DeleteCardSimple, sRemoteHost, CardNum);
  }
  STDMETHODIMP DeleteCardAll(BSTR* sRemoteHost, BYTE* reply) override {
    return command(reply, &Cronvel::DeleteCardAll, sRemoteHost);
  }
  STDMETHODIMP AddCardFile(BSTR* sRemoteHost, BSTR* mFileName, BYTE* reply) override {
    return command(reply, &Cronvel::AddCardFile, sRemoteHost, mFileName);
  }
  STDMETHODIMP SetMode(BSTR* sRemoteHost, BYTE* mMode, VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SetMode, sRemoteHost, mMode);
  }
  STDMETHODIMP SendModeStr(BSTR* sRemoteHost, SAFEARRAY** ModeStr,
                           VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SendModeStr, sRemoteHost, ModeStr);
  }
  STDMETHODIMP SendModeActive(BSTR* sRemoteHost, SAFEARRAY** ModeActive,
                              VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SendModeActive, sRemoteHost, ModeActive);
  }
  STDMETHODIMP SetPersonAccessable(BSTR* sRemoteHost, VARIANT_BOOL* Accessable,
                                   VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::SetPersonAccessable, sRemoteHost, Accessable);
  }
  STDMETHODIMP DefCards(BSTR* sRemoteHost, SAFEARRAY** mbyte, VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::DefCards, sRemoteHost, mbyte);
  }
  STDMETHODIMP DefAlarms(BSTR* sRemoteHost, SAFEARRAY** mbyte, VARIANT_BOOL* accepted) override {
    return command(accepted, &Cronvel::DefAlarms, sRemoteHost, mbyte);
  }
  STDMETHODIMP Dial(SHORT* result) override { return command(result, &Cronvel::Dial); }
  STDMETHODIMP Hangup(VARIANT_BOOL* ended) override { return command(ended, &Cronvel::Hangup); }
  STDMETHODIMP GetData(BSTR* sRemoteHost, BSTR* mFileName, SHORT* result) override {
    return command(result, &Cronvel::GetData, sRemoteHost, mFileName);
  }
  STDMETHODIMP GetDataBuff(BSTR* mFileName, VARIANT* result) override {
    return command(result, &Cronvel::GetDataBuff, mFileName);
  }
  STDMETHODIMP GetDataByDate(BSTR* sRemoteHost, BYTE* d1, BYTE* m1, BYTE* y1, BYTE* d2, BYTE* m2,
                             BYTE* y2, BSTR* mFileName, SHORT* result) override {
    return command(result, &Cronvel::GetDataByDate, sRemoteHost, d1, m1, y1, d2, m2, y2, mFileName);
  }
  STDMETHODIMP CheckIntegrity(BSTR* mFileName, VARIANT_BOOL* DoCheck, SHORT* result) override {
    return command(result, &Cronvel::CheckIntegrity, mFileName, DoCheck);
  }
  STDMETHODIMP SetWinSockTCPMode(SHORT* Index) override {
    return action(&Cronvel::SetWinSockTCPMode, Index);
  }
  STDMETHODIMP SetWinSockUDPMode(SHORT* Index) override {
    return action(&Cronvel::SetWinSockUDPMode, Index);
  }
  STDMETHODIMP SetWinSockLocalPort(SHORT* Index, LONG* lLocalPort) override {
    return action(&Cronvel::SetWinSockLocalPort, Index, lLocalPort);
  }
  STDMETHODIMP WinSockListen(SHORT* Index) override {
    return action(&Cronvel::WinSockListen, Index);
  }
  STDMETHODIMP WinSockSendData(SHORT* Index, SAFEARRAY** TransmitedData) override {
    return action(&Cronvel::WinSockSendData, Index, TransmitedData);
  }
  STDMETHODIMP WinSockSendDataByte(SHORT* Index, BYTE* TransmitedData) override {
    return action(&Cronvel::WinSockSendDataByte, Index, TransmitedData);
  }
  STDMETHODIMP WinSockConnect(SHORT* Index) override {
    return action(&Cronvel::WinSockConnect, Index);
  }
  STDMETHODIMP WinSockConnectToHost(SHORT* Index, BSTR* RemoteHost) override {
    return action(&Cronvel::WinSockConnectToHost, Index, RemoteHost);
  }
  STDMETHODIMP WinSockClose(SHORT* Index) override { return action(&Cronvel::WinSockClose, Index); }

 private:
  /// Runs the body with the control, which stays alive meanwhile.
  HRESULT call(const std::function<void(Cronvel&)>& body);

  template <typename Result, typename Getter>
  HRESULT get(Result* result, Getter getter) {
    return call([&](Cronvel& control) { give(result, getter(control)); });
  }
  template <typename Result, typename Value, typename Family, typename... Parameters,
            typename... Arguments>
  HRESULT command(Result* result, Value (Family::*member)(Parameters...), Arguments... arguments) {
    return call([&](Cronvel& control) {
      pointee(result);  // before the terminal is troubled
      give(result, (control.*member)(In<std::decay_t<Parameters>>::from(arguments)...));
    });
  }
  template <typename Family, typename... Parameters, typename... Arguments>
  HRESULT action(void (Family::*member)(Parameters...), Arguments... arguments) {
    return call([&](Cronvel& control) {
      (control.*member)(In<std::decay_t<Parameters>>::from(arguments)...);
    });
  }

  ITypeInfo& typeInfo();

  ComPtr<ITypeInfo> mTypeInfo;
  std::unique_ptr<LateCalls> mLateCalls;
};

}  // namespace cronvel::activex
