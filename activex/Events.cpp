#include "activex/Events.h"

#include <algorithm>

#include "activex/ControlObject.h"
#include "activex/Enumerator.h"
#include "activex/Values.h"

namespace cronvel::activex {
namespace {

/// An event's arguments as sinks take them. What a host writes into one by reference lives until
/// the event is over.
class PassedArguments {
 public:
  explicit PassedArguments(const std::vector<Events::Argument>& arguments) {
    for (const auto& argument : arguments) {
      VARIANT& stored = mStored.emplace_back(newVariant(argument.value));
      VARIANTARG& passed = mPassed.emplace_back(stored);
      if (!argument.byReference) continue;
      passed.vt = static_cast<VARTYPE>(stored.vt | VT_BYREF);
      passed.byref = &stored.byref;  // all kinds of value stand in the same place
    }
    std::reverse(mPassed.begin(), mPassed.end());  // `Invoke` takes the last one first
  }
  ~PassedArguments() {
    for (VARIANT& stored : mStored) VariantClear(&stored);
  }
  PassedArguments(const PassedArguments&) = delete;
  PassedArguments& operator=(const PassedArguments&) = delete;

  DISPPARAMS parameters() {
    return {mPassed.data(), nullptr, static_cast<UINT>(mPassed.size()), 0};
  }

