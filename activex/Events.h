#pragma once

#include <deque>
#include <map>
#include <utility>
#include <vector>

#include "activex/Face.h"
#include "host/CronvelEvents.h"
#include "runtime/Variant.h"

namespace cronvel::activex {

/// Where hosts connect their sinks: one point for the control's events and one for changes of its
/// properties; and the events on their way to them.
///
/// A sink that fails or has gone is passed over. What a host connects or disconnects inside an
/// event counts from the next event on.
class Events final : public Face<IConnectionPointContainer>, public cronvel::__Cronvel {
 public:
  explicit Events(ControlObject& control)
      : Face(control),
        mSinks(control, *this, DIID___Cronvel),
        mPropertySinks(control, *this, IID_IPropertyNotifySink) {}
  IUnknown* find(REFIID iid) { return iid == IID_IConnectionPointContainer ? this : nullptr; }

  STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** points) override;
  STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;

  struct Argument {
    Variant value;
    bool byReference;
  };

  /// Connects a sink as `IConnectionPoint::Advise` does.
  HRESULT advise(REFIID iid, IUnknown* sink, DWORD* cookie);
  void propertyChanged(DISPID property);

  /// While frozen, events wait in order; the last thaw delivers them.
  void freeze() { ++mFrozen; }
  void thaw();

  void WinSockCurrentState(std::int16_t CurrentState) override;
  void WinSockError(std::int16_t number, std::u16string& Description, std::int32_t Scode,
                    const std::u16string& Source, const std::u16string& HelpFile,
                    std::int32_t HelpContext, bool& CancelDisplay) override;
  void WinSockDataReceived(Bytes& ReceivedData, std::int32_t DataLen, std::u16string& RemoteHost,
                           std::u16string& RemoteHostIP, std::int16_t& LoopCounter,
                           std::int32_t& FunctionCallCounter) override;
  void WinSockDataReceivedGetData(Bytes& ReceivedData, std::int32_t DataLen,
                                  const std::u16string& RemoteHostIP) override;
  void DataReceivedForMonitoring(Bytes& mRStr, std::int16_t& DataLen) override;
  void AddFileProgressInit(std::int32_t& nMax) override;
  void AddFileProgressInc(std::int32_t& nValue) override;

 private:
  /// One connection point. Its identity is its own, its lifetime the control's.
  class Point final : public IConnectionPoint {
   public:
    Point(ControlObject& control, Events& container, REFIID iid)
        : mControl(control), mContainer(container), mIid(iid) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return outerOf(mControl)->AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return outerOf(mControl)->Release(); }
    STDMETHODIMP GetConnectionInterface(IID* iid) override;
    STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** container) override;
    STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override;
    STDMETHODIMP Unadvise(DWORD cookie) override;
    STDMETHODIMP EnumConnections(IEnumConnections** connections) override;

    template <typename Interface, typename Call>
    void each(Call call) {
      const auto sinks = mSinks;
      for (const auto& [cookie, sink] : sinks)
        if (mSinks.contains(cookie)) call(*static_cast<Interface*>(sink.Get()));
    }

   private:
    ControlObject& mControl;
    Events& mContainer;
    IID mIid;
    DWORD mLastCookie = 0;
    std::map<DWORD, ComPtr<IUnknown>> mSinks;  ///< each holds the interface that is called
  };

  /// `arguments` are in the order of the event's declaration.
  void raise(DISPID event, std::vector<Argument> arguments);
  void fire(DISPID event, const std::vector<Argument>& arguments);

  Point mSinks;
  Point mPropertySinks;
  int mFrozen = 0;
  std::deque<std::pair<DISPID, std::vector<Argument>>> mWaiting;
};

}  // namespace cronvel::activex