 private:
  std::deque<VARIANT> mStored;
  std::vector<VARIANTARG> mPassed;
};

using ConnectionPointList =
    Enumerator<IEnumConnectionPoints, IID_IEnumConnectionPoints, IConnectionPoint*,
               Counted<IConnectionPoint>, ComPtr<IUnknown>>;

struct CountedConnection {
  static void copy(CONNECTDATA& to, const CONNECTDATA& from) {
    to = from;
    to.pUnk->AddRef();
  }
};
using ConnectionList = Enumerator<IEnumConnections, IID_IEnumConnections, CONNECTDATA,
                                  CountedConnection, ComPtr<IUnknown>>;

Events::Argument value(const Variant& value) { return {value, false}; }
Events::Argument reference(const Variant& value) { return {value, true}; }

void deliver(IDispatch& sink, DISPID event, DISPPARAMS& parameters) {
  OwnedVariant result;
  OwnedException trouble;
  // A sink's failure is its host's affair: the other sinks and the command go on.
  sink.Invoke(event, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, &result, &trouble,
              nullptr);
}

}  // namespace

STDMETHODIMP Events::EnumConnectionPoints(IEnumConnectionPoints** points) {
  if (points == nullptr) return E_POINTER;
  *points = new ConnectionPointList({&mSinks, &mPropertySinks}, {ComPtr<IUnknown>(this)});
  return S_OK;
}

STDMETHODIMP Events::FindConnectionPoint(REFIID iid, IConnectionPoint** point) {
  if (point == nullptr) return E_POINTER;
  *point = nullptr;
  // A sink that asks for plain dispatch means the events.
  if (iid == DIID___Cronvel || iid == IID_IDispatch) *point = &mSinks;
  if (iid == IID_IPropertyNotifySink) *point = &mPropertySinks;
  if (*point == nullptr) return CONNECT_E_NOCONNECTION;
  (*point)->AddRef();
  return S_OK;
}

HRESULT Events::advise(REFIID iid, IUnknown* sink, DWORD* cookie) {
  ComPtr<IConnectionPoint> point;
  const HRESULT found = FindConnectionPoint(iid, &point);
  return FAILED(found) ? found : point->Advise(sink, cookie);
}

STDMETHODIMP Events::Point::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  const bool known = iid == IID_IUnknown || iid == IID_IConnectionPoint;
  *object = known ? this : nullptr;
  if (!known) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

STDMETHODIMP Events::Point::GetConnectionInterface(IID* iid) {
  if (iid == nullptr) return E_POINTER;
  *iid = mIid;
  return S_OK;
}

STDMETHODIMP Events::Point::GetConnectionPointContainer(IConnectionPointContainer** container) {
  if (container == nullptr) return E_POINTER;
  *container = &mContainer;
  mContainer.AddRef();
  return S_OK;
}

STDMETHODIMP Events::Point::Advise(IUnknown* sink, DWORD* cookie) {
  if (sink == nullptr || cookie == nullptr) return E_POINTER;
  *cookie = 0;
  ComPtr<IUnknown> called;
  HRESULT found = sink->QueryInterface(mIid, &called);
  // Script hosts' sinks often know only plain dispatch.
  if (FAILED(found) && mIid == DIID___Cronvel) found = sink->QueryInterface(IID_IDispatch, &called);
  if (FAILED(found)) return CONNECT_E_CANNOTCONNECT;
  mSinks[++mLastCookie] = called;
  *cookie = mLastCookie;
  return S_OK;
}

STDMETHODIMP Events::Point::Unadvise(DWORD cookie) {
  const auto removed = mSinks.extract(cookie);  // released after the map has changed
  return removed.empty() ? CONNECT_E_NOCONNECTION : S_OK;
}

STDMETHODIMP Events::Point::EnumConnections(IEnumConnections** connections) {
  if (connections == nullptr) return E_POINTER;
  std::vector<CONNECTDATA> list;
  std::vector<ComPtr<IUnknown>> kept;
  for (const auto& [cookie, sink] : mSinks) {
    list.push_back({sink.Get(), cookie});
    kept.push_back(sink);
  }
  *connections = new ConnectionList(std::move(list), std::move(kept));
  return S_OK;
}

void Events::propertyChanged(DISPID property) {
  const ControlObject::Busy busy(mControl);
  mPropertySinks.each<IPropertyNotifySink>(
      [property](IPropertyNotifySink& sink) { sink.OnChanged(property); });
}

void Events::thaw() {
  const ControlObject::Busy busy(mControl);
  if (mFrozen > 0) --mFrozen;
  while (mFrozen == 0 && !mWaiting.empty()) {
    const auto [event, arguments] = std::move(mWaiting.front());
    mWaiting.pop_front();
    fire(event, arguments);
  }
}

void Events::raise(DISPID event, std::vector<Argument> arguments) {
  if (mControl.released()) return;
  if (mFrozen > 0)
    mWaiting.emplace_back(event, std::move(arguments));
  else
    fire(event, arguments);
}

void Events::fire(DISPID event, const std::vector<Argument>& arguments) {
  const ControlObject::Busy busy(mControl);
  mSinks.each<IDispatch>([&](IDispatch& sink) {
    PassedArguments passed(arguments);  // what one sink writes is none of the next one's business
    DISPPARAMS parameters = passed.parameters();
    deliver(sink, event, parameters);
  });
}

void Events::WinSockCurrentState(std::int16_t CurrentState) { raise(1, {value(CurrentState)}); }

void Events::WinSockError(std::int16_t number, std::u16string& Description, std::int32_t Scode,
                          const std::u16string& Source, const std::u16string& HelpFile,
                          std::int32_t HelpContext, bool& CancelDisplay) {
  raise(2, {value(number), reference(Description), value(Scode), value(Source), value(HelpFile),
            value(HelpContext), reference(CancelDisplay)});
}

void Events::WinSockDataReceived(Bytes& ReceivedData, std::int32_t DataLen,
                                 std::u16string& RemoteHost, std::u16string& RemoteHostIP,
                                 std::int16_t& LoopCounter, std::int32_t& FunctionCallCounter) {
  raise(3, {reference(ReceivedData), value(DataLen), reference(RemoteHost), reference(RemoteHostIP),
            reference(LoopCounter), reference(FunctionCallCounter)});
}

void Events::WinSockDataReceivedGetData(Bytes& ReceivedData, std::int32_t DataLen,
                                        const std::u16string& RemoteHostIP) {
  raise(4, {reference(ReceivedData), value(DataLen), value(RemoteHostIP)});
}

void Events::DataReceivedForMonitoring(Bytes& mRStr, std::int16_t& DataLen) {
  raise(5, {reference(mRStr), reference(DataLen)});
}

void Events::AddFileProgressInit(std::int32_t& nMax) { raise(6, {reference(nMax)}); }

void Events::AddFileProgressInc(std::int32_t& nValue) { raise(7, {reference(nValue)}); }

}  // namespace cronvel::activex
